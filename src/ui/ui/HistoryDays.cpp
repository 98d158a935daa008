// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/HistoryDays.h>

#include <algorithm>

namespace velmor {

QDate dayOf(Date date, const Calendar& calendar)
{
    const LocalTime time = calendar.localTime(date);
    return {time.year, time.month, time.day};
}

DayRange rangeBetween(QDate one, QDate other)
{
    return {std::min(one, other), std::max(one, other)};
}

HistoryDays::HistoryDays(std::span<const Session> history, const Calendar& calendar)
    : m_calendar(calendar)
{
    m_sessions.reserve(history.size());
    for (const Session& session : history) {
        if (!session.endDate)
            continue;
        const QDate day = dayOf(session);
        m_sessions.push_back({day, &session});
        Day& entry = m_days[day];
        entry.dose += session.doseAccumulated;
        entry.sessions.push_back(&session);
    }
}

double HistoryDays::dose(QDate day) const
{
    const auto found = m_days.find(day);
    return found != m_days.end() ? found->second.dose : 0;
}

int HistoryDays::sessionCount(QDate day) const
{
    const auto found = m_days.find(day);
    return found != m_days.end() ? static_cast<int>(found->second.sessions.size()) : 0;
}

std::vector<const Session*> HistoryDays::sessions(const DayRange& range) const
{
    std::vector<const Session*> found;
    for (const Entry& entry : m_sessions) {
        if (range.contains(entry.day))
            found.push_back(entry.session);
    }
    return found;
}

double HistoryDays::cumulativeDayDose(const Session& session) const
{
    const auto day = m_days.find(dayOf(session));
    double dose = 0;
    if (day == m_days.end())
        return dose;
    for (const Session* const other : day->second.sessions) {
        if (other->startDate <= session.startDate)
            dose += other->doseAccumulated;
    }
    return dose;
}

} // namespace velmor
