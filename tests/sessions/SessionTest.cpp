// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/Session.h>
#include <support/SampleSessions.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace velmor {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using test::moment;

const Date start = moment("2026-03-02T09:00:00Z");

std::string textOfDuration(std::chrono::nanoseconds duration)
{
    Session session = newSession("REAPER", start);
    session.endDate = start + duration;
    return session.durationFormatted(start + std::chrono::hours(100));
}

TEST(Session, ANewOneHasItsNameAndZeros)
{
    const Session session = newSession("REAPER", start);
    EXPECT_EQ(session.startDate, start);
    EXPECT_FALSE(session.endDate);
    EXPECT_TRUE(session.isActive());
    EXPECT_EQ(session.dawName, "REAPER");
    EXPECT_TRUE(session.readings.empty());
    Session expected;
    expected.id = session.id;
    expected.startDate = start;
    expected.dawName = "REAPER";
    EXPECT_EQ(session, expected);
    EXPECT_EQ(expected.averageSPL + expected.peakSPL + expected.peakDBC + expected.doseAccumulated, 0);
    EXPECT_NE(session.id, newSession("REAPER", start).id);
}

TEST(Session, AnOnTargetShareNeedsThirtySecondsOfActiveTime)
{
    Session session = newSession("REAPER", start);
    session.timeOnTargetSec = 29.9;
    EXPECT_FALSE(session.onTargetPercentage());
    session.timeOnTargetSec = 15;
    session.timeUnderSec = 10;
    session.timeOverSec = 5;
    EXPECT_EQ(session.onTargetPercentage(), 50);
}

TEST(Session, SilenceAloneIsNoDisciplineData)
{
    Session session = newSession("REAPER", start);
    session.monitoringTarget = 79;
    session.timeSilentSec = 1000;
    EXPECT_FALSE(session.hasMonitoringDisciplineData());
    EXPECT_EQ(session.activeMonitoringTimeSec(), 0);
    session.timeOverSec = 0.1;
    EXPECT_TRUE(session.hasMonitoringDisciplineData());
}

TEST(Session, AShareAndDisciplineDataAreIndependent)
{
    Session session = newSession("REAPER", start);
    session.timeOnTargetSec = 30;
    EXPECT_EQ(session.onTargetPercentage(), 100);
    EXPECT_FALSE(session.hasMonitoringDisciplineData());
}

TEST(Session, OneSecondShortOfAnHourReads59m)
{
    EXPECT_EQ(textOfDuration(seconds(3599)), "59m");
    EXPECT_EQ(textOfDuration(seconds(3599) + milliseconds(999)), "59m");
    EXPECT_EQ(textOfDuration(seconds(3600)), "1h 0m");
}

TEST(Session, DurationsAreHoursAndMinutes)
{
    EXPECT_EQ(textOfDuration(seconds(0)), "0m");
    EXPECT_EQ(textOfDuration(seconds(59)), "0m");
    EXPECT_EQ(textOfDuration(seconds(42 * 60)), "42m");
    EXPECT_EQ(textOfDuration(seconds(2 * 3600 + 5 * 60 + 59)), "2h 5m");
    EXPECT_EQ(textOfDuration(seconds(100 * 3600)), "100h 0m");
    EXPECT_EQ(textOfDuration(seconds(-30)), "0m");
    EXPECT_EQ(textOfDuration(seconds(-150)), "-2m");
}

TEST(Session, WhileItRunsItLastsUntilNow)
{
    const Session session = newSession("REAPER", start);
    EXPECT_EQ(session.duration(start + milliseconds(1500)), 1.5);
    EXPECT_EQ(session.durationFormatted(start + seconds(3661)), "1h 1m");
}

} // namespace
} // namespace velmor
