// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/HistoryDays.h>

#include <QDate>

#include <array>
#include <optional>
#include <vector>

namespace velmor {

/// The days that the history window is about, and how taps, drags, keys and presets choose them. All calls
/// are given the present day: no later one is ever chosen.
class HistorySelection
{
public:
    /// The last seven days.
    explicit HistorySelection(QDate today);

    const DayRange& range() const { return m_range; }

    /// The day of a first tap that waits for the second.
    std::optional<QDate> anchor() const { return m_anchor; }

    /// The first day of the month on show.
    QDate displayedMonth() const { return m_displayedMonth; }

    /// A first tap chooses a day and waits for the second, which chooses the span between them.
    void handleTap(QDate day, QDate today);

    /// A drag that has begun at one day and has come to another: the span between them.
    void drag(QDate from, QDate to, QDate today);

    /// The days up to the present one. \param daysBack -6 for seven days.
    void applyPreset(int daysBack, QDate today);
    void applyThisMonth(QDate today);

    /// That day alone.
    void select(QDate day, QDate today);

    /// The span from where the last choice began to a day, for the keys that extend.
    void extendTo(QDate day, QDate today);

    /// The present day has become an earlier one, by the clock or the time zone: nothing later stays chosen.
    void bound(QDate today);

    /// The day that keys move from.
    QDate cursor() const { return m_cursor; }

    void showPreviousMonth() { m_displayedMonth = m_displayedMonth.addMonths(-1); }

    /// Not into the future.
    void showNextMonth(QDate today);

    bool isAtCurrentOrFutureMonth(QDate today) const;

private:
    void show(QDate day);

    DayRange m_range;
    std::optional<QDate> m_anchor;
    QDate m_displayedMonth;
    QDate m_origin; ///< Where the present choice began.
    QDate m_cursor;
};

using CalendarWeek = std::array<std::optional<QDate>, 7>;

/// The weeks of a month, with blanks before its first day and after its last.
std::vector<CalendarWeek> calendarWeeks(QDate month, Qt::DayOfWeek firstDay);

} // namespace velmor
