// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/CommandButton.h>
#include <ui/CumulativeDoseBar.h>
#include <ui/HistoryContent.h>
#include <ui/HistoryStatCell.h>
#include <ui/LocaleDates.h>
#include <ui/RangeDoseChart.h>
#include <ui/TextLabel.h>

#include <QGridLayout>
#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

namespace velmor {

/// What the chosen days add up to: their figures, their budget, their bars.
class SummaryPanel final : public QWidget
{
public:
    struct Callbacks
    {
        std::function<void()> onExport;
        std::function<void(const std::optional<QDate>&)> onHover;
        std::function<void(QDate)> onSelect;
    };

    SummaryPanel(const LocaleDates& dates, const Callbacks& callbacks);

    void refresh(const DailyDoses& doses, const DayRange& range,
                 const std::vector<const Session*>& rangeSessions);

    /// The bars and the line above them.
    void refreshChart(const DailyDoses& doses, const DayRange& range,
                      const std::optional<QDate>& hoveredChartDay);

private:
    void resizeEvent(QResizeEvent* event) override;
    void placeStats(int columns);

    const LocaleDates& m_dates;
    TextLabel* m_range;
    CommandButton* m_export;
    TextLabel* m_days;
    TextLabel* m_sessions;
    QGridLayout* m_statGrid;
    std::vector<HistoryStatCell*> m_stats;
    int m_statColumns = 0;
    TextLabel* m_total;
    CumulativeDoseBar* m_cumulative;
    TextLabel* m_chartCaption;
    TextLabel* m_chartDose;
    TextLabel* m_chartSessions;
    TextLabel* m_chartHint;
    RangeDoseChart* m_chart;
    TextLabel* m_empty;
};

} // namespace velmor
