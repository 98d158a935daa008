// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/VelmorIntentMath.h>

#include <integrations/VelmorIntentRecords.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velmor {
namespace {

Date moment(const std::string& text)
{
    return dateFromIsoText(text).value();
}

const Date now = moment("2026-03-11T15:00:00Z");

Session session(const std::string& day, double dose, bool isFinished = true)
{
    Session made;
    made.startDate = moment(day + "T10:00:00Z");
    if (isFinished)
        made.endDate = made.startDate + std::chrono::hours(1);
    made.doseAccumulated = dose;
    return made;
}

class VelmorIntentMathTest : public testing::Test
{
protected:
    std::int64_t streak(const std::vector<Session>& sessions, double threshold = 50) const
    {
        return VelmorIntentMath::streak(sessions, threshold, now, utc);
    }
    VelmorIntentMath::Weekly weekly(const std::vector<Session>& sessions, double threshold = 70) const
    {
        return VelmorIntentMath::weeklySummary(sessions, threshold, now, utc);
    }

    Calendar utc = Calendar::inZone("UTC").value();
};

TEST_F(VelmorIntentMathTest, ABlankNameIsManual)
{
    EXPECT_EQ(VelmorIntentMath::normaliseDAWName(std::nullopt), "Manual");
    EXPECT_EQ(VelmorIntentMath::normaliseDAWName(""), "Manual");
    EXPECT_EQ(VelmorIntentMath::normaliseDAWName(" \n\u00A0"), "Manual");
    EXPECT_EQ(VelmorIntentMath::normaliseDAWName(" Logic  Pro\t"), "Logic  Pro");
}

TEST_F(VelmorIntentMathTest, APauseIsFromOneMinuteToADay)
{
    EXPECT_EQ(VelmorIntentMath::pauseSeconds(1), 60.0);
    EXPECT_EQ(VelmorIntentMath::pauseSeconds(1440), 86400.0);
    const auto messageFor = [](std::int64_t minutes) -> std::string {
        try {
            VelmorIntentMath::pauseSeconds(minutes);
        } catch (const VelmorIntentError& error) {
            EXPECT_EQ(error.which(), VelmorIntentError::Case::invalidArgument);
            return error.what();
        }
        return "";
    };
    EXPECT_EQ(messageFor(0), "Pause duration must be a positive number of minutes.");
    EXPECT_EQ(messageFor(std::numeric_limits<std::int64_t>::min()),
              "Pause duration must be a positive number of minutes.");
    EXPECT_EQ(messageFor(1441), "Pause duration must be at most 1440 minutes (24 hours).");
    EXPECT_EQ(messageFor(std::numeric_limits<std::int64_t>::max()),
              "Pause duration must be at most 1440 minutes (24 hours).");
}

TEST_F(VelmorIntentMathTest, AStreakEndsAtTheFirstDayAtTheThreshold)
{
    EXPECT_EQ(streak({session("2026-03-10", 49.9), session("2026-03-09", 50.0), session("2026-03-08", 1)}),
              1);
}

TEST_F(VelmorIntentMathTest, WithNoSessionYesterdayThereIsNoStreak)
{
    EXPECT_EQ(streak({session("2026-03-11", 1), session("2026-03-09", 1), session("2026-03-08", 1)}), 0);
    EXPECT_EQ(streak({}), 0);
}

TEST_F(VelmorIntentMathTest, ADayIsTheSumOfItsSessionsRunningOnesIncluded)
{
    EXPECT_EQ(streak({session("2026-03-10", 30), session("2026-03-10", 19)}), 1);
    EXPECT_EQ(streak({session("2026-03-10", 30), session("2026-03-10", 20)}), 0);
    EXPECT_EQ(streak({session("2026-03-10", 49, false), session("2026-03-09", 2)}), 2);
}

TEST_F(VelmorIntentMathTest, AStreakGoesOverChangesOfTheClocks)
{
    // Chile skips the midnight of 2026-09-06: that day begins at 01:00.
    const Calendar santiago = Calendar::inZone("America/Santiago").value();
    const std::vector<Session> sessions = {session("2026-09-07", 1), session("2026-09-06", 1),
                                           session("2026-09-05", 1)};
    EXPECT_EQ(VelmorIntentMath::streak(sessions, 50, moment("2026-09-08T15:00:00Z"), santiago), 3);
    EXPECT_EQ(VelmorIntentMath::streak(sessions, 50, moment("2026-09-06T15:00:00Z"), santiago), 1);
}

TEST_F(VelmorIntentMathTest, ADayThatTheClocksSkipNeitherCountsNorEndsAStreak)
{
    // Samoa went over the date line: there was no 30 December 2011.
    const Calendar apia = Calendar::inZone("Pacific/Apia").value();
    std::vector<Session> sessions = {session("2011-12-31", 9), session("2011-12-30", 4),
                                     session("2011-12-29", 2)};
    for (Session& each : sessions)
        each.startDate -= std::chrono::hours(8); // 02:00 UTC: 31, 29 and 28 December there.
    const Date newYear = moment("2012-01-01T02:00:00Z");
    EXPECT_EQ(VelmorIntentMath::streak(sessions, 50, newYear, apia), 3);
    const auto sum = VelmorIntentMath::weeklySummary(sessions, 9, newYear, apia);
    EXPECT_DOUBLE_EQ(sum.avgDosePercent, 15.0 / 7);
    EXPECT_EQ(sum.warningDayCount, 1);
    EXPECT_EQ(sum.sessionCount, 3);
}

TEST_F(VelmorIntentMathTest, TheWeekIsTheSevenDaysBeforeToday)
{
    const auto sum =
        weekly({session("2026-03-11", 1000), session("2026-03-10", 70.0), session("2026-03-10", 1),
                session("2026-03-04", 6), session("2026-03-03", 1000)});
    EXPECT_DOUBLE_EQ(sum.avgDosePercent, 77.0 / 7);
    EXPECT_EQ(sum.sessionCount, 3);
    EXPECT_EQ(sum.warningDayCount, 1);
}

TEST_F(VelmorIntentMathTest, ADayOfExactlyTheThresholdIsAWarningDay)
{
    EXPECT_EQ(weekly({session("2026-03-10", 70.0)}).warningDayCount, 1);
    EXPECT_EQ(weekly({session("2026-03-10", 69.9)}).warningDayCount, 0);
}

TEST_F(VelmorIntentMathTest, AThresholdOfNoneCountsEmptyDaysToo)
{
    EXPECT_EQ(weekly({}, 0).warningDayCount, 7);
}

TEST_F(VelmorIntentMathTest, AtTheBeginOfTimeThereIsNoYesterday)
{
    const std::vector<Session> sessions = {session("2026-03-10", 1)};
    EXPECT_EQ(VelmorIntentMath::streak(sessions, 50, Date::min(), utc), 0);
    EXPECT_EQ(VelmorIntentMath::weeklySummary(sessions, 0, Date::min(), utc), VelmorIntentMath::Weekly());
}

} // namespace
} // namespace velmor
