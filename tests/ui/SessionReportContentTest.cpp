// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/ReportSamples.h>
#include <ui/SessionReportContent.h>

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <string>
#include <vector>

namespace velmor {
namespace {

using std::chrono::minutes;
using std::chrono::seconds;
using test::moment;

const Date start = moment("2025-03-04T09:12:00Z");
const Calendar utc = Calendar::inZone("UTC").value();

std::vector<SPLReading> seriesOf(const std::vector<std::optional<Zone>>& zones)
{
    std::vector<SPLReading> readings;
    for (std::size_t i = 0; i < zones.size(); ++i)
        readings.push_back({start + seconds(10 * i), 80, 0, 0, zones[i]});
    return readings;
}

Date after(int secondsLater)
{
    return start + seconds(secondsLater);
}

std::string value(const std::vector<LabelledValue>& items, const std::string& label)
{
    for (const LabelledValue& item : items) {
        if (item.label == label)
            return item.value;
    }
    return "there is no such item";
}

TEST(SessionReportContent, ASessionWithoutANameIsAManualOne)
{
    EXPECT_EQ(reportTitle(newSession("", start)), "Manual session");
    EXPECT_EQ(reportTitle(newSession("Pro Mixer", start)), "Pro Mixer");
    EXPECT_EQ(reportTitle(newSession("\n\xE2\x80\xAE", start)), "Manual session");
}

TEST(SessionReportContent, DatesAreThoseOfOneLanguageInTheLocalZone)
{
    EXPECT_EQ(reportDate(start, utc), "Mar 4, 2025, 9:12 AM");
    EXPECT_EQ(reportDate(start, Calendar::inZone("Asia/Kathmandu").value()), "Mar 4, 2025, 2:57 PM");
    EXPECT_EQ(reportDate(moment("2024-12-31T00:05:59Z"), utc), "Dec 31, 2024, 12:05 AM");
    EXPECT_EQ(reportDate(moment("2024-08-09T12:00:00Z"), utc), "Aug 9, 2024, 12:00 PM");
}

TEST(SessionReportContent, TheSummaryHasItsItemsInOrder)
{
    Session session = test::mixingSession(0);
    session.averageSPL = 78.44;
    session.doseAccumulated = 12.35;
    session.readings = {{start, 60, 0, 0, {}}, {after(10), 70, 0, 0, {}}};
    const ReferenceLevelSettings settings{.target = 83, .tolerance = 2.5};
    const std::vector<LabelledValue> expected = {
        {"Avg dBA", "78.4"},      {"Peak dBA", "94.6"},     {"Peak dBC", "118.2"},
        {"Dose", "12.3%"},        {"Leq dBA", "67.4"},      {"L10 dBA", "70.0"},
        {"L50 dBA", "70.0"},      {"L90 dBA", "60.0"},      {"Target", "83 ± 2 dBA"},
        {"Peaks ≥ 135 dBC", "2"}, {"Peaks ≥ 140 dBC", "0"}, {"Peaks ≥ 115 dBA", "1"},
        {"On target", "67%"},
    };
    EXPECT_EQ(summaryItems(session, settings), expected);
}

TEST(SessionReportContent, WithoutReadingsOrWithOneThereAreNoStatistics)
{
    Session session = test::mixingSession(0);
    for (int readings = 0; readings < 2; ++readings) {
        const auto items = summaryItems(session, {});
        for (const char* label : {"Leq dBA", "L10 dBA", "L50 dBA", "L90 dBA"})
            EXPECT_EQ(value(items, label), "—");
        EXPECT_EQ(value(items, "Avg dBA"), "78.4");
        session.readings.push_back({start, 80, 0, 0, {}});
    }
}

TEST(SessionReportContent, TheTargetIsThePresentOneEvenWhereTheSessionHadAnother)
{
    Session session = test::mixingSession(0);
    session.monitoringTarget = 73;
    EXPECT_EQ(value(summaryItems(session, {.enabled = false, .target = 85, .tolerance = 5}), "Target"),
              "85 ± 5 dBA");
    EXPECT_EQ(bandText(session.monitoringTarget, session.monitoringTolerance), "73 ± 3 dBA");
}

TEST(SessionReportContent, LabelsOfLevelsAreCutOffToWholeNumbers)
{
    EXPECT_EQ(targetLabel(79.9), "Target 79 dBA");
    EXPECT_EQ(levelMark(120), "120");
    EXPECT_EQ(levelMark(0), "0");
    EXPECT_EQ(levelMark(-0.5), "0");
}

TEST(SessionReportContent, BelowThirtySecondsOfActiveTimeThereIsNoScore)
{
    Session session = test::mixingSession(0);
    session.timeUnderSec = session.timeOverSec = 0;
    session.timeOnTargetSec = 29.9;
    EXPECT_TRUE(session.hasMonitoringDisciplineData());
    EXPECT_EQ(disciplineScore(session).text, "—");
    EXPECT_EQ(disciplineScore(session).grade, ScoreGrade::unknown);
    EXPECT_EQ(value(summaryItems(session, {}), "On target"), "—");
    session.timeOnTargetSec = 30;
    EXPECT_EQ(disciplineScore(session).text, "100% on target");
}

TEST(SessionReportContent, ASessionWithATargetOf0HasNoDisciplineData)
{
    Session session = test::mixingSession(0);
    session.monitoringTarget = 0;
    EXPECT_FALSE(session.hasMonitoringDisciplineData());
}

TEST(SessionReportContent, TheScoresGradeChangesAt70And40)
{
    const auto scoreOf = [](double share) {
        Session session = test::mixingSession(0);
        session.timeUnderSec = 1000 - 10 * share;
        session.timeOnTargetSec = 10 * share;
        session.timeOverSec = 0;
        return disciplineScore(session);
    };
    EXPECT_EQ(scoreOf(70).grade, ScoreGrade::good);
    EXPECT_EQ(scoreOf(69.9).grade, ScoreGrade::fair);
    EXPECT_EQ(scoreOf(69.9).text, "70% on target");
    EXPECT_EQ(scoreOf(40).grade, ScoreGrade::fair);
    EXPECT_EQ(scoreOf(39.9).grade, ScoreGrade::poor);
    EXPECT_EQ(scoreOf(12.5).text, "13% on target");
}

TEST(SessionReportContent, TheStripIsTheActiveTimeAlone)
{
    Session session = test::mixingSession(0);
    session.timeSilentSec = 5000;
    session.timeUnderSec = 10;
    session.timeOnTargetSec = 70;
    session.timeOverSec = 20;
    const DisciplineShares shares = disciplineShares(session);
    EXPECT_DOUBLE_EQ(shares.under, 0.1);
    EXPECT_DOUBLE_EQ(shares.onTarget, 0.7);
    EXPECT_DOUBLE_EQ(shares.over, 0.2);
    session.timeUnderSec = session.timeOverSec = 0;
    session.timeOnTargetSec = 0.0005;
    EXPECT_DOUBLE_EQ(disciplineShares(session).onTarget, 0.5);
}

TEST(SessionReportContent, TimesOfTheStripAreRoundedBeforeTheirUnitIsChosen)
{
    EXPECT_EQ(formatStripDuration(0), "0s");
    EXPECT_EQ(formatStripDuration(59.4), "59s");
    EXPECT_EQ(formatStripDuration(59.6), "1m");
    EXPECT_EQ(formatStripDuration(119), "1m");
    EXPECT_EQ(formatStripDuration(3599.4), "59m");
    EXPECT_EQ(formatStripDuration(3599.6), "1h");
    EXPECT_EQ(formatStripDuration(3659), "1h");
    EXPECT_EQ(formatStripDuration(3660), "1h 1m");
    EXPECT_EQ(formatStripDuration(7500), "2h 5m");
    EXPECT_EQ(formatStripDuration(90000), "25h");
    EXPECT_EQ(formatStripDuration(1e300), "277777777777h 46m");
}

TEST(SessionReportContent, NoReadingsHaveNoRuns)
{
    EXPECT_TRUE(zoneRuns({}).empty());
}

TEST(SessionReportContent, ARunEndsWhereTheNextStartsAndTheLastAtTheLastReading)
{
    const auto runs = zoneRuns(seriesOf({Zone::under, Zone::under, Zone::over, Zone::over, Zone::over}));
    const std::vector<ZoneRun> expected = {{Zone::under, start, after(20)},
                                           {Zone::over, after(20), after(40)}};
    EXPECT_EQ(runs, expected);
}

TEST(SessionReportContent, AZoneThatChangesWithEachReadingGivesARunForEach)
{
    const auto runs = zoneRuns(seriesOf({Zone::under, Zone::over, Zone::onTarget}));
    ASSERT_EQ(runs.size(), 3U);
    EXPECT_EQ(runs[0].end, after(10));
    EXPECT_EQ(runs[2].start, after(20));
    EXPECT_EQ(runs[2].end, after(20));
}

TEST(SessionReportContent, OneReadingOrOneZoneIsOneRun)
{
    const std::vector<ZoneRun> moment = {{Zone::over, start, start}};
    EXPECT_EQ(zoneRuns(seriesOf({Zone::over})), moment);
    const std::vector<ZoneRun> whole = {{Zone::over, start, after(20)}};
    EXPECT_EQ(zoneRuns(seriesOf({Zone::over, Zone::over, Zone::over})), whole);
}

TEST(SessionReportContent, AReadingWithoutAZoneIsSilent)
{
    const std::vector<ZoneRun> expected = {{Zone::silent, start, after(20)},
                                           {Zone::under, after(20), after(20)}};
    EXPECT_EQ(zoneRuns(seriesOf({std::nullopt, Zone::silent, Zone::under})), expected);
}

TEST(SessionReportContent, WithoutACLevelAboveZeroThereIsNoCLine)
{
    auto readings = seriesOf({Zone::over, Zone::over});
    EXPECT_FALSE(hasCLevels(readings));
    readings[1].dBC = 0.1;
    EXPECT_TRUE(hasCLevels(readings));
    EXPECT_FALSE(hasCLevels({}));
}

TEST(SessionReportContent, TheStrideDependsOnTheDuration)
{
    const ChartStride fiveMinutes{CalendarUnit::minute, 5, MarkFormat::hourAndMinute};
    const ChartStride halfHour{CalendarUnit::minute, 30, MarkFormat::hourAndMinute};
    const ChartStride hour{CalendarUnit::hour, 1, MarkFormat::hourAndMinute};
    const ChartStride day{CalendarUnit::day, 1, MarkFormat::monthAndDay};
    EXPECT_EQ(chartTimeStride(29 * 60), fiveMinutes);
    EXPECT_EQ(chartTimeStride(1799.999), fiveMinutes);
    EXPECT_EQ(chartTimeStride(30 * 60), halfHour);
    EXPECT_EQ(chartTimeStride(21599), halfHour);
    EXPECT_EQ(chartTimeStride(6 * 3600), hour);
    EXPECT_EQ(chartTimeStride(86399), hour);
    EXPECT_EQ(chartTimeStride(86400), day);
    EXPECT_EQ(chartTimeStride(-5), fiveMinutes);
}

std::vector<std::string> labels(double duration, Date from, Date to, const Calendar& calendar)
{
    const ChartStride stride = chartTimeStride(duration);
    std::vector<std::string> labels;
    for (const Date mark : chartMarks(stride, from, to, calendar))
        labels.push_back(markLabel(stride, mark, calendar));
    return labels;
}

TEST(SessionReportContent, MarksLieOnTheLocalClock)
{
    EXPECT_EQ(labels(29 * 60, start, start + minutes(29), utc),
              (std::vector<std::string>{"9:15 AM", "9:20 AM", "9:25 AM", "9:30 AM", "9:35 AM", "9:40 AM"}));
    // 14:57 to 16:27 in Kathmandu, 5:45 ahead of UTC.
    EXPECT_EQ(labels(90 * 60, start, start + minutes(90), Calendar::inZone("Asia/Kathmandu").value()),
              (std::vector<std::string>{"3:00 PM", "3:30 PM", "4:00 PM"}));
    EXPECT_EQ(labels(86400, moment("2025-03-04T12:00:00Z"), moment("2025-03-07T00:00:00Z"), utc),
              (std::vector<std::string>{"Mar 5", "Mar 6", "Mar 7"}));
}

TEST(SessionReportContent, MarksFollowTheClocksThroughANightThatChangesThem)
{
    // From 22:30 to 05:30 in Berlin, where 2:00 is 3:00 in that night.
    EXPECT_EQ(labels(6 * 3600, moment("2025-03-29T21:30:00Z"), moment("2025-03-30T03:30:00Z"),
                     Calendar::inZone("Europe/Berlin").value()),
              (std::vector<std::string>{"11:00 PM", "12:00 AM", "1:00 AM", "3:00 AM", "4:00 AM", "5:00 AM"}));
}

TEST(SessionReportContent, ASpanAsLongAsDatesReachHasAnEnd)
{
    for (const char* from : {"1678-01-01T00:00:00Z", "1677-09-22T00:00:00Z", "2025-03-04T00:00:00Z"}) {
        const auto marks = chartMarks(chartTimeStride(60), moment(from), moment("2262-04-11T00:00:00Z"), utc);
        EXPECT_LT(marks.size(), 2000U);
        EXPECT_GT(marks.size(), 0U);
    }
}

TEST(SessionReportContent, WhereLabelsHaveNoRoomTheSameHoursKeepThem)
{
    const ChartStride hour = chartTimeStride(8 * 3600);
    const auto marks = chartMarks(hour, moment("2025-03-04T09:00:00Z"), moment("2025-03-04T17:00:00Z"), utc);
    ASSERT_EQ(marks.size(), 9U);
    const std::vector<bool> all(9, true);
    EXPECT_EQ(labelledMarks(hour, marks, 1, utc), all);
    // 10:00, 12:00, 14:00, 16:00
    const std::vector<bool> even = {false, true, false, true, false, true, false, true, false};
    EXPECT_EQ(labelledMarks(hour, marks, 2, utc), even);
    // One in five is one in six here: 12:00.
    const std::vector<bool> noon = {false, false, false, true, false, false, false, false, false};
    EXPECT_EQ(labelledMarks(hour, marks, 5, utc), noon);
}

TEST(SessionReportContent, TheCalibrationIsOneLine)
{
    const Date now = moment("2025-03-05T08:30:00Z");
    CalibrationTrust trust;
    EXPECT_EQ(calibrationText(trust, now), "none, the offset is the program's default");
    trust = test::sampleCircumstances().calibration;
    EXPECT_EQ(calibrationText(trust, now), "acoustic calibrator, 94.0 dB; 3 days old; nothing changed since");
    trust.concerns = {"input is muted", "input clipped once"};
    trust.date = now;
    EXPECT_EQ(calibrationText(trust, now),
              "acoustic calibrator, 94.0 dB; less than a day old; input is muted, input clipped once");
    trust = {.method = CalibrationMethod::slider};
    EXPECT_EQ(calibrationText(trust, now), "set by hand; date unknown");
    trust = {.method = CalibrationMethod::profile, .date = now - std::chrono::hours(25)};
    EXPECT_EQ(calibrationText(trust, now), "saved profile; 1 day old; nothing changed since");
    trust = {.concerns = {"input is muted"}};
    EXPECT_EQ(calibrationText(trust, now), "none, the offset is the program's default; input is muted");
}

TEST(SessionReportContent, ANameIsShownInOneLineAndOneDirection)
{
    EXPECT_EQ(reportTitle(newSession("a\nb\x01\tc", start)), "a b  c");
    EXPECT_EQ(reportTitle(newSession("\xE2\x80\xAE"
                                     "fdp",
                                     start)),
              " fdp");
    EXPECT_EQ(reportTitle(newSession("Abhörraum – Süd", start)), "Abhörraum – Süd");
}

} // namespace
} // namespace velmor
