// SPDX-License-Identifier: GPL-3.0-or-later
#include <discipline/MonitoringAlertDetector.h>
#include <platform/MemoryDefaultsStore.h>

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <vector>

namespace velmor {
namespace {

using std::chrono::seconds;
using Direction = OffTargetAlertContext::Direction;

// With a target of 79 dBA and the alert band of 5 dB: silent below 62, under below 74, over above 84.
constexpr double silent = 40;
constexpr double under = 70;
constexpr double onTarget = 79;
constexpr double over = 90;

class MonitoringAlertDetectorTest : public testing::Test
{
protected:
    MonitoringAlertDetectorTest()
    {
        detector.onDriftAlert = [this](const DriftAlertContext& context) { drifts.push_back(context); };
        detector.onOffTargetAlert = [this](const OffTargetAlertContext& context) {
            offTargets.push_back(context);
        };
        detector.beginSession(start);
    }

    /// Evaluates once a second, from `from` to before `to`, in seconds since the session's start.
    void evaluate(int from, int to, double dBA, std::optional<double> rolling30)
    {
        for (int second = from; second < to; ++second)
            detector.evaluate(start + seconds(second), dBA, 79, rolling30);
    }

    void drift(int from, int to, std::optional<double> rolling30) { evaluate(from, to, silent, rolling30); }

    /// Fills the window's last 100 seconds one level after the other; the window is exactly so long.
    void fill(const std::vector<std::pair<int, double>>& stretches)
    {
        MonitoringAlertSettings settings = detector.settings;
        settings.offTargetWindowSec = 99;
        detector.settings = settings;
        // The session is old enough only at the last entry.
        int second = 0;
        for (const auto& [count, level] : stretches) {
            evaluate(second, second + count, level, std::nullopt);
            second += count;
        }
        ASSERT_EQ(second, 100);
    }

    void setDirection(OffTargetDirection direction)
    {
        MonitoringAlertSettings settings = detector.settings;
        settings.offTargetDirection = direction;
        detector.settings = settings;
    }

    Date start = dateFromIsoText("2026-03-02T09:00:00Z").value();
    MemoryDefaultsStore defaults;
    MonitoringAlertDetector detector{defaults, MonitoringAlertSettings{}};
    std::vector<DriftAlertContext> drifts;
    std::vector<OffTargetAlertContext> offTargets;
};

using Drift = MonitoringAlertDetectorTest;
using OffTarget = MonitoringAlertDetectorTest;

TEST_F(Drift, ARiseOf3DBHeldForFiveMinutesFires)
{
    drift(0, 1801, std::nullopt);
    drift(1801, 1900, 80.0);
    drift(1900, 2200, 83.0);
    EXPECT_TRUE(drifts.empty()); // 299 seconds so far
    drift(2200, 2201, 83.25);
    ASSERT_EQ(drifts.size(), 1U);
    EXPECT_EQ(drifts[0].baselineDBA, 80.0);
    EXPECT_EQ(drifts[0].currentRollingDBA, 83.25);
    EXPECT_EQ(drifts[0].driftDB(), 3.25);
}

TEST_F(Drift, ARiseThatIsAHairTooSmallStartsTheWaitAnew)
{
    drift(1800, 1801, 80.0);
    drift(1801, 2100, 83.0); // 299 seconds and one evaluation to go
    drift(2100, 2101, 82.99);
    drift(2101, 2401, 83.0);
    EXPECT_TRUE(drifts.empty());
    drift(2401, 2402, 83.0);
    EXPECT_EQ(drifts.size(), 1U);
}

TEST_F(Drift, OneLowerEvaluationBetweenTwoStretchesOf299SecondsKeepsItFromFiring)
{
    drift(1800, 1801, 80.0);
    drift(1801, 2101, 85.0);
    drift(2101, 2102, 80.0);
    drift(2102, 2402, 85.0);
    drift(2402, 2403, 80.0);
    EXPECT_TRUE(drifts.empty());
}

TEST_F(Drift, TheBaselineIsTheFirstThirtyMinuteLevelAfterTenMinutes)
{
    drift(0, 600, 60.0); // too early
    drift(600, 601, 80.0);
    drift(601, 1000, 82.9); // against 60 that would be a rise
    EXPECT_TRUE(drifts.empty());
    drift(1000, 1301, 83.0);
    ASSERT_EQ(drifts.size(), 1U);
    EXPECT_EQ(drifts[0].baselineDBA, 80.0);
}

TEST_F(Drift, ALevelThatIsAbsentLeavesTheWaitAsItIs)
{
    drift(1800, 1801, 80.0);
    drift(1801, 1802, 84.0);
    drift(1802, 2101, std::nullopt);
    EXPECT_TRUE(drifts.empty());
    drift(2101, 2102, 84.0); // 300 seconds after the rise began
    EXPECT_EQ(drifts.size(), 1U);
}

TEST_F(Drift, FiresOnceInASession)
{
    drift(1800, 1801, 80.0);
    drift(1801, 9000, 90.0);
    EXPECT_EQ(drifts.size(), 1U);
    detector.endSession();
    detector.beginSession(start + seconds(9000));
    drift(10800, 10801, 80.0);
    drift(10801, 11200, 90.0);
    EXPECT_EQ(drifts.size(), 2U);
}

TEST_F(Drift, ASnoozeThatLastsBeyondTheSessionSilencesAllOfIt)
{
    drift(1800, 1801, 80.0);
    detector.snoozeDrift(start + seconds(1801));
    drift(1801, 3601, 90.0);
    EXPECT_TRUE(drifts.empty());
    detector.endSession();
    drift(3601, 5000, 90.0);
    EXPECT_TRUE(drifts.empty());
}

TEST_F(Drift, ASnoozeReachesIntoTheNextSession)
{
    detector.snoozeDrift(start + seconds(1000)); // until 2800
    detector.endSession();
    detector.beginSession(start + seconds(1100));
    drift(1700, 2800, 80.0); // not even a baseline is taken
    drift(2800, 2801, 85.0);
    drift(2801, 4000, 87.9);
    EXPECT_TRUE(drifts.empty());
    drift(4000, 4301, 88.0);
    EXPECT_EQ(drifts.size(), 1U);
}

TEST_F(Drift, AfterASnoozeItGoesOnWithWhatRemains)
{
    drift(1800, 1801, 80.0);
    drift(1801, 1802, 90.0);
    detector.snoozeDrift(start + seconds(1802)); // until 3602
    drift(1802, 3602, 90.0);
    EXPECT_TRUE(drifts.empty());
    drift(3602, 3603, 90.0);
    EXPECT_EQ(drifts.size(), 1U);
}

TEST_F(Drift, SwitchedOffItDoesNothing)
{
    detector.settings = MonitoringAlertSettings{.driftAlertEnabled = false};
    drift(1800, 1801, 80.0);
    drift(1801, 3000, 90.0);
    EXPECT_TRUE(drifts.empty());
}

TEST_F(OffTarget, NothingFiresDuringTheFirstWindowOfASession)
{
    evaluate(0, 900, over, std::nullopt);
    EXPECT_TRUE(offTargets.empty());
    evaluate(900, 901, over, std::nullopt);
    ASSERT_EQ(offTargets.size(), 1U);
    EXPECT_EQ(offTargets[0].direction, Direction::over);
    EXPECT_EQ(offTargets[0].targetDBA, 79);
    EXPECT_EQ(offTargets[0].averageDBA, 84); // the edge of the alert band
    EXPECT_EQ(offTargets[0].windowSec, 900);
}

TEST_F(OffTarget, AStretchOfMostlySilenceSaysNothing)
{
    fill({{51, silent}, {49, under}});
    EXPECT_TRUE(offTargets.empty());
}

TEST_F(OffTarget, AStretchWithHalfOfItSilentIsLookedAt)
{
    fill({{49, silent}, {51, under}});
    EXPECT_EQ(offTargets.size(), 1U);
}

TEST_F(OffTarget, NothingButSilenceSaysNothing)
{
    fill({{100, silent}});
    EXPECT_TRUE(offTargets.empty());
}

TEST_F(OffTarget, NinetyPercentOnOneSideFire)
{
    fill({{90, under}, {10, onTarget}});
    ASSERT_EQ(offTargets.size(), 1U);
    EXPECT_EQ(offTargets[0].direction, Direction::under);
    EXPECT_EQ(offTargets[0].averageDBA, 74);
}

TEST_F(OffTarget, LessThanNinetyPercentDoNotFire)
{
    fill({{89, under}, {11, onTarget}});
    EXPECT_TRUE(offTargets.empty());
}

TEST_F(OffTarget, BothSidesCountTogether)
{
    fill({{89, under}, {1, over}, {10, onTarget}});
    ASSERT_EQ(offTargets.size(), 1U);
    EXPECT_EQ(offTargets[0].direction, Direction::under);
}

TEST_F(OffTarget, ATieGoesToUnder)
{
    fill({{45, over}, {45, under}, {10, onTarget}});
    ASSERT_EQ(offTargets.size(), 1U);
    EXPECT_EQ(offTargets[0].direction, Direction::under);
}

TEST_F(OffTarget, MoreOverThanUnderIsOver)
{
    fill({{44, under}, {46, over}, {10, onTarget}});
    ASSERT_EQ(offTargets.size(), 1U);
    EXPECT_EQ(offTargets[0].direction, Direction::over);
}

TEST_F(OffTarget, OverOnlyNeverFiresForUnder)
{
    setDirection(OffTargetDirection::overOnly);
    fill({{95, under}, {5, onTarget}});
    EXPECT_TRUE(offTargets.empty());
}

TEST_F(OffTarget, UnderOnlyCountsUnderAlone)
{
    setDirection(OffTargetDirection::underOnly);
    fill({{89, under}, {11, over}});
    EXPECT_TRUE(offTargets.empty());
    evaluate(100, 189, under, std::nullopt); // 89 under and 11 over all the time
    EXPECT_TRUE(offTargets.empty());
    evaluate(189, 190, under, std::nullopt); // the first of those over is gone
    ASSERT_EQ(offTargets.size(), 1U);
    EXPECT_EQ(offTargets[0].direction, Direction::under);
}

TEST_F(OffTarget, FiresOnceInASession)
{
    evaluate(0, 5000, over, std::nullopt);
    EXPECT_EQ(offTargets.size(), 1U);
    detector.beginSession(start + seconds(5000));
    evaluate(5000, 6000, under, std::nullopt);
    EXPECT_EQ(offTargets.size(), 2U);
}

TEST_F(OffTarget, ASnoozeHoldsItBackForHalfAnHour)
{
    detector.snoozeOffTarget(start);
    evaluate(0, 1800, over, std::nullopt);
    EXPECT_TRUE(offTargets.empty());
    evaluate(1800, 1801, over, std::nullopt);
    EXPECT_EQ(offTargets.size(), 1U);
}

TEST_F(OffTarget, AnEntryExactlyAtTheWindowsBeginStays)
{
    // 10 on target at the begin: with the first of them 90 of 100, without it 90 of 99.
    MonitoringAlertSettings settings;
    settings.offTargetWindowSec = 100;
    detector.settings = settings;
    evaluate(0, 11, onTarget, std::nullopt);
    evaluate(11, 101, over, std::nullopt); // 101 entries: 11 on target, 90 over, below 0.9
    EXPECT_TRUE(offTargets.empty());
    evaluate(101, 102, over, std::nullopt); // the oldest is gone: 10 and 91
    EXPECT_EQ(offTargets.size(), 1U);
}

TEST_F(OffTarget, ALongerWindowDoesNotBringBackWhatWasRemoved)
{
    MonitoringAlertSettings settings;
    settings.offTargetWindowSec = 60;
    settings.offTargetDirection = OffTargetDirection::underOnly;
    detector.settings = settings;
    evaluate(0, 500, over, std::nullopt);
    evaluate(500, 550, onTarget, std::nullopt); // the window holds 11 over and 50 on target
    settings.offTargetWindowSec = 300;
    settings.offTargetDirection = OffTargetDirection::overOnly;
    detector.settings = settings;
    evaluate(550, 551, onTarget, std::nullopt);
    EXPECT_TRUE(offTargets.empty()); // 500 seconds of over would have been 83 %
    // From here on the window grows to its new length: 11 of 561 + ... stay a small share.
    evaluate(551, 700, over, std::nullopt);
    EXPECT_TRUE(offTargets.empty());
    evaluate(700, 1100, over, std::nullopt);
    EXPECT_EQ(offTargets.size(), 1U);
}

TEST_F(OffTarget, AnotherTargetAppliesToNewEntriesOnly)
{
    MonitoringAlertSettings settings;
    settings.offTargetWindowSec = 99;
    detector.settings = settings;
    for (int second = 0; second < 99; ++second)
        detector.evaluate(start + seconds(second), 79, 79, std::nullopt);
    // Against 60 the same level is over, but what was on target stays on target.
    detector.evaluate(start + seconds(99), 79, 60, std::nullopt);
    EXPECT_TRUE(offTargets.empty());
    for (int second = 100; second < 200; ++second)
        detector.evaluate(start + seconds(second), 79, 60, std::nullopt);
    ASSERT_EQ(offTargets.size(), 1U);
    EXPECT_EQ(offTargets[0].targetDBA, 60);
    EXPECT_EQ(offTargets[0].averageDBA, 65);
}

TEST_F(OffTarget, TheSilenceThresholdMovesWithTheAlertBand)
{
    MonitoringAlertSettings settings;
    settings.offTargetWindowSec = 10;
    settings.offTargetToleranceDB = 7;
    detector.settings = settings;
    evaluate(0, 100, 59.9, std::nullopt); // 79 - 7 - 12 = 60
    EXPECT_TRUE(offTargets.empty());
    evaluate(100, 120, 60.0, std::nullopt);
    EXPECT_EQ(offTargets.size(), 1U);
}

TEST_F(MonitoringAlertDetectorTest, AfterTheSessionNothingIsEvaluated)
{
    evaluate(0, 850, over, 80.0);
    detector.endSession();
    evaluate(850, 5000, over, 95.0);
    EXPECT_TRUE(drifts.empty());
    EXPECT_TRUE(offTargets.empty());
}

TEST_F(MonitoringAlertDetectorTest, WithoutCallbacksNothingHappens)
{
    detector.onDriftAlert = nullptr;
    detector.onOffTargetAlert = nullptr;
    drift(1800, 1801, 80.0);
    evaluate(1801, 4000, over, 90.0);
}

TEST_F(MonitoringAlertDetectorTest, NewSettingsAreSavedAtOnceAndAWindowOfNothingIsNoHarm)
{
    EXPECT_TRUE(defaults.values().empty());
    MonitoringAlertSettings settings;
    settings.offTargetWindowSec = -1;
    detector.settings = settings;
    EXPECT_EQ(defaults.get<double>("MonitoringAlerts.offTargetWindowSec"), -1);
    evaluate(0, 10, over, std::nullopt);
    EXPECT_TRUE(offTargets.empty());
}

} // namespace
} // namespace velmor
