// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/CalendarGrid.h>

#include <QAccessible>
#include <QApplication>
#include <QKeyEvent>
#include <QLineF>
#include <QMouseEvent>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmor {

namespace {

constexpr int columns = 7;

/// A tap that the system tells of at the end of a drag still belongs to it.
constexpr int dragEndMilliseconds = 50;

} // namespace

CalendarGrid::CalendarGrid(HistorySelection& selection, const LocaleDates& dates,
                           std::function<QDate()> today, std::function<void()> onChange)
    : m_selection(selection)
    , m_dates(dates)
    , m_today(std::move(today))
    , m_onChange(std::move(onChange))
{
    setFixedHeight(static_cast<int>(rows * rowHeight));
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(QStringLiteral("Calendar"));
    for (int i = 0; i < rows * columns; ++i) {
        auto* const cell = new CalendarDayCell(this);
        m_cells.push_back(cell);
        // By a screen reader; the mouse does not come to it.
        connect(cell, &CalendarDayCell::clicked, this, [this, cell] { handleTap(cell->day().date); });
    }
    m_dragEnd.setSingleShot(true);
    m_dragEnd.setInterval(dragEndMilliseconds);
    connect(&m_dragEnd, &QTimer::timeout, this, [this] {
        m_isDraggingCalendar = false;
        m_calDragStart.reset();
    });
}

double CalendarGrid::columnWidth() const
{
    return (width() - (columns - 1) * columnGap) / columns;
}

void CalendarGrid::refresh(const DailyDoses& doses)
{
    m_weeks = calendarWeeks(m_selection.displayedMonth(), m_dates.firstDayOfWeek());
    const DayRange& range = m_selection.range();
    for (std::size_t i = 0; i < m_cells.size(); ++i) {
        const std::size_t week = i / columns;
        const std::optional<QDate> date = week < m_weeks.size() ? m_weeks[week][i % columns] : std::nullopt;
        m_cells[i]->setVisible(date.has_value());
        if (!date)
            continue;
        const CalendarDay day = {.date = *date,
                                 .dose = doses.dose(*date),
                                 .isInRange = range.contains(*date),
                                 .isRangeStart = *date == range.first,
                                 .isRangeEnd = *date == range.last,
                                 .isMultiDayRange = range.days() > 1,
                                 .isToday = *date == doses.today,
                                 .isFuture = *date > doses.today,
                                 .isAnchor = m_selection.anchor() == date};
        std::string name = m_dates.mediumDate(*date);
        if (day.isToday)
            name += ", today";
        if (CalendarDayCell::doseColor(day))
            name += fmt::format(", dose {:.1f}%", day.dose);
        if (day.isInRange)
            name += ", selected";
        if (day.isAnchor)
            name += ", start of the selection";
        m_cells[i]->show(day, QString::fromStdString(name));
    }
    showCursor();
}

std::optional<QDate> CalendarGrid::dayAt(const QPointF& point) const
{
    if (m_weeks.empty())
        return std::nullopt;
    const auto bound = [](double index, std::size_t count) {
        return static_cast<std::size_t>(std::clamp(std::floor(index), 0.0, static_cast<double>(count - 1)));
    };
    return m_weeks[bound(point.y() / rowHeight, m_weeks.size())]
                  [bound(point.x() / (columnWidth() + columnGap), columns)];
}

void CalendarGrid::handleTap(QDate day)
{
    if (m_isDraggingCalendar)
        return;
    m_selection.handleTap(day, m_today());
    m_onChange();
}

void CalendarGrid::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_pressed = event->position();
    m_calDragStart.reset();
    m_isCursorShown = false;
    showCursor();
}

void CalendarGrid::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_pressed)
        return;
    const bool isFar = QLineF(*m_pressed, event->position()).length() >= QApplication::startDragDistance();
    if (!m_calDragStart && !isFar)
        return;
    if (!m_calDragStart) {
        m_dragEnd.stop();
        m_isDraggingCalendar = true;
        m_calDragStart = dayAt(*m_pressed);
    }
    dragTo(event->position());
}

void CalendarGrid::dragTo(const QPointF& point)
{
    const std::optional<QDate> day = dayAt(point);
    if (!day || !m_calDragStart)
        return;
    const DayRange before = m_selection.range();
    const bool hadAnchor = m_selection.anchor().has_value();
    m_selection.drag(*m_calDragStart, *day, m_today());
    if (hadAnchor || m_selection.range() != before)
        m_onChange();
}

void CalendarGrid::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !m_pressed)
        return;
    const std::optional<QDate> pressed = dayAt(*m_pressed);
    m_pressed.reset();
    if (m_isDraggingCalendar)
        m_dragEnd.start();
    const std::optional<QDate> released = dayAt(event->position());
    if (released && released == pressed && rect().contains(event->position().toPoint()))
        handleTap(*released);
}

void CalendarGrid::keyPressEvent(QKeyEvent* event)
{
    const QDate day = m_selection.cursor();
    const int intoWeek = (day.dayOfWeek() - m_dates.firstDayOfWeek() + columns) % columns;
    const bool extends = event->modifiers().testFlag(Qt::ShiftModifier);
    switch (event->key()) {
    case Qt::Key_Left:
        return moveCursor(day.addDays(-1), extends);
    case Qt::Key_Right:
        return moveCursor(day.addDays(1), extends);
    case Qt::Key_Up:
        return moveCursor(day.addDays(-columns), extends);
    case Qt::Key_Down:
        return moveCursor(day.addDays(columns), extends);
    case Qt::Key_Home:
        return moveCursor(day.addDays(-intoWeek), extends);
    case Qt::Key_End:
        return moveCursor(day.addDays(columns - 1 - intoWeek), extends);
    case Qt::Key_PageUp:
        return moveCursor(day.addMonths(-1), extends);
    case Qt::Key_PageDown:
        return moveCursor(day.addMonths(1), extends);
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        m_isCursorShown = true;
        return handleTap(day);
    default:
        QWidget::keyPressEvent(event);
    }
}

void CalendarGrid::moveCursor(QDate day, bool extends)
{
    m_isCursorShown = true;
    if (extends)
        m_selection.extendTo(day, m_today());
    else
        m_selection.select(day, m_today());
    m_onChange();
    for (CalendarDayCell* const cell : m_cells) {
        if (!cell->isHidden() && cell->day().date == m_selection.cursor()) {
            QAccessibleEvent focus(cell, QAccessible::Focus);
            QAccessible::updateAccessibility(&focus);
        }
    }
}

void CalendarGrid::showCursor()
{
    for (CalendarDayCell* const cell : m_cells)
        cell->setCursor(m_isCursorShown && hasFocus() && cell->day().date == m_selection.cursor());
}

void CalendarGrid::focusInEvent(QFocusEvent* event)
{
    // A window that becomes the active one again has its mark where it was.
    if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason)
        m_isCursorShown = true;
    showCursor();
    QWidget::focusInEvent(event);
}

void CalendarGrid::focusOutEvent(QFocusEvent* event)
{
    showCursor();
    QWidget::focusOutEvent(event);
}

void CalendarGrid::resizeEvent(QResizeEvent* event)
{
    placeCells();
    QWidget::resizeEvent(event);
}

void CalendarGrid::placeCells()
{
    const double stride = columnWidth() + columnGap;
    for (std::size_t i = 0; i < m_cells.size(); ++i) {
        const auto column = static_cast<double>(i % columns);
        const auto row = static_cast<double>(i / columns);
        // Over half the gap on each side, which the band of a range goes through.
        const int left = static_cast<int>(std::lround(column * stride - columnGap / 2));
        const int right = static_cast<int>(std::lround((column + 1) * stride - columnGap / 2));
        m_cells[i]->setGeometry(left, static_cast<int>(row * rowHeight), right - left,
                                static_cast<int>(rowHeight - columnGap));
    }
}

} // namespace velmor
