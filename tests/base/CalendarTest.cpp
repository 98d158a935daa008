// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Calendar.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace velmor {
namespace {

Date moment(const char* text)
{
    return dateFromIsoText(text).value();
}

Calendar calendarIn(const char* zone)
{
    return Calendar::inZone(zone).value();
}

TEST(Calendar, ADayBeginsAndEndsAtLocalMidnight)
{
    const Calendar berlin = calendarIn("Europe/Berlin"); // UTC+1 in winter
    EXPECT_FALSE(berlin.isSameDay(moment("2026-01-14T22:59:59Z"), moment("2026-01-14T23:00:00Z")));
    EXPECT_TRUE(berlin.isSameDay(moment("2026-01-14T23:00:00Z"), moment("2026-01-15T22:59:59Z")));

    const Calendar kolkata = calendarIn("Asia/Kolkata"); // UTC+5:30
    EXPECT_FALSE(kolkata.isSameDay(moment("2026-01-14T18:29:59Z"), moment("2026-01-14T18:30:00Z")));

    const Calendar newYork = calendarIn("America/New_York"); // UTC-5 in winter
    EXPECT_TRUE(newYork.isSameDay(moment("2026-01-14T23:00:00Z"), moment("2026-01-15T04:59:59Z")));
    EXPECT_FALSE(newYork.isSameDay(moment("2026-01-15T04:59:59Z"), moment("2026-01-15T05:00:00Z")));
}

TEST(Calendar, DaysOfClockChangesAre23And25HoursLong)
{
    const Calendar berlin = calendarIn("Europe/Berlin");
    // 29 March 2026: from UTC+1 to UTC+2.
    EXPECT_TRUE(berlin.isSameDay(moment("2026-03-28T23:00:00Z"), moment("2026-03-29T21:59:59Z")));
    EXPECT_FALSE(berlin.isSameDay(moment("2026-03-28T23:00:00Z"), moment("2026-03-29T22:00:00Z")));
    // 25 October 2026: back again.
    EXPECT_TRUE(berlin.isSameDay(moment("2026-10-24T22:00:00Z"), moment("2026-10-25T22:59:59Z")));
    EXPECT_FALSE(berlin.isSameDay(moment("2026-10-24T22:00:00Z"), moment("2026-10-25T23:00:00Z")));
}

TEST(Calendar, ANameThatIsNoZoneGivesNoCalendar)
{
    EXPECT_FALSE(Calendar::inZone("Europe/Atlantis"));
    EXPECT_FALSE(Calendar::inZone(""));
    EXPECT_FALSE(Calendar::inZone("../../etc/passwd"));
}

TEST(Calendar, TheCurrentZoneIsThatOfTheEnvironmentWhereItNamesOne)
{
    ::setenv("TZ", "Asia/Kolkata", 1);
    EXPECT_EQ(Calendar::current().zoneName(), "Asia/Kolkata");
    ::setenv("TZ", "not a zone", 1);
    EXPECT_NE(Calendar::current().zoneName(), "");
    ::unsetenv("TZ");
    EXPECT_NE(Calendar::current().zoneName(), "");
}

} // namespace
} // namespace velmor
