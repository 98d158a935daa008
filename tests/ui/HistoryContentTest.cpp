// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/SampleSessions.h>
#include <ui/HistoryContent.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace velmor {
namespace {

using test::moment;
using testing::ElementsAre;

const QLocale english(QLocale::English, QLocale::UnitedStates);

/// A finished session that starts at a moment and takes so many minutes.
Session finished(const char* start, double dose, int minutes = 30)
{
    Session session = newSession("REAPER", moment(start));
    session.endDate = session.startDate + std::chrono::minutes(minutes);
    session.doseAccumulated = dose;
    return session;
}

class HistoryContentTest : public testing::Test
{
protected:
    DailyDoses doses()
    {
        days = HistoryDays(history, calendar);
        return {days, today, todayDose};
    }
    HistoryFigures figures(const DayRange& range)
    {
        const DailyDoses daily = doses();
        return historyFigures(daily, range, days.sessions(range));
    }
    HistoryStat stat(const DayRange& range, std::size_t index) { return historyStats(figures(range))[index]; }

    /// Days of June 2026; today is the 20th, a Saturday.
    static DayRange june(int first, int last) { return {QDate(2026, 6, first), QDate(2026, 6, last)}; }

    const Calendar calendar = Calendar::inZone("UTC").value();
    const LocaleDates dates{english};
    std::vector<Session> history;
    HistoryDays days{history, calendar};
    QDate today{2026, 6, 20};
    double todayDose = 0;
};

TEST_F(HistoryContentTest, FourDaysAreTooFewForAWeeklyLevelWhateverTheDose)
{
    history = {finished("2026-06-11T09:00:00Z", 300)};
    const HistoryStat stat = this->stat(june(10, 13), 2);
    EXPECT_EQ(stat.label, "EU weekly (L𝒈,w)");
    EXPECT_EQ(stat.value, "≥5 days needed");
    EXPECT_EQ(stat.color, Tint::dim);
}

TEST_F(HistoryContentTest, FiveDaysWithoutADoseHaveNoWeeklyLevel)
{
    EXPECT_EQ(stat(june(10, 14), 2).value, "≥5 days needed");
    EXPECT_EQ(stat(june(10, 14), 2).color, Tint::dim);
}

TEST_F(HistoryContentTest, OneDayAtTheLimitOfFiveIsSeventyEightDecibels)
{
    history = {finished("2026-06-11T09:00:00Z", 60), finished("2026-06-11T15:00:00Z", 40)};
    // 85 + 10 lg(1/5) = 85 - 6.9897
    EXPECT_NEAR(figures(june(10, 14)).euWeeklyLevel.value(), 78.0103, 1e-4);
    EXPECT_EQ(stat(june(10, 14), 2).value, "78.0 dBA");
    EXPECT_EQ(stat(june(10, 14), 2).color, Tint::green);
    // However many days are chosen.
    EXPECT_NEAR(figures(june(1, 20)).euWeeklyLevel.value(), 78.0103, 1e-4);
}

TEST_F(HistoryContentTest, TheWeeklyLevelHasTheDirectivesColours)
{
    const auto colour = [](double level) {
        HistoryFigures figures;
        figures.euWeeklyLevel = level;
        return historyStats(figures)[2].color;
    };
    EXPECT_EQ(colour(79.99), Tint::green);
    EXPECT_EQ(colour(80.0), Tint::orange);
    EXPECT_EQ(colour(84.99), Tint::orange);
    EXPECT_EQ(colour(85.0), Tint::red);
}

TEST_F(HistoryContentTest, TodayHasItsLiveDoseAndARunningSessionIsInTheDoseAlone)
{
    Session running = newSession("Ardour", moment("2026-06-20T14:00:00Z"));
    running.peakSPL = 119;
    running.peakDBC = 141;
    running.peakCount135 = 7;
    Session before = finished("2026-06-20T09:00:00Z", 12);
    before.peakSPL = 91.4;
    before.peakDBC = 112.6;
    history = {running, before, finished("2026-06-19T09:00:00Z", 30)};
    todayDose = 25;
    const HistoryFigures figures = this->figures(june(19, 20));
    EXPECT_DOUBLE_EQ(figures.totalDose, 55);
    EXPECT_DOUBLE_EQ(figures.avgDailyDose, 27.5);
    EXPECT_EQ(figures.rangePeakSPL, 91.4);
    EXPECT_EQ(figures.rangePeakDBC, 112.6);
    EXPECT_EQ(figures.rangeImpulseCount135, 0);
    EXPECT_EQ(days.sessions(june(19, 20)).size(), 2U);
    EXPECT_EQ(days.sessionCount(today), 1);
    const std::vector<HistoryStat> stats = historyStats(figures);
    EXPECT_EQ(stats[0].value, "55.0%");
    EXPECT_EQ(stats[1].value, "27.5%");
    EXPECT_EQ(stats[4].value, "91 dBA");
    EXPECT_EQ(stats[5].value, "113 dBC");
    EXPECT_EQ(stats[6].value, "None");
}

TEST_F(HistoryContentTest, TwentyNineSecondsOfMeasuredTimeAreTooFewForAShare)
{
    Session session = finished("2026-06-12T09:00:00Z", 1);
    session.timeOnTargetSec = 20;
    session.timeUnderSec = 9;
    session.timeSilentSec = 4000;
    history = {session};
    EXPECT_EQ(stat(june(10, 14), 3).value, "≥30s needed");
    EXPECT_EQ(stat(june(10, 14), 3).color, Tint::dim);
    history[0].timeOverSec = 1;
    // 20 of 30 seconds
    EXPECT_EQ(stat(june(10, 14), 3).value, "67%");
    EXPECT_EQ(stat(june(10, 14), 3).color, Tint::yellow);
}

TEST_F(HistoryContentTest, TheShareOnTargetHasItsColours)
{
    const auto stat = [](double share) {
        HistoryFigures figures;
        figures.rangeOnTargetPercent = share;
        return historyStats(figures)[3];
    };
    EXPECT_EQ(stat(75).color, Tint::green);
    EXPECT_EQ(stat(74.9).color, Tint::yellow);
    EXPECT_EQ(stat(74.9).value, "75%");
    EXPECT_EQ(stat(50).color, Tint::yellow);
    EXPECT_EQ(stat(49.9).color, Tint::orange);
    EXPECT_EQ(stat(62.5).value, "63%");
}

TEST_F(HistoryContentTest, AnAverageIsColouredByTheBandsOfTheDose)
{
    for (const auto& [dose, tint] :
         {std::pair(39.9, Tint::green), std::pair(40.0, Tint::yellow), std::pair(69.9, Tint::yellow),
          std::pair(70.0, Tint::orange), std::pair(89.9, Tint::orange), std::pair(90.0, Tint::red)})
        EXPECT_EQ(doseColor(dose), tint) << dose;
    HistoryFigures figures;
    figures.totalDose = 500;
    figures.avgDailyDose = 71;
    EXPECT_EQ(historyStats(figures)[0].color, Tint::secondary);
    EXPECT_EQ(historyStats(figures)[1].color, Tint::orange);
}

TEST_F(HistoryContentTest, PeaksAndImpulsesHaveTheirColoursAndTheirAbsence)
{
    HistoryFigures figures;
    EXPECT_EQ(historyStats(figures)[4].value, "—");
    EXPECT_EQ(historyStats(figures)[4].color, Tint::secondary);
    EXPECT_EQ(historyStats(figures)[5].value, "—");
    EXPECT_EQ(historyStats(figures)[5].color, Tint::dim);
    EXPECT_EQ(historyStats(figures)[6].color, Tint::dim);
    figures.rangeImpulseCount135 = 3;
    EXPECT_EQ(historyStats(figures)[6].value, "×3");
    EXPECT_EQ(historyStats(figures)[6].color, Tint::orange);
    for (const auto& [peak, tint] :
         {std::pair(134.9, Tint::secondary), std::pair(135.0, Tint::orange), std::pair(140.0, Tint::red)}) {
        figures.rangePeakDBC = peak;
        EXPECT_EQ(historyStats(figures)[5].color, tint) << peak;
    }
    figures.rangePeakSPL = 118;
    EXPECT_EQ(historyStats(figures)[4].color, Tint::secondary);
}

TEST_F(HistoryContentTest, HelpSaysTheRules)
{
    const std::vector<HistoryStat> stats = historyStats(HistoryFigures());
    ASSERT_EQ(stats.size(), 7U);
    const auto thresholds = [&](std::size_t index) {
        std::vector<std::string> texts;
        for (const StatInfoContent::Threshold& threshold : stats[index].info.thresholds)
            texts.push_back(threshold.text);
        return texts;
    };
    EXPECT_THAT(thresholds(0), ElementsAre());
    EXPECT_THAT(thresholds(1),
                ElementsAre("0–40% — Safe", "40–70% — Caution", "70–90% — Warning", ">90% — Danger"));
    EXPECT_THAT(thresholds(2), ElementsAre("< 80 dBA — safe, no action required",
                                           "80–84 dBA — lower action value: provide hearing protection",
                                           "≥ 85 dBA — upper action value: wearing protection is mandatory"));
    EXPECT_THAT(thresholds(3),
                ElementsAre("≥ 75% — disciplined, you held the level", "50–75% — drifting off the reference",
                            "< 50% — frequently off target"));
    EXPECT_THAT(thresholds(4),
                ElementsAre("< 115 dBA — within limits", "≥ 115 dBA — EU instantaneous peak limit exceeded"));
    EXPECT_THAT(thresholds(5), ElementsAre("< 135 dBC — safe",
                                           "≥ 135 dBC — action value: hearing protection must be available",
                                           "≥ 140 dBC — limit value: must not be exceeded"));
    EXPECT_THAT(thresholds(6), ElementsAre());
    const std::pair<std::string, std::string> help[] = {
        {"Total dose", "Sum of all daily doses across the selected range. This number grows with every extra "
                       "day — 7 days × 33%/day = 231% — so a high total is expected and not alarming on "
                       "its own. Use Avg per day to judge whether your typical exposure level is safe."},
        {"Avg per day",
         "Total dose divided by the number of selected days. This is the primary risk indicator "
         "— compare it to the 100% daily budget (8 hours at 85 dBA, NIOSH REL). Colored by dose "
         "level:"},
        {"EU weekly level (L𝒈,w)",
         "Equivalent continuous A-weighted level averaged over a 5-day working week (ISO 9612 / "
         "EU 2003/10/EC). All selected days are energy-summed then normalised to 5, so the value "
         "stays comparable to the 85 dBA daily limit regardless of how many days you select. "
         "Requires at least 5 days."},
        {"On target", "The share of your monitoring time across the range spent inside your reference band "
                      "(target ± tolerance). Silent breaks are excluded so a long pause doesn't deflate it. "
                      "This is the time-weighted aggregate of the per-session on-target percentages, so it "
                      "never contradicts the rows below."},
        {"Peak dBA", "Highest instantaneous A-weighted sound level recorded during any session in the range. "
                     "A-weighting reflects human hearing sensitivity. Values above 115 dBA are an EU "
                     "regulatory limit under Directive 2003/10/EC — even a single momentary peak at that "
                     "level is a violation."},
        {"Peak dBC",
         "Highest C-weighted peak across all sessions in the range. C-weighting is nearly flat "
         "from 31 Hz to 8 kHz, capturing the full physical energy of drum hits, transients, and "
         "low-frequency impulses that A-weighting underreports. EU 2003/10/EC mandates C-weighted "
         "peak (LCpeak) monitoring alongside dose."},
        {"Impulses ≥135 dBC",
         "Total count of measurement intervals across all sessions in the range where a "
         "C-weighted peak of 135 dBC or more was detected. Under EU Directive 2003/10/EC, "
         "recurring peaks at this level require hearing protection to be provided. Identify the "
         "source — a hot kick, snare, or transient — and use a fast limiter or reduce monitor "
         "level."},
    };
    for (std::size_t i = 0; i < stats.size(); ++i) {
        EXPECT_EQ(stats[i].info.title, help[i].first);
        EXPECT_EQ(stats[i].info.detail, help[i].second);
    }
}

TEST_F(HistoryContentTest, FifteenDaysAndMoreShowTheBarsOfTheLastSeven)
{
    history = {finished("2026-06-18T09:00:00Z", 33)};
    todayDose = 5;
    const DailyDoses daily = doses();
    const std::vector<ChartDay> fourteen = chartDays(daily, june(1, 14), dates);
    ASSERT_EQ(fourteen.size(), 14U);
    EXPECT_EQ(fourteen[0].label, "Mon");
    EXPECT_EQ(chartHeaderLabel(daily, june(1, 14), {}, dates).caption, "Selected range");
    // Also for a range that is long past.
    const std::vector<ChartDay> fifteen = chartDays(daily, {QDate(2025, 1, 1), QDate(2025, 1, 15)}, dates);
    ASSERT_EQ(fifteen.size(), 7U);
    EXPECT_EQ(fifteen[0].date, QDate(2026, 6, 14));
    EXPECT_EQ(fifteen[4].dose, 33);
    EXPECT_EQ(fifteen[6], (ChartDay{today, "·", 5}));
    EXPECT_EQ(chartHeaderLabel(daily, {QDate(2025, 1, 1), QDate(2025, 1, 15)}, {}, dates).caption,
              "Last 7 days");
    EXPECT_EQ(chartHeaderLabel(daily, june(1, 14), {}, dates).hint, "Click to select day");
}

TEST_F(HistoryContentTest, TheDayUnderThePointerIsNamed)
{
    history = {finished("2026-06-18T09:00:00Z", 30.04), finished("2026-06-18T12:00:00Z", 3),
               finished("2026-06-17T12:00:00Z", 0.09)};
    const DailyDoses daily = doses();
    EXPECT_EQ(chartHeaderLabel(daily, june(14, 20), QDate(2026, 6, 18), dates),
              (ChartHeaderLabel{"Thu 18 Jun", "33.0%", "2 sessions", ""}));
    EXPECT_EQ(chartHeaderLabel(daily, june(14, 20), QDate(2026, 6, 17), dates),
              (ChartHeaderLabel{"Wed 17 Jun", "No data", "1 session", ""}));
    EXPECT_EQ(chartHeaderLabel(daily, june(14, 20), QDate(2026, 6, 16), dates),
              (ChartHeaderLabel{"Tue 16 Jun", "No data", "", ""}));
}

TEST_F(HistoryContentTest, TheBudgetOfTheSpanIsAHundredPercentADay)
{
    HistoryFigures figures;
    figures.rangeDays = 7;
    figures.totalDose = 231;
    EXPECT_EQ(cumulativeText(figures), "231.0%  of 7×100%");
    EXPECT_DOUBLE_EQ(cumulativeFill(figures), 0.33);
    figures.totalDose = 900;
    EXPECT_DOUBLE_EQ(cumulativeFill(figures), 1);
}

TEST_F(HistoryContentTest, SessionsAreGroupedByDayWithTheNewestDayFirst)
{
    history = {finished("2026-06-18T15:00:00Z", 1), finished("2026-06-18T09:00:00Z", 2),
               finished("2026-06-16T23:59:59Z", 4), finished("2026-06-17T00:00:00Z", 8)};
    doses();
    const auto groups = groupedRangeSessions(days.sessions(june(1, 20)), days, dates);
    ASSERT_EQ(groups.size(), 3U);
    EXPECT_EQ(groups[0].title, "Jun 18, 2026");
    EXPECT_THAT(groups[0].sessions, ElementsAre(&history[0], &history[1]));
    EXPECT_EQ(groups[1].title, "Jun 17, 2026");
    EXPECT_EQ(groups[2].title, "Jun 16, 2026");
    EXPECT_EQ(days.cumulativeDayDose(history[1]), 2);
    EXPECT_EQ(days.cumulativeDayDose(history[0]), 3);
}

TEST_F(HistoryContentTest, DaysAreThoseOfTheUsersZone)
{
    history = {finished("2026-06-16T22:30:00Z", 4)};
    const HistoryDays berlin(history, Calendar::inZone("Europe/Berlin").value());
    EXPECT_EQ(berlin.dose(QDate(2026, 6, 17)), 4);
    EXPECT_EQ(berlin.dose(QDate(2026, 6, 16)), 0);
}

TEST_F(HistoryContentTest, TextsFollowTheLocaleAndFixedFormsStay)
{
    const LocaleDates german(QLocale(QLocale::German, QLocale::Germany));
    const DayRange range = june(14, 20);
    EXPECT_EQ(rangeLabel(range, dates), "Jun 14, 2026 – Jun 20, 2026");
    EXPECT_EQ(rangeLabel(june(20, 20), dates), "Jun 20, 2026");
    EXPECT_EQ(rangeLabel(range, german), "14.06.2026 – 20.06.2026");
    EXPECT_EQ(monthTitle(QDate(2026, 3, 1), dates), "March 2026");
    EXPECT_EQ(monthTitle(QDate(2026, 3, 1), german), "März 2026");
    EXPECT_EQ(dates.firstDayOfWeek(), Qt::Sunday);
    EXPECT_EQ(german.firstDayOfWeek(), Qt::Monday);
    EXPECT_EQ(dates.weekdayName(1), "Mon");
    EXPECT_EQ(dates.shortTime(moment("2026-06-20T14:05:00Z"), calendar), "2:05 PM");
    EXPECT_EQ(german.shortTime(moment("2026-06-20T14:05:00Z"), calendar), "14:05");
    EXPECT_EQ(exportName(range), "Velmor Sessions 2026-06-14 to 2026-06-20.csv");
    EXPECT_EQ(exportName(june(20, 20)), "Velmor Sessions 2026-06-20.csv");
    EXPECT_EQ(dayCountText(1), "1 day");
    EXPECT_EQ(dayCountText(7), "7 days");
    // A machine without a locale.
    EXPECT_EQ(LocaleDates(QLocale::c()).mediumDate(QDate(2026, 6, 20)), "Jun 20, 2026");
}

TEST_F(HistoryContentTest, TheHintSaysWhatTheNextTapDoes)
{
    HistorySelection selection(today);
    EXPECT_EQ(selectionHint(selection, dates), "Tap a day to start a new selection");
    selection.handleTap(QDate(2026, 6, 3), today);
    EXPECT_EQ(selectionHint(selection, dates), "From Jun 3 — tap end day");
    selection.select(QDate(2026, 6, 3), today);
    EXPECT_EQ(selectionHint(selection, dates), "Tap another day to extend range");
}

} // namespace
} // namespace velmor
