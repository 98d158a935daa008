// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/HistorySelection.h>

#include <gtest/gtest.h>

#include <vector>

namespace velmor {
namespace {

const QDate today(2026, 6, 20);

QDate june(int day)
{
    return {2026, 6, day};
}

TEST(HistorySelection, BeginsWithTheLastSevenDays)
{
    const HistorySelection selection(today);
    EXPECT_EQ(selection.range(), (DayRange{june(14), today}));
    EXPECT_FALSE(selection.anchor());
    EXPECT_EQ(selection.displayedMonth(), june(1));
}

TEST(HistorySelection, ATapWaitsForASecondOne)
{
    HistorySelection selection(today);
    selection.handleTap(june(5), today);
    EXPECT_EQ(selection.range(), (DayRange{june(5), june(5)}));
    EXPECT_EQ(selection.anchor(), june(5));
    selection.handleTap(june(9), today);
    EXPECT_EQ(selection.range(), (DayRange{june(5), june(9)}));
    EXPECT_FALSE(selection.anchor());
}

TEST(HistorySelection, ASecondTapBeforeTheAnchorGivesTheSameRange)
{
    HistorySelection selection(today);
    selection.handleTap(june(9), today);
    selection.handleTap(june(5), today);
    EXPECT_EQ(selection.range(), (DayRange{june(5), june(9)}));
}

TEST(HistorySelection, ATapOnAFutureDayDoesNothingAlsoWhileAnAnchorWaits)
{
    HistorySelection selection(today);
    selection.handleTap(june(21), today);
    EXPECT_EQ(selection.range(), (DayRange{june(14), today}));
    EXPECT_FALSE(selection.anchor());
    selection.handleTap(june(9), today);
    selection.handleTap(june(21), today);
    EXPECT_EQ(selection.anchor(), june(9));
    EXPECT_EQ(selection.range(), (DayRange{june(9), june(9)}));
}

TEST(HistorySelection, ATapShowsTheMonthOfItsDay)
{
    HistorySelection selection(today);
    selection.showPreviousMonth();
    selection.handleTap(june(2), today);
    EXPECT_EQ(selection.displayedMonth(), june(1));
}

TEST(HistorySelection, ADragChoosesASpanAndNoFutureDay)
{
    HistorySelection selection(today);
    selection.handleTap(june(1), today);
    selection.drag(june(12), june(8), today);
    EXPECT_EQ(selection.range(), (DayRange{june(8), june(12)}));
    EXPECT_FALSE(selection.anchor());
    selection.drag(june(12), june(23), today);
    EXPECT_EQ(selection.range(), (DayRange{june(8), june(12)}));
}

TEST(HistorySelection, PresetsEndToday)
{
    HistorySelection selection(today);
    selection.showPreviousMonth();
    selection.handleTap(QDate(2026, 5, 3), today);
    selection.applyPreset(-29, today);
    EXPECT_EQ(selection.range(), (DayRange{QDate(2026, 5, 22), today}));
    EXPECT_EQ(selection.range().days(), 30);
    EXPECT_FALSE(selection.anchor());
    EXPECT_EQ(selection.displayedMonth(), june(1));
    selection.applyThisMonth(today);
    EXPECT_EQ(selection.range(), (DayRange{june(1), today}));
}

TEST(HistorySelection, NoMonthOfTheFutureIsShown)
{
    HistorySelection selection(today);
    EXPECT_TRUE(selection.isAtCurrentOrFutureMonth(today));
    selection.showNextMonth(today);
    EXPECT_EQ(selection.displayedMonth(), june(1));
    selection.showPreviousMonth();
    EXPECT_FALSE(selection.isAtCurrentOrFutureMonth(today));
    EXPECT_EQ(selection.displayedMonth(), QDate(2026, 5, 1));
    selection.showNextMonth(today);
    EXPECT_EQ(selection.displayedMonth(), june(1));
}

TEST(HistorySelection, KeysExtendFromWhereTheChoiceBegan)
{
    HistorySelection selection(today);
    selection.select(june(10), today);
    selection.extendTo(june(12), today);
    EXPECT_EQ(selection.range(), (DayRange{june(10), june(12)}));
    selection.extendTo(june(7), today);
    EXPECT_EQ(selection.range(), (DayRange{june(7), june(10)}));
    EXPECT_EQ(selection.cursor(), june(7));
    selection.extendTo(june(28), today);
    EXPECT_EQ(selection.range(), (DayRange{june(10), today}));
}

TEST(HistorySelection, ADayThatGoesBackLeavesNothingOfTheFutureChosen)
{
    HistorySelection selection(today);
    selection.applyPreset(-6, today);
    selection.bound(june(18));
    EXPECT_EQ(selection.range(), (DayRange{june(14), june(18)}));
    selection.handleTap(june(18), june(18));
    selection.bound(QDate(2026, 5, 30));
    EXPECT_EQ(selection.range(), (DayRange{QDate(2026, 5, 30), QDate(2026, 5, 30)}));
    EXPECT_EQ(selection.anchor(), QDate(2026, 5, 30));
    EXPECT_EQ(selection.cursor(), QDate(2026, 5, 30));
    EXPECT_EQ(selection.displayedMonth(), QDate(2026, 5, 1));
}

TEST(CalendarWeeks, HaveBlanksBeforeAndAfterTheMonth)
{
    // The first of June 2026 is a Monday.
    const auto fromMonday = calendarWeeks(june(1), Qt::Monday);
    ASSERT_EQ(fromMonday.size(), 5U);
    EXPECT_EQ(fromMonday[0][0], june(1));
    EXPECT_EQ(fromMonday[4][1], june(30));
    EXPECT_FALSE(fromMonday[4][2]);
    const auto fromSunday = calendarWeeks(june(1), Qt::Sunday);
    EXPECT_FALSE(fromSunday[0][0]);
    EXPECT_EQ(fromSunday[0][1], june(1));
    // Six weeks: August 2026 begins on a Saturday.
    EXPECT_EQ(calendarWeeks(QDate(2026, 8, 1), Qt::Sunday).size(), 6U);
    // Four: February 2021 begins on a Monday.
    EXPECT_EQ(calendarWeeks(QDate(2021, 2, 1), Qt::Monday).size(), 4U);
}

} // namespace
} // namespace velmor
