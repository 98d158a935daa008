// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Calendar.h>
#include <base/Date.h>
#include <sessions/Session.h>

#include <QDate>

#include <map>
#include <span>
#include <vector>

namespace velmor {

/// The local day that a moment lies in.
QDate dayOf(Date date, const Calendar& calendar);

/// A span of days, both ends included.
struct DayRange
{
    QDate first;
    QDate last; ///< Not before the first.

    int days() const { return static_cast<int>(first.daysTo(last)) + 1; }
    bool contains(QDate day) const { return first <= day && day <= last; }
    bool operator==(const DayRange&) const = default;
};

/// The range of two days, in whatever order.
DayRange rangeBetween(QDate one, QDate other);

/// The finished sessions of a history by the day that they began in. Valid for as long as the history stays
/// as it is.
class HistoryDays
{
public:
    HistoryDays(std::span<const Session> history, const Calendar& calendar);

    /// Percent; 0 for a day without sessions.
    double dose(QDate day) const;

    int sessionCount(QDate day) const;

    /// Those that began in the range, in the history's order.
    std::vector<const Session*> sessions(const DayRange& range) const;

    /// Percent of all sessions of its day that began no later.
    double cumulativeDayDose(const Session& session) const;

    QDate dayOf(const Session& session) const { return velmor::dayOf(session.startDate, m_calendar); }

private:
    struct Entry
    {
        QDate day;
        const Session* session;
    };
    struct Day
    {
        double dose = 0;
        std::vector<const Session*> sessions;
    };

    Calendar m_calendar;
    std::vector<Entry> m_sessions;
    std::map<QDate, Day> m_days;
};

} // namespace velmor
