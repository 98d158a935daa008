// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/VelmorURLResponseHelpers.h>

#include <gtest/gtest.h>

#include <limits>

namespace velmor {
namespace {

namespace Helpers = VelmorURLResponseHelpers;
using namespace std::chrono_literals;

Date moment(const char* text)
{
    return dateFromIsoText(text).value();
}

TEST(VelmorURLResponseHelpers, LevelsHaveOneDecimalAndAPoint)
{
    EXPECT_EQ(Helpers::splParams(78.44, 82.05000001, 91.0),
              (URLParameters{{"dba", "78.4"}, {"dbc", "82.1"}, {"peak_dba", "91.0"}}));
    EXPECT_EQ(Helpers::splParams(1234.5, -0.04, std::nullopt),
              (URLParameters{{"dba", "1234.5"}, {"dbc", "-0.0"}}));
    EXPECT_EQ(Helpers::splParams({}, {}, {}), URLParameters());
}

TEST(VelmorURLResponseHelpers, TheDoseSetHasTheDoseWhatRemainsAndTheCounts)
{
    EXPECT_EQ(Helpers::doseParams(12.34, DoseLevel::safe, 1, 2, 3, 4),
              (URLParameters{{"dose_percent", "12.3"},
                             {"remaining_percent", "87.7"},
                             {"dose_level", "safe"},
                             {"peak_count_135dbc", "1"},
                             {"peak_count_137dbc", "2"},
                             {"peak_count_140dbc", "3"},
                             {"peak_count_115dba", "4"}}));
}

TEST(VelmorURLResponseHelpers, NothingRemainsOfADoseAbove100)
{
    const auto params = Helpers::doseParams(130.06, DoseLevel::danger, 0, 0, 0, 0);
    EXPECT_EQ(params.at("dose_percent"), "130.1");
    EXPECT_EQ(params.at("remaining_percent"), "0.0");
}

TEST(VelmorURLResponseHelpers, ANegativeDoseCountsAsNone)
{
    const auto params = Helpers::doseParams(-3, DoseLevel::safe, 0, 0, 0, 0);
    EXPECT_EQ(params.at("dose_percent"), "0.0");
    EXPECT_EQ(params.at("remaining_percent"), "100.0");
}

TEST(VelmorURLResponseHelpers, LevelsOfTheDoseHaveTheirWords)
{
    EXPECT_EQ(Helpers::levelString(DoseLevel::safe), "safe");
    EXPECT_EQ(Helpers::levelString(DoseLevel::caution), "caution");
    EXPECT_EQ(Helpers::levelString(DoseLevel::warning), "warning");
    EXPECT_EQ(Helpers::levelString(DoseLevel::danger), "danger");
}

TEST(VelmorURLResponseHelpers, WithoutASessionTheSetSaysSoAndNothingElse)
{
    EXPECT_EQ(Helpers::sessionParams(std::nullopt, Date()), (URLParameters{{"active", "false"}}));
}

TEST(VelmorURLResponseHelpers, TheSessionSetHasTheRunningSession)
{
    Session session;
    session.startDate = moment("2026-03-02T09:00:00Z");
    session.averageSPL = 78.25;
    session.peakSPL = 91.06;
    session.peakDBC = 118.0;
    session.doseAccumulated = 4.44;
    session.dawName = " \u00A0Logic Pro\n";
    EXPECT_EQ(Helpers::sessionParams(session, moment("2026-03-02T09:01:40Z") + 999ms),
              (URLParameters{{"active", "true"},
                             {"start_iso8601", "2026-03-02T09:00:00Z"},
                             {"elapsed_seconds", "100"},
                             {"dba_mean", "78.2"},
                             {"dba_peak", "91.1"},
                             {"dbc_peak", "118.0"},
                             {"session_dose_percent", "4.4"},
                             {"daw", "Logic Pro"}}));
    // Cut off towards zero, also for a clock that was set back.
    EXPECT_EQ(Helpers::sessionParams(session, session.startDate - 1500ms).at("elapsed_seconds"), "-1");
    session.dawName = "\t \u2028";
    EXPECT_FALSE(Helpers::sessionParams(session, session.startDate).contains("daw"));
}

TEST(VelmorURLResponseHelpers, APauseUntilADateSaysWhenItEnds)
{
    const Date now = moment("2026-03-02T09:00:00Z");
    EXPECT_EQ(Helpers::pauseParams({true, now + 90s + 600ms}, now),
              (URLParameters{{"paused", "true"},
                             {"pause_until", "2026-03-02T09:01:30Z"},
                             {"pause_resume_in_seconds", "90"}}));
}

TEST(VelmorURLResponseHelpers, AnOpenEndedPauseHasNoFurtherKeys)
{
    EXPECT_EQ(Helpers::pauseParams({true, std::nullopt}, Date()), (URLParameters{{"paused", "true"}}));
}

TEST(VelmorURLResponseHelpers, APauseWhoseEndHasComeIsNone)
{
    const Date now = moment("2026-03-02T09:00:00Z");
    EXPECT_EQ(Helpers::pauseParams({true, now}, now), (URLParameters{{"paused", "false"}}));
    EXPECT_EQ(Helpers::pauseParams({true, now - 1s}, now), (URLParameters{{"paused", "false"}}));
    EXPECT_EQ(Helpers::pauseParams({false, std::nullopt}, now), (URLParameters{{"paused", "false"}}));
}

TEST(VelmorURLResponseHelpers, ParametersAreSortedByKeyBehindTheUrlsOwn)
{
    const auto base = Url::fromText("myapp://done?tag=1");
    EXPECT_EQ(Helpers::successURL(*base, Helpers::doseParams(12.3, DoseLevel::safe, 0, 0, 0, 0))->text(),
              "myapp://done?tag=1&dose_level=safe&dose_percent=12.3&peak_count_115dba=0&peak_count_135dbc=0&"
              "peak_count_137dbc=0&peak_count_140dbc=0&remaining_percent=87.7&result=ok");
}

TEST(VelmorURLResponseHelpers, AResultInTheSetIsLeftAloneAndOneOfTheUrlIsDoubled)
{
    const auto base = Url::fromText("myapp://done?result=old");
    EXPECT_EQ(Helpers::successURL(*base, {})->text(), "myapp://done?result=old&result=ok");
    EXPECT_EQ(Helpers::successURL(*base, {{"result", "own"}})->text(), "myapp://done?result=old&result=own");
}

TEST(VelmorURLResponseHelpers, AnErrorHasItsCodeAndMessageAndNoResult)
{
    EXPECT_EQ(
        Helpers::errorURL(*Url::fromText("myapp://done"), "unknown_endpoint", "Unknown URL: velmor://a&b")
            ->text(),
        "myapp://done?error_code=unknown_endpoint&error_message=Unknown%20URL:%20velmor://a%26b");
}

TEST(VelmorURLResponseHelpers, ABaseThatDoesNotPartIntoComponentsGetsNoReply)
{
    EXPECT_FALSE(Helpers::successURL(*Url::fromText("myapp://done:port"), {}));
}

} // namespace
} // namespace velmor
