// SPDX-License-Identifier: GPL-3.0-or-later
#include "HistoryWindowFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

namespace velmor {
namespace {

using namespace velmor::test;
using testing::Contains;

/// A past month, so that each of its days can be chosen.
class HistoryCalendarTest : public HistoryWindowTest
{
protected:
    void SetUp() override
    {
        open();
        button("Previous Month")->click();
        first = today().addMonths(-1);
        first = QDate(first.year(), first.month(), 1);
    }

    QDate day(int number) const { return first.addDays(number - 1); }

    QDate first;
};

TEST_F(HistoryWindowTest, TheGridHasTheWidthThatItsGesturesAreMeasuredIn)
{
    open();
    EXPECT_EQ(grid().width(), 286);
    // Column of (286 - 12) / 7 with a gap of 2, row of 39.
    const auto week = calendarWeeks(QDate(today().year(), today().month(), 1), Qt::Sunday);
    const double column = (286 - 12.0) / 7 + 2;
    EXPECT_EQ(grid().dayAt({3 * column + 1, 39 + 1}), week[1][3]);
    EXPECT_EQ(grid().dayAt({4 * column - 0.5, 2 * 39 - 1}), week[1][3]);
    EXPECT_EQ(grid().dayAt({-20, 39 + 1}), week[1][0]);
    EXPECT_EQ(grid().dayAt({900, 39 + 1}), week[1][6]);
    EXPECT_EQ(grid().dayAt({1, 2000}), week.back()[0]);
}

TEST_F(HistoryCalendarTest, TwoTapsChooseASpanInWhateverOrder)
{
    tap(day(9));
    EXPECT_EQ(chosen(), (DayRange{day(9), day(9)}));
    EXPECT_THAT(texts(), Contains(testing::StartsWith("From ")));
    tap(day(4));
    EXPECT_EQ(chosen(), (DayRange{day(4), day(9)}));
    EXPECT_THAT(texts(), Contains("Tap a day to start a new selection"));
    EXPECT_THAT(texts(), Contains("6 days"));
}

TEST_F(HistoryCalendarTest, ADragChoosesASpanAndItsEndIsNoTap)
{
    drag(day(12), day(18));
    EXPECT_EQ(chosen(), (DayRange{day(12), day(18)}));
    // What the system tells of right after it belongs to it.
    tap(day(3));
    EXPECT_EQ(chosen(), (DayRange{day(12), day(18)}));
    QTest::qWait(80);
    tap(day(3));
    EXPECT_EQ(chosen(), (DayRange{day(3), day(3)}));
    QTest::qWait(80);
    drag(day(20), day(15));
    EXPECT_EQ(chosen(), (DayRange{day(15), day(20)}));
}

TEST_F(HistoryCalendarTest, TheDayThatWaitsIsMarkedAndSaid)
{
    const auto cell = [&](QDate date) -> const CalendarDayCell& {
        for (const QWidget* const widget : grid().findChildren<QWidget*>()) {
            const auto* const found = dynamic_cast<const CalendarDayCell*>(widget);
            if (found && found->isVisibleTo(&grid()) && found->day().date == date)
                return *found;
        }
        throw std::runtime_error("no such day");
    };
    tap(day(9));
    EXPECT_TRUE(cell(day(9)).day().isAnchor);
    EXPECT_TRUE(cell(day(9)).accessibleName().contains(QStringLiteral("start of the selection")));
    drag(day(9), day(11));
    EXPECT_FALSE(cell(day(9)).day().isAnchor);
    EXPECT_FALSE(cell(day(9)).accessibleName().contains(QStringLiteral("start of the selection")));
    EXPECT_THAT(texts(), Contains("Tap a day to start a new selection"));
}

TEST_F(HistoryCalendarTest, ASmallMovementIsATap)
{
    QTest::mousePress(&grid(), Qt::LeftButton, {}, place(day(7)));
    QTest::mouseMove(&grid(), place(day(7)) + QPoint(2, 2));
    QTest::mouseRelease(&grid(), Qt::LeftButton, {}, place(day(7)) + QPoint(2, 2));
    EXPECT_EQ(chosen(), (DayRange{day(7), day(7)}));
}

TEST_F(HistoryCalendarTest, KeysMoveAndExtend)
{
    tap(day(10));
    QTest::keyClick(&grid(), Qt::Key_Right);
    EXPECT_EQ(chosen(), (DayRange{day(11), day(11)}));
    EXPECT_THAT(texts(), Contains("Tap another day to extend range"));
    QTest::keyClick(&grid(), Qt::Key_Down);
    EXPECT_EQ(chosen(), (DayRange{day(18), day(18)}));
    QTest::keyClick(&grid(), Qt::Key_Left, Qt::ShiftModifier);
    QTest::keyClick(&grid(), Qt::Key_Up, Qt::ShiftModifier);
    EXPECT_EQ(chosen(), (DayRange{day(10), day(18)}));
    QTest::keyClick(&grid(), Qt::Key_End);
    EXPECT_EQ(chosen().first.dayOfWeek(), Qt::Saturday);
    QTest::keyClick(&grid(), Qt::Key_Home);
    EXPECT_EQ(chosen().first.dayOfWeek(), Qt::Sunday);
    const QDate before = chosen().first;
    QTest::keyClick(&grid(), Qt::Key_PageUp);
    EXPECT_EQ(chosen().first, before.addMonths(-1));
    QTest::keyClick(&grid(), Qt::Key_PageDown);
    EXPECT_EQ(chosen().first, before.addMonths(-1).addMonths(1));
    QTest::keyClick(&grid(), Qt::Key_Space);
    EXPECT_THAT(texts(), Contains(testing::StartsWith("From ")));
}

TEST_F(HistoryWindowTest, NoKeyLeadsIntoTheFuture)
{
    open();
    QTest::keyClick(&grid(), Qt::Key_Down);
    QTest::keyClick(&grid(), Qt::Key_PageDown, Qt::ShiftModifier);
    EXPECT_EQ(chosen(), (DayRange{today(), today()}));
    EXPECT_FALSE(button("Next Month")->isEnabled());
}

TEST_F(HistoryWindowTest, PresetsChooseTheirDays)
{
    open();
    for (const auto& [label, days] :
         {std::pair("14 days", "14 days"), std::pair("30 days", "30 days"), std::pair("7 days", "7 days")}) {
        button(label)->click();
        EXPECT_GE(std::ranges::count(texts(), std::string(days)), 2) << label;
    }
    button("This month")->click();
    EXPECT_EQ(chosen(), (DayRange{QDate(today().year(), today().month(), 1), today()}));
}

} // namespace
} // namespace velmor
