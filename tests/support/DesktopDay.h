// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Calendar.h>
#include <linux/Directories.h>
#include <linux/PollMainLoop.h>
#include <linux/SqliteDefaultsStore.h>
#include <sessions/SessionFormat.h>
#include <support/NotificationDaemon.h>
#include <support/PrivateAudioSession.h>
#include <support/Sound.h>
#include <support/WriteSound.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmor::test {

/// The program as its user has it: everything real but the sound card and the workstation.
class DesktopDay : public testing::Test
{
protected:
    static constexpr auto microphone = "testmic";

    void SetUp() override
    {
        daemon = std::make_unique<NotificationDaemon>();
        const std::string problem = session.problem() + daemon->problem();
        if (!problem.empty()) {
            ASSERT_FALSE(packagesMustBeThere()) << problem;
            // Without its packages there is nothing real to test against; where CI runs they are installed.
            GTEST_SKIP() << "no desktop can be started here: " << problem;
        }
        session.createMicrophone(microphone);
        createFolder(defaultsFile().parent_path());
        // Its user has been welcomed on another day.
        set("Velmor.welcomeShown", true);
        // The name is a workstation's, the program is not.
        std::filesystem::copy_file("/bin/sleep", session / "reaper");
    }

    void TearDown() override
    {
        workstation.reset();
        program.reset();
    }

    std::filesystem::path defaultsFile() const { return session / "config/Velmor/defaults.sqlite"; }

    /// Writes settings while the program doesn't run.
    void set(const std::string& key, DefaultsValue value) const
    {
        PollMainLoop loop;
        SqliteDefaultsStore(loop, defaultsFile()).set(key, std::move(value));
    }

    /// What the store holds, once the program has ended.
    template <typename Type>
    std::optional<Type> stored(const std::string& key) const
    {
        PollMainLoop loop;
        return SqliteDefaultsStore(loop, defaultsFile()).get<Type>(key);
    }

    void startProgram()
    {
        program = std::make_unique<Companion>(std::vector<std::string>{programPath("velmor")},
                                              (session / "velmor.log").native());
        ASSERT_TRUE(PrivateAudioSession::waitUntil([] { return isOnTheBus(); }));
    }

    static bool isOnTheBus()
    {
        return run({"dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/",
                    "org.freedesktop.DBus.GetNameOwner", "string:dev.brightfen.velmor"})
                   .status == 0;
    }

    std::string printed() const { return contentOf(session / "velmor.log"); }

    /// Ends it as the desktop does.
    void endProgram() { program.reset(); }

    void startWorkstation()
    {
        workstation =
            std::make_unique<Companion>(std::vector<std::string>{(session / "reaper").native(), "1000"});
        ASSERT_TRUE(PrivateAudioSession::waitUntil([this] { return isCapturing(); })) << printed();
    }

    bool isCapturing() const
    {
        return run({"pw-link", "-l"}).output.find("velmor:input_FL") != std::string::npos;
    }

    std::vector<Session> history() const
    {
        const std::string text = contentOf(session / "data/Velmor/sessions.json");
        return text.empty() ? std::vector<Session>() : decodedHistory(text);
    }

    bool waitForHistory(std::size_t count) const
    {
        return PrivateAudioSession::waitUntil([&] {
            try {
                return history().size() == count;
            } catch (const JsonError&) {
                // A damaged one lies there until the next is written.
                return false;
            }
        });
    }

    bool waitForSummary(const std::string& summary) const
    {
        return PrivateAudioSession::waitUntil([&] {
            const auto summaries = daemon->summaries();
            return std::ranges::find(summaries, summary) != summaries.end();
        });
    }

    /// A tone of so many seconds after one of silence, in both channels.
    std::string tone(double amplitude, double seconds) const
    {
        std::vector<float> samples(48000);
        const auto sounding = sine(1000, amplitude, 48000, static_cast<std::size_t>(seconds * 48000));
        samples.insert(samples.end(), sounding.begin(), sounding.end());
        samples.resize(samples.size() + 30 * 48000);
        const std::string file = session / "tone.wav";
        writeSound(file, {samples, samples}, 48000);
        return file;
    }

    PrivateAudioSession session;
    std::unique_ptr<NotificationDaemon> daemon;
    std::unique_ptr<Companion> program;
    std::unique_ptr<Companion> workstation;
};

} // namespace velmor::test
