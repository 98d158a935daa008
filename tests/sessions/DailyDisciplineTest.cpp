// SPDX-License-Identifier: GPL-3.0-or-later
#include <platform/MemoryDefaultsStore.h>
#include <sessions/DailyDiscipline.h>
#include <support/SampleSessions.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace velmor {
namespace {

Session session(double target, double silent, double under, double onTarget, double over)
{
    Session result = newSession("REAPER", test::moment("2026-03-02T09:00:00Z"));
    result.monitoringTarget = target;
    result.timeSilentSec = silent;
    result.timeUnderSec = under;
    result.timeOnTargetSec = onTarget;
    result.timeOverSec = over;
    return result;
}

TEST(DailyDiscipline, AnEmptyDayHasNothing)
{
    const auto day = aggregateDay({}, nullptr);
    EXPECT_EQ(day.activeSec(), 0);
    EXPECT_EQ(day.secondsSilent, 0);
    EXPECT_FALSE(day.onTargetPercentage());
    EXPECT_FALSE(day.hasSingleTarget());
}

TEST(DailyDiscipline, SessionsAddUp)
{
    const std::vector<Session> sessions = {session(79, 1, 10, 20, 30), session(79, 2, 5, 30, 5)};
    const auto day = aggregateDay(sessions, nullptr);
    EXPECT_EQ(day.secondsSilent, 3);
    EXPECT_EQ(day.secondsUnder, 15);
    EXPECT_EQ(day.secondsOnTarget, 50);
    EXPECT_EQ(day.secondsOver, 35);
    EXPECT_EQ(day.activeSec(), 100);
    EXPECT_EQ(day.onTargetPercentage(), 50);
    EXPECT_TRUE(day.hasSingleTarget());
}

TEST(DailyDiscipline, DifferentTargetsAreAMixture)
{
    const std::vector<Session> sessions = {session(79, 0, 0, 20, 0), session(85, 0, 0, 9.9, 0)};
    const auto day = aggregateDay(sessions, nullptr);
    EXPECT_THAT(day.distinctTargets, testing::ElementsAre(79, 85));
    EXPECT_FALSE(day.hasSingleTarget());
    EXPECT_FALSE(day.onTargetPercentage()); // 29.9 s
}

TEST(DailyDiscipline, SessionsOfSilenceOrWithoutATargetContributeNothing)
{
    const std::vector<Session> sessions = {session(79, 500, 0, 0, 0), session(0, 500, 10, 10, 10)};
    const auto day = aggregateDay(sessions, nullptr);
    EXPECT_EQ(day.secondsSilent, 0);
    EXPECT_EQ(day.activeSec(), 0);
    EXPECT_TRUE(day.distinctTargets.empty());
}

TEST(DailyDiscipline, TheLiveTrackerCounts)
{
    MemoryDefaultsStore defaults;
    ReferenceLevelTracker tracker(defaults, 10);
    tracker.settings = ReferenceLevelSettings{.target = 83};
    tracker.beginSession();
    tracker.tick(20);
    EXPECT_EQ(aggregateDay({}, &tracker).secondsSilent, 0); // silence alone
    for (int i = 0; i < 4; ++i)
        tracker.tick(83);
    auto day = aggregateDay({}, &tracker);
    EXPECT_EQ(day.secondsSilent, 10);
    EXPECT_EQ(day.secondsOnTarget, 40);
    EXPECT_THAT(day.distinctTargets, testing::ElementsAre(83));
    tracker.settings = ReferenceLevelSettings{.enabled = false, .target = 83};
    day = aggregateDay({}, &tracker);
    EXPECT_EQ(day.activeSec(), 0);
    EXPECT_TRUE(day.distinctTargets.empty());
}

} // namespace
} // namespace velmor
