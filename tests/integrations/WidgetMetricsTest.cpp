// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/WidgetMetrics.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace velmor {
namespace {

Date moment(const std::string& text)
{
    return dateFromIsoText(text).value();
}

const Date now = moment("2026-03-11T15:00:00Z");

Session session(const std::string& start, double dose, double underSec = 0, double onTargetSec = 0,
                double overSec = 0)
{
    Session made;
    made.startDate = moment(start);
    made.endDate = made.startDate + std::chrono::hours(3);
    made.doseAccumulated = dose;
    made.timeSilentSec = 10000;
    made.timeUnderSec = underSec;
    made.timeOnTargetSec = onTargetSec;
    made.timeOverSec = overSec;
    return made;
}

class WidgetMetricsTest : public testing::Test
{
protected:
    using Doses = std::array<double, 7>;

    Doses weekDoses(const std::vector<Session>& history, double today) const
    {
        return WidgetMetrics::weekDoses(history, today, utc, now);
    }
    WidgetMetrics::WeeklyOnTarget weeklyOnTarget(const std::vector<Session>& history) const
    {
        return WidgetMetrics::weeklyOnTarget(history, utc, now);
    }

    Calendar utc = Calendar::inZone("UTC").value();
};

TEST_F(WidgetMetricsTest, AnEmptyHistoryHasTodaysDoseAlone)
{
    EXPECT_EQ(weekDoses({}, 12.5), (Doses{0, 0, 0, 0, 0, 0, 12.5}));
    EXPECT_EQ(weeklyOnTarget({}), WidgetMetrics::WeeklyOnTarget());
    EXPECT_EQ(WidgetMetrics::weeklyLEX(weekDoses({}, 0)), std::nullopt);
}

TEST_F(WidgetMetricsTest, ADayIsTheSumOfItsFinishedSessionsAndTodayIsTheCalculators)
{
    std::vector<Session> history = {
        session("2026-03-11T01:00:00Z", 500), session("2026-03-10T23:59:00Z", 3),
        session("2026-03-10T00:00:00Z", 4),   session("2026-03-05T10:00:00Z", 5),
        session("2026-03-04T10:00:00Z", 500),
    };
    history.push_back(session("2026-03-09T10:00:00Z", 500));
    history.back().endDate.reset();
    EXPECT_EQ(weekDoses(history, 20), (Doses{5, 0, 0, 0, 0, 7, 20}));
}

TEST_F(WidgetMetricsTest, ANegativeDoseOfTodayCountsAsNone)
{
    EXPECT_EQ(weekDoses({}, -1).back(), 0);
}

TEST_F(WidgetMetricsTest, TheShareOnTargetLeavesSilenceOut)
{
    const std::vector<Session> history = {session("2026-03-10T10:00:00Z", 0, 10, 20, 10),
                                          session("2026-03-09T10:00:00Z", 0, 0, 40, 0)};
    EXPECT_EQ(WidgetMetrics::onTargetPercent(history), 75.0);
}

TEST_F(WidgetMetricsTest, ADayNeedsThirtySecondsOfMeasuredTime)
{
    const auto shares = weeklyOnTarget(
        {session("2026-03-10T10:00:00Z", 0, 9.9, 10, 10), session("2026-03-09T10:00:00Z", 0, 10, 15, 5)});
    EXPECT_EQ(shares.perDay[5], std::nullopt);
    EXPECT_EQ(shares.perDay[4], 50.0);
    // The week has a limit of its own.
    EXPECT_DOUBLE_EQ(shares.overall.value(), 25.0 / 59.9 * 100);
}

TEST_F(WidgetMetricsTest, TheWeekBeginsSixDaysBeforeToday)
{
    const auto shares = weeklyOnTarget({session("2026-03-11T10:00:00Z", 0, 0, 60, 0),
                                        session("2026-03-05T00:00:00Z", 0, 60, 0, 0),
                                        session("2026-03-04T23:59:59Z", 0, 0, 0, 600)});
    EXPECT_EQ(shares.perDay.front(), 0.0);
    EXPECT_EQ(shares.perDay.back(), 100.0);
    EXPECT_EQ(shares.overall, 50.0);
}

TEST_F(WidgetMetricsTest, RunningSessionsHaveNoShare)
{
    Session running = session("2026-03-11T10:00:00Z", 0, 0, 600, 0);
    running.endDate.reset();
    EXPECT_EQ(weeklyOnTarget({running}), WidgetMetrics::WeeklyOnTarget());
    EXPECT_EQ(WidgetMetrics::onTargetPercent(std::vector{running}), std::nullopt);
}

TEST_F(WidgetMetricsTest, DaysAreLocalOnes)
{
    const Calendar tokyo = Calendar::inZone("Asia/Tokyo").value(); // UTC+9
    const std::vector<Session> history = {session("2026-03-10T15:30:00Z", 9)};
    const Date afternoon = moment("2026-03-11T14:00:00Z"); // Before midnight in both.
    EXPECT_EQ(WidgetMetrics::weekDoses(history, 1, tokyo, afternoon).at(5), 0);
    EXPECT_EQ(WidgetMetrics::weekDoses(history, 1, utc, afternoon).at(5), 9);
}

TEST_F(WidgetMetricsTest, TheWeekGoesOverSkippedMidnights)
{
    const Calendar santiago = Calendar::inZone("America/Santiago").value();
    const std::vector<Session> history = {session("2026-09-07T15:00:00Z", 7),
                                          session("2026-09-06T15:00:00Z", 6),
                                          session("2026-09-05T15:00:00Z", 5)};
    EXPECT_EQ(WidgetMetrics::weekDoses(history, 8, santiago, moment("2026-09-08T15:00:00Z")),
              (Doses{0, 0, 0, 5, 6, 7, 8}));
}

TEST_F(WidgetMetricsTest, ADayThatTheClocksSkipIsNoneAndCountsNothingTwice)
{
    // Samoa went over the date line: there was no 30 December 2011.
    const Calendar apia = Calendar::inZone("Pacific/Apia").value();
    const std::vector<Session> history = {session("2011-12-31T02:00:00Z", 9, 30, 30, 0), // 31 December there
                                          session("2011-12-30T02:00:00Z", 4, 0, 60, 0)}; // 29 December
    const Date now2 = moment("2012-01-01T02:00:00Z");                                    // 1 January
    EXPECT_EQ(WidgetMetrics::weekDoses(history, 1, apia, now2), (Doses{0, 0, 0, 4, 0, 9, 1}));
    const auto shares = WidgetMetrics::weeklyOnTarget(history, apia, now2);
    EXPECT_EQ(shares.perDay[3], 100.0);
    EXPECT_EQ(shares.perDay[4], std::nullopt);
    EXPECT_EQ(shares.perDay[5], 50.0);
    EXPECT_EQ(shares.overall, 75.0);
}

TEST_F(WidgetMetricsTest, ADoseOf100PercentOnOneDayIsLessThan85OverTheWeek)
{
    // 85 + 10 log10(1/5)
    EXPECT_NEAR(WidgetMetrics::weeklyLEX(std::vector{100.0}).value(), 78.0103, 0.0001);
}

TEST_F(WidgetMetricsTest, FiveDaysOf100PercentAre85WhateverTheDays)
{
    EXPECT_NEAR(WidgetMetrics::weeklyLEX(std::vector{100.0, 0.0, 100.0, 100.0, -1.0, 100.0, 100.0}).value(),
                85.0, 1e-9);
}

TEST_F(WidgetMetricsTest, AHalvedDoseIsThreeDecibelsLess)
{
    const double whole = WidgetMetrics::weeklyLEX(std::vector{80.0}).value();
    EXPECT_NEAR(whole - WidgetMetrics::weeklyLEX(std::vector{40.0}).value(), 3.0, 1e-9);
}

TEST_F(WidgetMetricsTest, WithoutAnyDoseThereIsNoWeeklyLevel)
{
    EXPECT_EQ(WidgetMetrics::weeklyLEX(std::vector{0.0, -5.0}), std::nullopt);
    EXPECT_EQ(WidgetMetrics::weeklyLEX({}), std::nullopt);
}

} // namespace
} // namespace velmor
