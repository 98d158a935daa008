// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/DesktopDay.h>
#include <support/Meter.h>

#include <fmt/format.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace velmor {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class TypicalDayTest : public test::DesktopDay
{
protected:
    static constexpr double amplitude = 0.5;
    static constexpr double levelDBA = 121; ///< 100 % of the dose in 28800 / 2^12 = 7.03 seconds.
    static constexpr double seconds = 7.0;

    void SetUp() override
    {
        DesktopDay::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        set("calibrationOffset", offset());
        set("selectedDeviceUID", std::string(microphone));
        startProgram();
    }

    static double offset() { return levelDBA - test::levelOfSine(amplitude, 0); }

    /// Percent, of a tone that begins in silence: the level rises with 0.3 new and 0.7 old in each block
    /// of 1024 frames, and falls below all that counts with the first block after it.
    static double expectedDose()
    {
        constexpr double blockSeconds = 1024.0 / 48000;
        double level = 0;
        double dose = 0;
        for (double t = 0; t < seconds; t += blockSeconds) {
            level = 0.3 * levelDBA + 0.7 * level;
            if (level >= 80)
                dose += 100 * blockSeconds / (28800 / std::exp2((level - 85) / 3));
        }
        return dose;
    }

    /// What the day brings. That there is no tray here is said once, after ten seconds.
    auto received() const
    {
        auto all = daemon->received();
        std::erase_if(all, [](const auto& one) { return one.summary == "Velmor runs without a tray icon"; });
        return all;
    }

    /// The daemon's own order; those of one number replace each other.
    std::vector<std::string> summariesInOrder() const
    {
        auto inOrder = received();
        std::ranges::stable_sort(inOrder, {}, [](const auto& one) { return std::stoi(one.number); });
        std::vector<std::string> summaries;
        for (const auto& one : inOrder)
            summaries.push_back(one.summary);
        return summaries;
    }
};

TEST_F(TypicalDayTest, FromTheWorkstationsStartToTheRecap)
{
    startWorkstation();
    const std::string file = tone(amplitude, seconds);
    const auto player = session.playInto(microphone, file);
    ASSERT_TRUE(waitForSummary("🔴 Hearing Dose: Over-exposed (90%+)"));
    // The tone goes on for a moment, and the sampler comes by.
    std::this_thread::sleep_for(std::chrono::seconds(4));
    EXPECT_TRUE(history().empty());
    workstation.reset();
    ASSERT_TRUE(waitForHistory(1));
    ASSERT_TRUE(waitForSummary("Session complete"));
    endProgram();

    const Session kept = history()[0];
    EXPECT_EQ(kept.dawName, "REAPER");
    ASSERT_TRUE(kept.endDate);
    EXPECT_NEAR(kept.peakSPL, levelDBA, 0.1);
    EXPECT_NEAR(kept.doseAccumulated, expectedDose(), 0.03 * expectedDose());
    EXPECT_GE(kept.readings.size(), 1U);

    const auto dose = stored<double>("DoseCalculator.accumulatedDose");
    ASSERT_TRUE(dose);
    EXPECT_NEAR(*dose * 100, expectedDose(), 0.03 * expectedDose());

    // The same sound through the meter.
    const auto outcome = test::meter({file, "--offset", std::to_string(offset()), "--json"});
    ASSERT_EQ(outcome.status, 0) << outcome.error;
    const test::JsonObject measured(outcome.output);
    EXPECT_NEAR(*dose * 100, measured["dosePercentage"], 0.03 * expectedDose());

    EXPECT_THAT(summariesInOrder(),
                ElementsAre("⚠️ Peak Level: 124 dBA", "⚠️ Hearing Dose: Caution (40%)",
                            "🔶 Hearing Dose: Warning (70%)", "🔴 Hearing Dose: Over-exposed (90%+)",
                            "Session complete"));
    for (const auto& one : received()) {
        const bool isOrdinary =
            one.summary == "Session complete" || one.summary == "⚠️ Hearing Dose: Caution (40%)";
        EXPECT_EQ(one.urgency, isOrdinary ? "NORMAL" : "CRITICAL") << one.summary;
    }
    EXPECT_THAT(received().back().body, HasSubstr(fmt::format("This session used {:.1f}% of your daily dose.",
                                                              kept.doseAccumulated)));
}

TEST_F(TypicalDayTest, TheSnoozeThatIsPressedSilencesTheNextOnes)
{
    startWorkstation();
    const auto player = session.playInto(microphone, tone(amplitude, seconds));
    ASSERT_TRUE(waitForSummary("⚠️ Hearing Dose: Caution (40%)"));
    test::NotificationDaemon::pressButton();
    std::this_thread::sleep_for(std::chrono::seconds(6));
    workstation.reset();
    ASSERT_TRUE(waitForSummary("Session complete"));
    endProgram();
    EXPECT_GT(stored<double>("DoseCalculator.accumulatedDose").value_or(0), 0.9);
    // A snooze has no say over the recap.
    EXPECT_THAT(summariesInOrder(), ElementsAre("⚠️ Peak Level: 124 dBA",
                                                "⚠️ Hearing Dose: Caution (40%)", "Session complete"));
}

TEST_F(TypicalDayTest, AMicrophoneThatIsPulledOutEndsTheSessionAndTheHistoryHoldsIt)
{
    startWorkstation();
    const auto player = session.playInto(microphone, tone(0.001, 20));
    std::this_thread::sleep_for(std::chrono::seconds(2));
    session.removeMicrophone(microphone);
    ASSERT_TRUE(waitForSummary("Microphone Disconnected"));
    ASSERT_TRUE(waitForHistory(1));
    EXPECT_EQ(history()[0].dawName, "REAPER");
    EXPECT_NEAR(history()[0].peakSPL, levelDBA + 20 * std::log10(0.001 / amplitude), 0.2);
    const auto last = received().back();
    EXPECT_EQ(last.urgency, "CRITICAL");
    EXPECT_THAT(last.body, HasSubstr("recalibrate before resuming"));

    // It comes back, and the workstation is started again.
    workstation.reset();
    session.createMicrophone(microphone);
    startWorkstation();
    workstation.reset();
    ASSERT_TRUE(waitForHistory(2));
}

TEST_F(TypicalDayTest, AServerThatIsRestartedEndsInAKnownStateTwentyTimesOfTwenty)
{
    std::size_t sessions = 0;
    int measuredOn = 0;
    for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE(round);
        startWorkstation();
        session.killPipeWire();
        session.startPipeWire();
        session.createMicrophone(microphone);
        // Either the microphone was back within the recovery's time, and is measured on, or the session
        // has ended with it.
        bool hasEnded = false;
        ASSERT_TRUE(session.waitUntil([&] {
            hasEnded = history().size() == sessions + 1;
            return hasEnded || isCapturing();
        })) << printed();
        if (!hasEnded)
            ++measuredOn;
        workstation.reset();
        ASSERT_TRUE(waitForHistory(sessions + 1)) << printed();
        ++sessions;
    }
    EXPECT_TRUE(session.waitUntil([&] {
        const auto summaries = daemon->summaries();
        return std::ranges::count(summaries, "Microphone Disconnected") == 20 - measuredOn;
    }));
    // It lives, and ends as it is told to.
    EXPECT_TRUE(isOnTheBus());
    endProgram();
    EXPECT_FALSE(isOnTheBus());
}

class DefaultInputTest : public test::DesktopDay
{};

TEST_F(DefaultInputTest, AServerThatIsRestartedIsMeasuredAgainInTheSameSession)
{
    startProgram();
    startWorkstation();
    for (int round = 0; round < 3; ++round) {
        session.killPipeWire();
        session.startPipeWire();
        session.createMicrophone(microphone);
        ASSERT_TRUE(session.waitUntil([&] { return isCapturing(); })) << printed();
        EXPECT_TRUE(history().empty());
    }
    workstation.reset();
    ASSERT_TRUE(waitForHistory(1));
}

} // namespace
} // namespace velmor
