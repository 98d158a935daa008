// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/CalendarDayCell.h>
#include <ui/HistoryFigures.h>
#include <ui/HistorySelection.h>
#include <ui/LocaleDates.h>

#include <QTimer>
#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

namespace velmor {

/// The days of a month. A tap chooses a day and a second one a span; a drag chooses a span at once; arrow
/// keys move the chosen day, with Shift they extend, Home and End go to the ends of the week, Page Up and
/// Page Down by a month, the space bar taps. Main thread.
class CalendarGrid final : public QWidget
{
public:
    static constexpr double rowHeight = 39.0;
    static constexpr double columnGap = 2.0;
    static constexpr int rows = 6; ///< A month has no more weeks.

    /// \param today tells the present day. \param onChange is called after each gesture that has changed the
    /// selection.
    CalendarGrid(HistorySelection& selection, const LocaleDates& dates, std::function<QDate()> today,
                 std::function<void()> onChange);

    void refresh(const DailyDoses& doses);

    /// The cell under a point, bound to the grid; absent for one without a day.
    std::optional<QDate> dayAt(const QPointF& point) const;

private:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

    void handleTap(QDate day);
    void dragTo(const QPointF& point);
    void moveCursor(QDate day, bool extends);
    void placeCells();
    void showCursor();
    double columnWidth() const;

    HistorySelection& m_selection;
    const LocaleDates& m_dates;
    std::function<QDate()> m_today;
    std::function<void()> m_onChange;
    std::vector<CalendarDayCell*> m_cells;
    std::vector<CalendarWeek> m_weeks;
    std::optional<QPointF> m_pressed;
    bool m_isDraggingCalendar = false;
    std::optional<QDate> m_calDragStart;
    QTimer m_dragEnd;
    bool m_isCursorShown = false;
};

} // namespace velmor
