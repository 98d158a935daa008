// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Calendar.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <limits>

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
    ::setenv("TZ", ":Europe/Berlin", 1);
    EXPECT_EQ(Calendar::current().zoneName(), "Europe/Berlin");
    ::setenv("TZ", "", 1);
    EXPECT_EQ(Calendar::current().zoneName(), Calendar::inZone("UTC")->zoneName());
    ::setenv("TZ", "not a zone", 1);
    EXPECT_NE(Calendar::current().zoneName(), "");
    ::unsetenv("TZ");
    EXPECT_NE(Calendar::current().zoneName(), "");
}

TEST(Calendar, TheNextMidnightIsTheLocalOne)
{
    EXPECT_EQ(calendarIn("UTC").nextMidnight(moment("2026-03-01T09:12:45Z")), moment("2026-03-02T00:00:00Z"));
    EXPECT_EQ(calendarIn("Europe/Berlin").nextMidnight(moment("2026-01-14T22:59:59Z")),
              moment("2026-01-14T23:00:00Z"));
    EXPECT_EQ(calendarIn("Asia/Kolkata").nextMidnight(moment("2026-01-14T18:30:01Z")),
              moment("2026-01-15T18:30:00Z"));
    EXPECT_EQ(calendarIn("America/New_York").nextMidnight(moment("2026-12-31T23:00:00Z")),
              moment("2027-01-01T05:00:00Z"));
}

TEST(Calendar, AfterMidnightItselfTheNextOneIsADayAway)
{
    EXPECT_EQ(calendarIn("UTC").nextMidnight(moment("2026-03-01T00:00:00Z")), moment("2026-03-02T00:00:00Z"));
}

TEST(Calendar, MidnightsOfClockChangesAre23And25HoursApart)
{
    const Calendar berlin = calendarIn("Europe/Berlin");
    EXPECT_EQ(berlin.nextMidnight(moment("2026-03-28T23:00:00Z")), moment("2026-03-29T22:00:00Z"));
    EXPECT_EQ(berlin.nextMidnight(moment("2026-10-24T22:00:00Z")), moment("2026-10-25T23:00:00Z"));
    const Calendar newYork = calendarIn("America/New_York");
    EXPECT_EQ(newYork.nextMidnight(moment("2026-03-08T05:00:00Z")), moment("2026-03-09T04:00:00Z"));
    EXPECT_EQ(newYork.nextMidnight(moment("2026-11-01T04:00:00Z")), moment("2026-11-02T05:00:00Z"));
}

TEST(Calendar, AMidnightThatTheClocksSkipIsTheMomentAfterTheGap)
{
    // Cairo, 24 April 2026: from 24:00 straight to 01:00.
    const Calendar cairo = calendarIn("Africa/Cairo");
    EXPECT_EQ(cairo.nextMidnight(moment("2026-04-23T20:00:00Z")), moment("2026-04-23T22:00:00Z"));
    EXPECT_EQ(cairo.nextMidnight(moment("2026-04-23T22:00:00Z")), moment("2026-04-24T21:00:00Z"));
    // Samoa left out the whole of 30 December 2011.
    EXPECT_EQ(calendarIn("Pacific/Apia").nextMidnight(moment("2011-12-30T08:00:00Z")),
              moment("2011-12-30T10:00:00Z"));
    EXPECT_EQ(calendarIn("Pacific/Apia").nextMidnight(moment("2011-12-30T10:00:00Z")),
              moment("2011-12-31T10:00:00Z"));
}

TEST(Calendar, OfAMidnightThatComesTwiceTheFirstCounts)
{
    // Havana, 2 November 2025: from 01:00 back to 00:00. A year that is over: rules of later ones change.
    const Calendar havana = calendarIn("America/Havana");
    EXPECT_EQ(havana.nextMidnight(moment("2025-11-02T03:00:00Z")), moment("2025-11-02T04:00:00Z"));
    EXPECT_EQ(havana.nextMidnight(moment("2025-11-02T04:30:00Z")), moment("2025-11-03T05:00:00Z"));
}

TEST(Calendar, TheSameTimeOfDaySoManyDaysAway)
{
    const Calendar berlin = calendarIn("Europe/Berlin");
    // Over the change of 29 March the same local time is an hour less away.
    EXPECT_EQ(berlin.addingDays(moment("2026-04-05T10:00:00Z"), -14), moment("2026-03-22T11:00:00Z"));
    EXPECT_EQ(berlin.addingDays(moment("2026-04-05T10:00:00Z"), 0), moment("2026-04-05T10:00:00Z"));
    EXPECT_EQ(berlin.addingDays(moment("2026-10-20T10:00:00Z"), 10), moment("2026-10-30T11:00:00Z"));
    EXPECT_EQ(berlin.addingDays(moment("2026-03-01T00:30:00Z") + std::chrono::milliseconds(250), -1),
              moment("2026-02-28T00:30:00Z") + std::chrono::milliseconds(250));
    EXPECT_EQ(calendarIn("UTC").addingDays(moment("2024-03-01T00:00:00Z"), -1),
              moment("2024-02-29T00:00:00Z"));
}

TEST(Calendar, ATimeThatTheClocksSkipComesOutLaterByTheGap)
{
    // 02:30 on 29 March does not exist in Berlin: 03:30.
    EXPECT_EQ(calendarIn("Europe/Berlin").addingDays(moment("2026-03-28T01:30:00Z"), 1),
              moment("2026-03-29T01:30:00Z"));
    // 02:30 on 25 October comes twice: the first.
    EXPECT_EQ(calendarIn("Europe/Berlin").addingDays(moment("2026-10-24T00:30:00Z"), 1),
              moment("2026-10-25T00:30:00Z"));
}

TEST(Calendar, ThereIsNothingBeyondTheEndOfTime)
{
    const Calendar berlin = calendarIn("Europe/Berlin");
    EXPECT_FALSE(berlin.nextMidnight(Date::max()));
    EXPECT_FALSE(berlin.nextMidnight(Date::min()));
    EXPECT_FALSE(berlin.addingDays(moment("2026-03-01T00:00:00Z"), 100'000));
    EXPECT_FALSE(berlin.addingDays(moment("2026-03-01T00:00:00Z"), -200'000));
    EXPECT_FALSE(berlin.addingDays(moment("2026-03-01T00:00:00Z"), std::numeric_limits<std::int64_t>::min()));
    EXPECT_FALSE(berlin.addingDays(Date::max(), 0));
    EXPECT_FALSE(berlin.isSameDay(Date::max(), moment("2026-03-01T00:00:00Z")));
    EXPECT_FALSE(calendarIn("America/New_York").isSameDay(Date::min(), moment("2026-03-01T00:00:00Z")));
}

} // namespace
} // namespace velmor
