// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/HistorySelection.h>

#include <algorithm>

namespace velmor {

namespace {

QDate firstOfMonth(QDate day)
{
    return {day.year(), day.month(), 1};
}

} // namespace

HistorySelection::HistorySelection(QDate today)
{
    applyPreset(-6, today);
}

void HistorySelection::handleTap(QDate day, QDate today)
{
    if (day > today)
        return;
    if (m_anchor) {
        m_range = rangeBetween(*m_anchor, day);
        m_origin = *m_anchor;
        m_anchor.reset();
    } else {
        m_anchor = day;
        m_range = {day, day};
        m_origin = day;
    }
    m_cursor = day;
    show(day);
}

void HistorySelection::drag(QDate from, QDate to, QDate today)
{
    if (to > today || from > today)
        return;
    m_range = rangeBetween(from, to);
    m_anchor.reset();
    m_origin = from;
    m_cursor = to;
}

void HistorySelection::applyPreset(int daysBack, QDate today)
{
    m_range = {today.addDays(daysBack), today};
    m_anchor.reset();
    m_origin = m_range.first;
    m_cursor = today;
    show(today);
}

void HistorySelection::applyThisMonth(QDate today)
{
    applyPreset(1 - today.day(), today);
}

void HistorySelection::select(QDate day, QDate today)
{
    const QDate chosen = std::min(day, today);
    m_range = {chosen, chosen};
    m_anchor.reset();
    m_origin = chosen;
    m_cursor = chosen;
    show(chosen);
}

void HistorySelection::extendTo(QDate day, QDate today)
{
    const QDate chosen = std::min(day, today);
    m_range = rangeBetween(m_origin, chosen);
    m_anchor.reset();
    m_cursor = chosen;
    show(chosen);
}

void HistorySelection::bound(QDate today)
{
    for (QDate* const day : {&m_range.first, &m_range.last, &m_origin, &m_cursor})
        *day = std::min(*day, today);
    if (m_anchor)
        m_anchor = std::min(*m_anchor, today);
    m_displayedMonth = std::min(m_displayedMonth, firstOfMonth(today));
}

void HistorySelection::showNextMonth(QDate today)
{
    if (!isAtCurrentOrFutureMonth(today))
        m_displayedMonth = m_displayedMonth.addMonths(1);
}

bool HistorySelection::isAtCurrentOrFutureMonth(QDate today) const
{
    return m_displayedMonth >= firstOfMonth(today);
}

void HistorySelection::show(QDate day)
{
    m_displayedMonth = firstOfMonth(day);
}

std::vector<CalendarWeek> calendarWeeks(QDate month, Qt::DayOfWeek firstDay)
{
    const QDate first = firstOfMonth(month);
    const int blanks = (first.dayOfWeek() - firstDay + 7) % 7;
    std::vector<CalendarWeek> weeks(static_cast<std::size_t>((blanks + first.daysInMonth() + 6) / 7));
    for (int i = 0; i < first.daysInMonth(); ++i) {
        const auto cell = static_cast<std::size_t>(blanks + i);
        weeks[cell / 7][cell % 7] = first.addDays(i);
    }
    return weeks;
}

} // namespace velmor
