// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/CalendarGrid.h>
#include <ui/CommandButton.h>
#include <ui/HistoryFigures.h>
#include <ui/HistorySelection.h>
#include <ui/LocaleDates.h>
#include <ui/TextLabel.h>

#include <QWidget>

#include <functional>

namespace velmor {

/// The history window's left side: a month to choose days in, presets, and what the sessions' charts mean.
class CalendarPanel final : public QWidget
{
public:
    static constexpr int width = 298;

    /// \param today tells the present day. \param onChange is called after each change of the selection.
    CalendarPanel(HistorySelection& selection, const LocaleDates& dates, const std::function<QDate()>& today,
                  const std::function<void()>& onChange);

    void refresh(const DailyDoses& doses);

private:
    QWidget* makeMonthHeader();
    QWidget* makeWeekdays() const;
    QLayout* makePresets();
    static QWidget* makeSparklineLegend();

    HistorySelection& m_selection;
    const LocaleDates& m_dates;
    std::function<QDate()> m_today;
    std::function<void()> m_onChange;
    CommandButton* m_previous;
    TextLabel* m_month;
    CommandButton* m_next;
    CalendarGrid* m_grid;
    TextLabel* m_hint;
};

} // namespace velmor
