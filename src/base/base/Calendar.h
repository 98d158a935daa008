// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Date.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace date {
class time_zone;
}

namespace velmor {

/// What calendar and clock on the wall show.
struct LocalTime
{
    int year = 0;
    int month = 0; ///< 1 to 12
    int day = 0;   ///< Of the month, from 1.
    int hour = 0;  ///< 0 to 23
    int minute = 0;
    int second = 0; ///< A fraction is cut off towards the past.

    bool operator==(const LocalTime&) const = default;
};

/// As in 2026-03-01.
std::string dayText(const LocalTime& time);

/// As in 09:12:45.
std::string timeText(const LocalTime& time);

/// As in 9:12 AM.
std::string hourAndMinuteText(const LocalTime& time);

/// As in Mar 1, 2026, 9:12 AM: the same in every language.
std::string mediumDateText(const LocalTime& time);

/// The month's name in three English letters. \param month 1 to 12.
std::string_view monthName(int month);

/// Answers questions about local days in one time zone.
class Calendar
{
public:
    /// The zone that the system is set to: `TZ` where it names a zone, else the system's setting, else
    /// UTC.
    static Calendar current();

    /// Absent if the time zone database has no zone of that name ("Europe/Berlin", "UTC").
    static std::optional<Calendar> inZone(std::string_view name);

    /// Whether both moments lie in the same local day.
    bool isSameDay(Date a, Date b) const;

    /// The first moment of the local day that a moment lies in: midnight, or what follows where the clocks
    /// skip it; of a midnight that comes twice the first.
    Date startOfDay(Date date) const;

    /// The next local midnight after a moment. In a night whose midnight the clocks skip it is the
    /// moment after the gap; of a midnight that comes twice it is the first. Absent within a week of
    /// the end of time.
    std::optional<Date> nextMidnight(Date after) const;

    /// The same local time of day so many days later, earlier if negative. A time that the clocks skip
    /// on that day comes out later by the length of the gap; of a time that comes twice it is the first.
    /// Absent where a Date doesn't reach.
    std::optional<Date> addingDays(Date date, std::int64_t days) const;

    LocalTime localTime(Date date) const;

    /// The zone's name in the database.
    std::string zoneName() const;

private:
    explicit Calendar(const date::time_zone& zone);

    const date::time_zone* m_zone;
};

} // namespace velmor
