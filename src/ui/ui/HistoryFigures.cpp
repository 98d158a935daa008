// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/HistoryFigures.h>

#include <base/Counts.h>
#include <integrations/WidgetMetrics.h>

#include <algorithm>
#include <span>

namespace velmor {

namespace {

constexpr int leastDaysOfAWeek = 5;

} // namespace

HistoryFigures historyFigures(const DailyDoses& doses, const DayRange& range,
                              const std::vector<const Session*>& sessions)
{
    HistoryFigures figures;
    figures.rangeDays = std::max(1, range.days());
    std::vector<double> dailyDoses;
    for (int i = 0; i < figures.rangeDays; ++i) {
        const double dose = doses.dose(range.first.addDays(i));
        figures.totalDose += dose;
        dailyDoses.push_back(dose);
    }
    figures.avgDailyDose = figures.totalDose / figures.rangeDays;
    if (figures.rangeDays >= leastDaysOfAWeek)
        figures.euWeeklyLevel = WidgetMetrics::weeklyLEX(dailyDoses);

    figures.rangeOnTargetPercent = WidgetMetrics::onTargetPercent(std::span(sessions));
    for (const Session* const session : sessions) {
        figures.rangePeakSPL = std::max(figures.rangePeakSPL.value_or(session->peakSPL), session->peakSPL);
        figures.rangePeakDBC = std::max(figures.rangePeakDBC.value_or(session->peakDBC), session->peakDBC);
        addCount(figures.rangeImpulseCount135, session->peakCount135);
    }
    return figures;
}

} // namespace velmor
