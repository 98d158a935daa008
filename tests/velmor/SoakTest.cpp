// SPDX-License-Identifier: GPL-3.0-or-later
// The program as it is installed, through a day of everything at once: a workstation that comes and goes,
// microphones that are plugged and unplugged, commands from outside, and a monkey at its windows. How long is
// told by VELMOR_SOAK_SECONDS, how often it is killed by VELMOR_SOAK_KILLS, and which day it is by
// VELMOR_SOAK_SEED.
#include <support/DesktopDay.h>
#include <support/Meter.h>
#include <support/VirtualScreen.h>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <iostream>
#include <random>
#include <sstream>
#include <thread>
#include <vector>

namespace velmor {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

int numberOf(const char* variable, int otherwise)
{
    const char* const text = std::getenv(variable);
    return text ? std::stoi(text) : otherwise;
}

class SoakTest : public test::DesktopDay
{
protected:
    static constexpr auto secondMicrophone = "secondmic";
    static constexpr double offset = 120;

    void SetUp() override
    {
        DesktopDay::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        // Another than the notifications', which would lie over the windows.
        screen = std::make_unique<test::VirtualScreen>("1280x1024x24");
        if (!screen->problem().empty()) {
            ASSERT_FALSE(test::packagesMustBeThere()) << screen->problem();
            // Without its packages there is no screen; where CI runs they are installed.
            GTEST_SKIP() << screen->problem();
        }
        windowManager = std::make_unique<test::Companion>(std::vector<std::string>{"openbox"});
        set("calibrationOffset", offset);
        set("selectedDeviceUID", std::string(microphone));
        std::cout << "seed " << seed << "\n";
    }

    void TearDown() override
    {
        player.reset();
        DesktopDay::TearDown();
        windowManager.reset();
    }

    int between(int low, int high) { return std::uniform_int_distribution<int>(low, high)(generator); }

    static std::string xdotool(std::vector<std::string> words)
    {
        words.insert(words.begin(), "xdotool");
        return test::run(words).output;
    }

    static void command(std::vector<std::string> words)
    {
        words.insert(words.begin(), test::programPath("velmorctl"));
        test::run(words);
    }

    static void activate()
    {
        test::run({"gdbus", "call", "--session", "--dest", "dev.brightfen.velmor", "--object-path",
                   "/dev/brightfen/velmor", "--method", "org.freedesktop.Application.Activate", "{}"});
    }

    static std::vector<std::string> windows()
    {
        std::istringstream lines(xdotool({"search", "--onlyvisible", "--class", "velmor"}));
        std::vector<std::string> found;
        for (std::string line; std::getline(lines, line);)
            found.push_back(line);
        return found;
    }

    /// A click somewhere in one of the windows, but for the corner of the digest where the program is ended.
    void click()
    {
        const auto all = windows();
        if (all.empty())
            return activate();
        const std::string& window =
            all[static_cast<std::size_t>(between(0, static_cast<int>(all.size()) - 1))];
        const bool isDigest = xdotool({"getwindowname", window}) == "Velmor\n";
        std::istringstream geometry(xdotool({"getwindowgeometry", "--shell", window}));
        int width = 0;
        int height = 0;
        for (std::string line; std::getline(geometry, line);) {
            if (line.starts_with("WIDTH="))
                width = std::stoi(line.substr(6));
            else if (line.starts_with("HEIGHT="))
                height = std::stoi(line.substr(7));
        }
        if (width < 2 || height < 2)
            return;
        const int x = between(0, width - 1);
        const int y = between(0, height - 1);
        if (isDigest && x > width * 3 / 4 && y > height * 3 / 4)
            return;
        xdotool({"mousemove", "--window", window, std::to_string(x), std::to_string(y), "click",
                 std::to_string(between(0, 4) == 0 ? 5 : 1)});
    }

    void closeWindows() const
    {
        for (int round = 0; round < 3; ++round) {
            for (const std::string& window : windows()) {
                xdotool({"key", "--window", window, "Escape"});
                xdotool({"windowactivate", window, "key", "alt+F4"});
            }
            std::this_thread::sleep_for(300ms);
        }
    }

    void startOrEndWorkstation()
    {
        if (workstation)
            workstation.reset();
        else
            workstation = std::make_unique<test::Companion>(
                std::vector<std::string>{(session / "reaper").native(), "100000"});
    }

    void plugOrUnplug()
    {
        if (between(0, 1) == 0) {
            hasSecondMicrophone ? session.removeMicrophone(secondMicrophone)
                                : session.createMicrophone(secondMicrophone);
            hasSecondMicrophone = !hasSecondMicrophone;
        } else {
            session.removeMicrophone(microphone);
            std::this_thread::sleep_for(std::chrono::milliseconds(between(0, 1500)));
            session.createMicrophone(microphone);
        }
    }

    /// One thing that a user, a desktop or another program might do.
    void act()
    {
        switch (between(0, 19)) {
        case 0:
        case 1:
            return startOrEndWorkstation();
        case 2:
            return plugOrUnplug();
        case 3:
            return command({"session", "start", "Monkey"});
        case 4:
            return command({"session", "end"});
        case 5:
            return command({"pause", std::to_string(between(1, 3))});
        case 6:
            return command({"resume"});
        case 7:
            return command({between(0, 1) == 0 ? "dose" : "stats"});
        case 8:
            return activate();
        case 9:
            xdotool({"key", between(0, 2) == 0 ? "Escape" : between(0, 1) == 0 ? "Tab" : "space"});
            return;
        case 10:
            xdotool({"key", "alt+F4"});
            return;
        case 11:
            player = session.playInto(microphone, sound);
            return;
        default:
            return click();
        }
    }

    void actFor(std::chrono::duration<double> duration)
    {
        const auto end = Clock::now() + duration;
        for (; Clock::now() < end; ++actions) {
            act();
            session.replaceCrashedSessionManager();
            std::this_thread::sleep_for(std::chrono::milliseconds(between(20, 400)));
            ASSERT_EQ(::kill(program->process(), 0), 0);
            ASSERT_TRUE(isOnTheBus()) << "after " << actions << " actions: " << printed();
        }
    }

    /// 1 is the allowed dose.
    double storedDose() const { return stored<double>("DoseCalculator.accumulatedDose").value_or(0); }

    std::size_t journals() const
    {
        std::size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(session / "data/Velmor")) {
            if (entry.path().extension() == ".journal")
                ++count;
        }
        return count;
    }

    double heapMiB() const
    {
        test::writeFile(heapFile, "");
        std::string figure;
        test::PrivateAudioSession::waitUntil([&] {
            figure = test::contentOf(heapFile);
            return figure.ends_with('\n');
        });
        return std::stod(figure) / (1 << 20);
    }

    /// The same state each time: no window, no session, nothing to be heard.
    double heapAtRest()
    {
        player.reset();
        workstation.reset();
        command({"session", "end"});
        command({"resume"});
        closeWindows();
        std::this_thread::sleep_for(2s);
        return heapMiB();
    }

    /// What the program and a recorder beside it have heard of a tone, percent.
    struct Measurement
    {
        Session session;
        double dose = 0;
        double recordedDose = 0;
    };

    /// In a session of its own, on a microphone made anew. \param options of the meter that measures the
    /// recording.
    Measurement measureTone(const std::string& heard, const std::vector<std::string>& options)
    {
        player.reset();
        for (const std::string& name : {std::string(microphone), std::string(secondMicrophone), heard})
            session.removeMicrophone(name);
        std::this_thread::sleep_for(1s);
        session.replaceCrashedSessionManager();
        session.createMicrophone(heard);
        command({"resume"});
        const double doseBefore = storedDose();
        const std::size_t sessionsBefore = history().size();
        const std::string recording = session / "recording.wav";
        auto recorder = std::make_unique<test::Companion>(
            std::vector<std::string>{"pw-record", "--target", heard, "--format", "f32", "--rate", "48000",
                                     "--channels", "2", recording});
        command({"session", "start", "Last"});
        test::PrivateAudioSession::waitUntil([this] { return isCapturing(); });
        player = session.playInto(heard, tone(0.2, 12));
        std::this_thread::sleep_for(20s);
        command({"session", "end"});
        const bool isKept = waitForHistory(sessionsBefore + 1);
        recorder->endBy(SIGINT);
        recorder.reset();
        if (!isKept)
            return {};
        // The store has a thread of its own.
        std::this_thread::sleep_for(500ms);
        std::vector<std::string> words = {recording};
        words.insert(words.end(), options.begin(), options.end());
        const auto outcome = test::meter(words);
        if (outcome.status != 0) {
            std::cout << outcome.error;
            return {};
        }
        return {history()[0], 100 * (storedDose() - doseBefore),
                test::JsonObject(outcome.output)["dosePercentage"]};
    }

    const int seconds = numberOf("VELMOR_SOAK_SECONDS", 20);
    const int kills = numberOf("VELMOR_SOAK_KILLS", 3);
    const unsigned seed = static_cast<unsigned>(numberOf("VELMOR_SOAK_SEED", 1));
    std::mt19937 generator{seed};
    std::unique_ptr<test::VirtualScreen> screen;
    std::unique_ptr<test::Companion> windowManager;
    std::unique_ptr<test::Companion> player;
    std::string sound;
    std::filesystem::path heapFile;
    bool hasSecondMicrophone = false;
    int actions = 0;
};

TEST_F(SoakTest, ADayOfEverythingLeavesItAsItWas)
{
    sound = tone(0.02, 20);
    heapFile = session / "heap";
    test::writeFile(heapFile, "wait\n");
    ::setenv("VELMOR_HEAP_FIGURE", heapFile.c_str(), 1);
    ::setenv("LD_PRELOAD", VELMOR_HEAP_LIBRARY, 1);
    startProgram();
    ::unsetenv("LD_PRELOAD");

    // What is made once, as caches of fonts and pictures, is made in the first part.
    const double warmUp = std::min(300.0, seconds / 3.0);
    ASSERT_NO_FATAL_FAILURE(actFor(std::chrono::duration<double>(warmUp)));
    // In between too: what is filled once comes to rest, and a leak goes on.
    constexpr int parts = 4;
    std::vector<double> heaps = {heapAtRest()};
    for (int part = 0; part < parts; ++part) {
        ASSERT_NO_FATAL_FAILURE(actFor(std::chrono::duration<double>((seconds - warmUp) / parts)));
        heaps.push_back(heapAtRest());
    }
    std::cout << fmt::format("{} actions in {} s, heap {:.2f} MiB with {} sessions at the end; {} crashes of "
                             "WirePlumber\n",
                             actions, seconds, fmt::join(heaps, ", "), history().size(), session.crashes());
    // With the history, which grows by what was measured.
    EXPECT_LT(heaps.back() - heaps.front(), 2.0);

    // And it measures as on the first day, what a recorder beside it has heard, as it has been set by now.
    const std::string chosen = stored<std::string>("selectedDeviceUID").value_or("");
    const std::string heard = chosen.empty() ? microphone : chosen;
    const double offsetNow = stored<double>("calibrationOffset").value_or(offset);
    std::vector<std::string> options = {"--offset", std::to_string(offsetNow), "--json"};
    if (stored<bool>("conservativeDoseMode").value_or(false))
        options.emplace_back("--conservative");
    Measurement last;
    // Sound that the recorder hasn't heard either has reached nobody: a session manager that crashes takes
    // the links with it.
    for (int attempt = 0; attempt < 5 && last.recordedDose == 0; ++attempt)
        last = measureTone(heard, options);
    endProgram();
    std::cout << fmt::format("dose {:.4f} %, of the recording {:.4f} %; peak {:.2f} dBA\n", last.dose,
                             last.recordedDose, last.session.peakSPL);
    EXPECT_GT(last.recordedDose, 0);
    EXPECT_NEAR(last.dose, last.recordedDose, 0.02 * last.recordedDose);
    EXPECT_NEAR(last.session.doseAccumulated, last.dose, 0.001 * last.dose);
    EXPECT_NEAR(last.session.peakSPL, test::levelOfSine(0.2, offsetNow), 0.1);

    // No timer drifts: a reading every ten seconds, in each session there was.
    for (const Session& one : history()) {
        for (std::size_t i = 1; i < one.readings.size(); ++i) {
            const double gap = secondsBetween(one.readings[i - 1].timestamp, one.readings[i].timestamp);
            // Those around a device that was away are as many further apart as were not taken.
            EXPECT_NEAR(std::remainder(gap, 10), 0, 1.01) << isoText(one.readings[i].timestamp);
        }
    }
}

// The promises of docs/reliability.md.
TEST_F(SoakTest, AKillAtAnyMomentCostsTenSecondsOfReadingsAndNothingElse)
{
    sound = tone(0.02, 3000);
    startProgram();
    startOrEndWorkstation();
    player = session.playInto(microphone, sound);
    double longestLoss = 0;
    int recovered = 0;
    for (int round = 0; round < kills; ++round) {
        SCOPED_TRACE(round);
        const auto moment = std::chrono::milliseconds(between(0, 14000));
        std::this_thread::sleep_for(moment);
        program->kill();
        program->waitForEnd();
        const Date end = std::chrono::system_clock::now();
        const std::vector<Session> before = history();
        const std::size_t left = journals();
        const double dose = storedDose();
        startProgram();
        ASSERT_TRUE(waitForHistory(before.size() + left)) << printed();
        const std::vector<Session> after = history();
        for (const Session& one : before)
            EXPECT_NE(std::ranges::find(after, one), after.end()) << "a session is lost or changed";
        EXPECT_GE(storedDose(), dose);
        for (const Session& one : after) {
            if (std::ranges::find(before, one.id, &Session::id) == before.end()) {
                ++recovered;
                longestLoss = std::max(longestLoss, secondsBetween(one.endDate.value(), end));
            }
        }
        // Each start of the program begins a session, as the workstation runs: its journal is the one that is
        // left.
        EXPECT_LE(journals(), 1U);
    }
    std::cout << fmt::format("{} kills, {} sessions recovered, at most {:.1f} s of the last one lost\n",
                             kills, recovered, longestLoss);
    // A reading every ten seconds, and a start that may be slow.
    EXPECT_LE(longestLoss, 12);
}

} // namespace
} // namespace velmor
