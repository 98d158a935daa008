// SPDX-License-Identifier: GPL-3.0-or-later
#include <discipline/ReferenceLevelTracker.h>
#include <platform/MemoryDefaultsStore.h>

#include <gtest/gtest.h>

namespace velmor {
namespace {

class ReferenceLevelTrackerTest : public testing::Test
{
protected:
    void ticks(int count, double dBA)
    {
        for (int i = 0; i < count; ++i)
            tracker.tick(dBA);
    }

    MemoryDefaultsStore defaults;
    ReferenceLevelTracker tracker{defaults, 0.1};
};

TEST(Zone, BothEdgesOfTheBandBelongToIt)
{
    EXPECT_EQ(classifyLevel(75.9, 79, 3), Zone::under);
    EXPECT_EQ(classifyLevel(76.0, 79, 3), Zone::onTarget);
    EXPECT_EQ(classifyLevel(82.0, 79, 3), Zone::onTarget);
    EXPECT_EQ(classifyLevel(82.1, 79, 3), Zone::over);
    EXPECT_EQ(classifyLevel(63.9, 79, 3), Zone::silent);
    EXPECT_EQ(classifyLevel(64.0, 79, 3), Zone::under);
}

TEST(Zone, TheSilenceThresholdIsNeverBelow50DBA)
{
    EXPECT_EQ(classifyLevel(49.9, 60, 5), Zone::silent);
    EXPECT_EQ(classifyLevel(50.0, 60, 5), Zone::under);
}

TEST(Zone, ABandThatMeetsTheFloorLeavesNothingUnderIt)
{
    EXPECT_EQ(classifyLevel(49.9, 52, 2), Zone::silent);
    EXPECT_EQ(classifyLevel(50.0, 52, 2), Zone::onTarget);
}

TEST(Zone, IsStoredByItsText)
{
    for (const auto& [zone, text] : {std::pair(Zone::silent, "silent"), std::pair(Zone::under, "under"),
                                     std::pair(Zone::onTarget, "onTarget"), std::pair(Zone::over, "over")}) {
        EXPECT_EQ(rawValue(zone), text);
        EXPECT_EQ(zoneFromRaw(text), zone);
    }
    EXPECT_FALSE(zoneFromRaw("Over"));
    EXPECT_FALSE(zoneFromRaw(""));
}

TEST_F(ReferenceLevelTrackerTest, EachTickCountsForItsIntervalInItsZone)
{
    tracker.beginSession();
    ticks(10, 79);
    EXPECT_NEAR(tracker.secondsOnTarget, 1.0, 1e-9);
    EXPECT_EQ(tracker.currentZone, Zone::onTarget);
    EXPECT_EQ(tracker.currentDeviation.get(), 0.0);
    ticks(20, 84.5);
    EXPECT_NEAR(tracker.secondsOver, 2.0, 1e-9);
    EXPECT_EQ(tracker.currentDeviation.get(), 5.5);
    ticks(30, 70);
    EXPECT_NEAR(tracker.secondsUnder, 3.0, 1e-9);
    EXPECT_EQ(tracker.currentDeviation.get(), -9.0);
    ticks(40, 30);
    EXPECT_NEAR(tracker.secondsSilent, 4.0, 1e-9);
    EXPECT_EQ(tracker.currentZone, Zone::silent);
    EXPECT_FALSE(tracker.currentDeviation.get());
    EXPECT_NEAR(tracker.activeMonitoringTime(), 6.0, 1e-9);
}

TEST_F(ReferenceLevelTrackerTest, AShareNeedsThirtySecondsOfActiveTime)
{
    EXPECT_FALSE(onTargetShare(29.9, 29.9));
    EXPECT_EQ(onTargetShare(15, 30), 50);
    EXPECT_EQ(onTargetShare(0, 30), 0);
    tracker.beginSession();
    ticks(250, 79);
    ticks(1000, 30);
    EXPECT_FALSE(tracker.onTargetPercentage());
    ticks(60, 90);
    EXPECT_NEAR(tracker.onTargetPercentage().value(), 100 * 25.0 / 31.0, 1e-6);
}

TEST_F(ReferenceLevelTrackerTest, WhileNotEnabledNothingCountsAndTheZoneIsSilent)
{
    tracker.beginSession();
    ticks(1, 79);
    tracker.settings = ReferenceLevelSettings{.enabled = false};
    ticks(100, 79);
    EXPECT_EQ(tracker.currentZone, Zone::silent);
    EXPECT_FALSE(tracker.currentDeviation.get());
    EXPECT_EQ(tracker.secondsOnTarget, 0.1);
    EXPECT_EQ(tracker.secondsSilent, 0);
    EXPECT_FALSE(tracker.snapshotSummary());
    tracker.settings = ReferenceLevelSettings{};
    EXPECT_TRUE(tracker.snapshotSummary());
}

TEST_F(ReferenceLevelTrackerTest, OneThatWasNotEnabledForAWholeSessionHasNoSummary)
{
    tracker.settings = ReferenceLevelSettings{.enabled = false};
    tracker.beginSession();
    ticks(1000, 79);
    EXPECT_FALSE(tracker.snapshotSummary());
}

TEST_F(ReferenceLevelTrackerTest, SilenceAloneIsASummaryWithoutActiveTime)
{
    tracker.beginSession();
    EXPECT_FALSE(tracker.snapshotSummary());
    ticks(10, 20);
    const auto summary = tracker.snapshotSummary();
    ASSERT_TRUE(summary);
    EXPECT_EQ(summary->target, 79);
    EXPECT_EQ(summary->tolerance, 3);
    EXPECT_NEAR(summary->secondsSilent, 1, 1e-9);
    EXPECT_EQ(summary->secondsUnder + summary->secondsOnTarget + summary->secondsOver, 0);
}

TEST_F(ReferenceLevelTrackerTest, TheBandOfASummaryIsTheOneAtItsEnd)
{
    tracker.beginSession();
    ticks(10, 79);
    tracker.settings = ReferenceLevelSettings{.target = 85, .tolerance = 2, .presetID = "k20"};
    ticks(10, 79);
    const auto summary = tracker.snapshotSummary();
    EXPECT_EQ(summary->target, 85);
    EXPECT_EQ(summary->tolerance, 2);
    // What was counted stays under the zones of the old band.
    EXPECT_NEAR(summary->secondsOnTarget, 1, 1e-9);
    EXPECT_NEAR(summary->secondsUnder, 1, 1e-9);
}

TEST_F(ReferenceLevelTrackerTest, ANewSessionCountsFromZero)
{
    tracker.beginSession();
    ticks(10, 79);
    ticks(10, 60);
    ticks(10, 66);
    ticks(10, 99);
    tracker.beginSession();
    EXPECT_EQ(tracker.secondsSilent + tracker.secondsUnder + tracker.secondsOnTarget + tracker.secondsOver,
              0);
    EXPECT_EQ(tracker.currentZone, Zone::silent);
    EXPECT_FALSE(tracker.currentDeviation.get());
}

TEST_F(ReferenceLevelTrackerTest, NewSettingsAreSavedAtOnceAndInitialOnesAreNot)
{
    EXPECT_TRUE(defaults.values().empty());
    tracker.settings = ReferenceLevelSettings{.target = 73};
    EXPECT_EQ(defaults.get<double>("MonitoringDiscipline.target"), 73);
    const ReferenceLevelTracker other(defaults, 0.1);
    EXPECT_EQ(other.settings.get().target, 73);
    MemoryDefaultsStore untouched;
    const ReferenceLevelTracker given(untouched, 0.1, ReferenceLevelSettings{.target = 60});
    EXPECT_EQ(given.settings.get().target, 60);
    EXPECT_TRUE(untouched.values().empty());
}

} // namespace
} // namespace velmor
