// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/HistoryContent.h>

#include <exposure/DoseLimits.h>
#include <ui/MenuBarContent.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>

namespace velmor {

namespace {

constexpr int leastDaysOfWeekChart = 15;
constexpr int weekDays = 7;
constexpr double leastShownDose = 0.1;

constexpr auto euWeeklyLabel = "EU weekly (L𝒈,w)";

std::string percent(double value)
{
    return fmt::format("{:.1f}%", value);
}

HistoryStat totalDose(const HistoryFigures& figures)
{
    return {"Total dose",
            percent(figures.totalDose),
            Tint::secondary,
            {"Total dose",
             "Sum of all daily doses across the selected range. This number grows with every extra day — "
             "7 days × 33%/day = 231% — so a high total is expected and not alarming on its own. Use Avg per "
             "day to judge whether your typical exposure level is safe.",
             {}}};
}

HistoryStat avgPerDay(const HistoryFigures& figures)
{
    return {
        "Avg per day",
        percent(figures.avgDailyDose),
        doseColor(figures.avgDailyDose),
        {"Avg per day",
         "Total dose divided by the number of selected days. This is the primary risk indicator — compare "
         "it to the 100% daily budget (8 hours at 85 dBA, NIOSH REL). Colored by dose level:",
         {{Tint::green, fmt::format("0–{:.0f}% — Safe", cautionDosePercentage)},
          {Tint::yellow,
           fmt::format("{:.0f}–{:.0f}% — Caution", cautionDosePercentage, warningDosePercentage)},
          {Tint::orange,
           fmt::format("{:.0f}–{:.0f}% — Warning", warningDosePercentage, dangerDosePercentage)},
          {Tint::red, fmt::format(">{:.0f}% — Danger", dangerDosePercentage)}}}};
}

HistoryStat euWeekly(const HistoryFigures& figures)
{
    HistoryStat stat{
        euWeeklyLabel,
        "≥5 days needed",
        Tint::dim,
        {"EU weekly level (L𝒈,w)",
         "Equivalent continuous A-weighted level averaged over a 5-day working week (ISO 9612 / "
         "EU 2003/10/EC). All selected days are energy-summed then normalised to 5, so the value "
         "stays comparable to the 85 dBA daily limit regardless of how many days you select. "
         "Requires at least 5 days.",
         {{Tint::green, "< 80 dBA — safe, no action required"},
          {Tint::orange, "80–84 dBA — lower action value: provide hearing protection"},
          {Tint::red, "≥ 85 dBA — upper action value: wearing protection is mandatory"}}}};
    if (const auto level = figures.euWeeklyLevel) {
        stat.value = fmt::format("{:.1f} dBA", *level);
        stat.color = *level >= 85 ? Tint::red : *level >= 80 ? Tint::orange : Tint::green;
    }
    return stat;
}

HistoryStat onTarget(const HistoryFigures& figures)
{
    HistoryStat stat{"On target",
                     "≥30s needed",
                     Tint::dim,
                     {"On target",
                      "The share of your monitoring time across the range spent inside your reference band "
                      "(target ± tolerance). Silent breaks are excluded so a long pause doesn't deflate it. "
                      "This is the time-weighted aggregate of the per-session on-target percentages, so it "
                      "never contradicts the rows below.",
                      {{Tint::green, "≥ 75% — disciplined, you held the level"},
                       {Tint::yellow, "50–75% — drifting off the reference"},
                       {Tint::orange, "< 50% — frequently off target"}}}};
    if (const auto share = figures.rangeOnTargetPercent) {
        stat.value = fmt::format("{}%", std::lround(*share));
        stat.color = *share >= 75 ? Tint::green : *share >= 50 ? Tint::yellow : Tint::orange;
    }
    return stat;
}

HistoryStat peakDBA(const HistoryFigures& figures)
{
    return {
        "Peak dBA",
        figures.rangePeakSPL ? fmt::format("{:.0f} dBA", *figures.rangePeakSPL) : "—",
        Tint::secondary,
        {"Peak dBA",
         "Highest instantaneous A-weighted sound level recorded during any session in the range. "
         "A-weighting reflects human hearing sensitivity. Values above 115 dBA are an EU regulatory limit "
         "under Directive 2003/10/EC — even a single momentary peak at that level is a violation.",
         {{Tint::green, "< 115 dBA — within limits"},
          {Tint::red, "≥ 115 dBA — EU instantaneous peak limit exceeded"}}}};
}

HistoryStat peakDBC(const HistoryFigures& figures)
{
    const auto peak = figures.rangePeakDBC;
    return {
        "Peak dBC",
        peak ? fmt::format("{:.0f} dBC", *peak) : "—",
        peak ? peakColor(*peak) : Tint::dim,
        {"Peak dBC",
         "Highest C-weighted peak across all sessions in the range. C-weighting is nearly flat from 31 Hz "
         "to 8 kHz, capturing the full physical energy of drum hits, transients, and low-frequency "
         "impulses that A-weighting underreports. EU 2003/10/EC mandates C-weighted peak (LCpeak) "
         "monitoring alongside dose.",
         {{Tint::green, "< 135 dBC — safe"},
          {Tint::orange, "≥ 135 dBC — action value: hearing protection must be available"},
          {Tint::red, "≥ 140 dBC — limit value: must not be exceeded"}}}};
}

HistoryStat impulses(const HistoryFigures& figures)
{
    const bool hasAny = figures.rangeImpulseCount135 >= 1;
    return {"Impulses ≥135 dBC",
            hasAny ? fmt::format("×{}", figures.rangeImpulseCount135) : "None",
            hasAny ? Tint::orange : Tint::dim,
            {"Impulses ≥135 dBC",
             "Total count of measurement intervals across all sessions in the range where a C-weighted peak "
             "of 135 dBC or more was detected. Under EU Directive 2003/10/EC, recurring peaks at this level "
             "require hearing protection to be provided. Identify the source — a hot kick, snare, or "
             "transient — and use a fast limiter or reduce monitor level.",
             {}}};
}

} // namespace

Tint doseColor(double dose)
{
    if (dose < cautionDosePercentage)
        return Tint::green;
    if (dose < warningDosePercentage)
        return Tint::yellow;
    return dose < dangerDosePercentage ? Tint::orange : Tint::red;
}

std::vector<HistoryStat> historyStats(const HistoryFigures& figures)
{
    return {totalDose(figures), avgPerDay(figures), euWeekly(figures), onTarget(figures),
            peakDBA(figures),   peakDBC(figures),   impulses(figures)};
}

std::string rangeLabel(const DayRange& range, const LocaleDates& dates)
{
    std::string label = dates.mediumDate(range.first);
    if (range.days() > 1)
        label += " – " + dates.mediumDate(range.last);
    return label;
}

std::string dayCountText(int days)
{
    return fmt::format("{} {}", days, days == 1 ? "day" : "days");
}

std::string selectionHint(const HistorySelection& selection, const LocaleDates& dates)
{
    if (const auto anchor = selection.anchor())
        return fmt::format("From {} — tap end day", dates.text(*anchor, "MMM d"));
    return selection.range().days() > 1 ? "Tap a day to start a new selection"
                                        : "Tap another day to extend range";
}

std::string monthTitle(QDate month, const LocaleDates& dates)
{
    return dates.text(month, "MMMM yyyy");
}

std::string cumulativeText(const HistoryFigures& figures)
{
    return fmt::format("{:.1f}%  of {}×100%", figures.totalDose, figures.rangeDays);
}

double cumulativeFill(const HistoryFigures& figures)
{
    return std::clamp(figures.totalDose / (figures.rangeDays * 100.0), 0.0, 1.0);
}

DayRange chartRange(const DayRange& range, QDate today)
{
    const bool isWeek = range.days() >= leastDaysOfWeekChart;
    return isWeek ? DayRange{today.addDays(1 - weekDays), today} : range;
}

std::vector<ChartDay> chartDays(const DailyDoses& doses, const DayRange& range, const LocaleDates& dates)
{
    const DayRange shown = chartRange(range, doses.today);
    std::vector<ChartDay> days;
    for (QDate day = shown.first; day <= shown.last; day = day.addDays(1)) {
        const std::string label = day == doses.today ? "·" : dates.text(day, "ddd");
        days.push_back({day, label, doses.dose(day)});
    }
    return days;
}

ChartHeaderLabel chartHeaderLabel(const DailyDoses& doses, const DayRange& range,
                                  const std::optional<QDate>& hoveredChartDay, const LocaleDates& dates)
{
    if (!hoveredChartDay) {
        const bool isWeek = range.days() >= leastDaysOfWeekChart;
        return {isWeek ? "Last 7 days" : "Selected range", "", "", "Click to select day"};
    }
    const double dose = doses.dose(*hoveredChartDay);
    const int count = doses.days.sessionCount(*hoveredChartDay);
    return {dates.text(*hoveredChartDay, "ddd d MMM"), dose < leastShownDose ? "No data" : percent(dose),
            count > 0 ? sessionCountText(static_cast<std::size_t>(count)) : "", ""};
}

std::string exportName(const DayRange& range)
{
    const auto text = [](QDate day) { return day.toString(Qt::ISODate).toStdString(); };
    if (range.days() == 1)
        return fmt::format("Velmor Sessions {}.csv", text(range.first));
    return fmt::format("Velmor Sessions {} to {}.csv", text(range.first), text(range.last));
}

std::vector<SessionGroup> groupedRangeSessions(const std::vector<const Session*>& sessions,
                                               const HistoryDays& days, const LocaleDates& dates)
{
    std::map<QDate, SessionGroup> byDay;
    for (const Session* const session : sessions) {
        const QDate day = days.dayOf(*session);
        SessionGroup& group = byDay[day];
        group.day = day;
        group.sessions.push_back(session);
    }
    std::vector<SessionGroup> groups;
    for (auto& [day, group] : byDay) {
        group.title = dates.mediumDate(day);
        groups.push_back(std::move(group));
    }
    // No moment lies in two days: the order of the days is that of their sessions.
    std::ranges::reverse(groups);
    return groups;
}

} // namespace velmor
