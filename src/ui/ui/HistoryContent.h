// SPDX-License-Identifier: GPL-3.0-or-later
// What the history window says, before anybody draws it.
#pragma once

#include <ui/HistoryFigures.h>
#include <ui/HistorySelection.h>
#include <ui/LocaleDates.h>
#include <ui/Style.h>

#include <QDate>

#include <optional>
#include <string>
#include <vector>

namespace velmor {

/// What a figure means, and from where on it counts.
struct StatInfoContent
{
    struct Threshold
    {
        Tint color = Tint::primary;
        std::string text;
    };

    std::string title;
    std::string detail;
    std::vector<Threshold> thresholds;
};

/// One of the figures under its name.
struct HistoryStat
{
    std::string label;
    std::string value;
    Tint color = Tint::secondary; ///< Dim for what stands for a value that there isn't.
    StatInfoContent info;
};

/// The seven figures, in their order.
std::vector<HistoryStat> historyStats(const HistoryFigures& figures);

/// Green below 40 %, yellow below 70 %, orange below 90 %, red from there on.
Tint doseColor(double dose);

/// As in Mar 1, 2026, or Mar 1, 2026 – Mar 7, 2026, in the locale's medium form.
std::string rangeLabel(const DayRange& range, const LocaleDates& dates);

/// As in 7 days, 1 day.
std::string dayCountText(int days);

/// What to do next in the calendar.
std::string selectionHint(const HistorySelection& selection, const LocaleDates& dates);

/// As in March 2026.
std::string monthTitle(QDate month, const LocaleDates& dates);

/// As in 231.0%  of 7×100%.
std::string cumulativeText(const HistoryFigures& figures);

/// How much of the span's budget is used, 0 to 1.
double cumulativeFill(const HistoryFigures& figures);

/// A bar of the chart.
struct ChartDay
{
    QDate date;
    std::string label;
    double dose = 0;

    bool operator==(const ChartDay&) const = default;
};

/// The days that the chart shows: those of a range below 15 days, and otherwise the last seven.
DayRange chartRange(const DayRange& range, QDate today);

/// The bars of those days.
std::vector<ChartDay> chartDays(const DailyDoses& doses, const DayRange& range, const LocaleDates& dates);

/// The line above the chart: what it shows, and at its end what to do, or the day under the pointer.
struct ChartHeaderLabel
{
    std::string caption;
    std::string dose;     ///< Empty without a day.
    std::string sessions; ///< Empty without any.
    std::string hint;     ///< Empty with a day.

    bool operator==(const ChartHeaderLabel&) const = default;
};
ChartHeaderLabel chartHeaderLabel(const DailyDoses& doses, const DayRange& range,
                                  const std::optional<QDate>& hoveredChartDay, const LocaleDates& dates);

/// The name that an export is suggested, as in Velmor Sessions 2026-03-01 to 2026-03-07.csv.
std::string exportName(const DayRange& range);

/// The sessions of a day under the day's name.
struct SessionGroup
{
    QDate day;
    std::string title;
    std::vector<const Session*> sessions;
};

/// Newest first, by each day's first session.
std::vector<SessionGroup> groupedRangeSessions(const std::vector<const Session*>& sessions,
                                               const HistoryDays& days, const LocaleDates& dates);

} // namespace velmor
