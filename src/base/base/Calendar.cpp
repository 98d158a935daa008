// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Calendar.h>

#include <date/tz.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

namespace velmor {

namespace {

// Local times reach a day further than moments do: no overflow within these limits.
constexpr Date earliestLocal = Date::min() + std::chrono::days(7);
constexpr Date latestLocal = Date::max() - std::chrono::days(7);

date::local_days localDay(const date::time_zone& zone, Date date)
{
    return date::floor<date::days>(zone.to_local(std::clamp(date, earliestLocal, latestLocal)));
}

Date begin(const date::time_zone& zone, date::local_days day)
{
    const auto midnight = date::local_seconds(day);
    const date::local_info info = zone.get_info(midnight);
    return info.result == date::local_info::nonexistent
               ? info.first.end
               : date::sys_seconds(midnight.time_since_epoch()) - info.first.offset;
}

} // namespace

Calendar::Calendar(const date::time_zone& zone)
    : m_zone(&zone)
{}

Calendar Calendar::current()
{
    // Read once at start-up, before any other thread exists.
    if (const char* variable = std::getenv("TZ")) {
        // A colon before the name is allowed, and no name at all is UTC.
        const std::string_view named = *variable == ':' ? variable + 1 : variable;
        const std::string_view wanted = named.empty() ? "UTC" : named;
        if (const auto calendar = inZone(wanted))
            return *calendar;
    }
    try {
        return Calendar(*date::current_zone());
    } catch (const std::runtime_error&) {
        return Calendar(*date::locate_zone("UTC"));
    }
}

std::optional<Calendar> Calendar::inZone(std::string_view name)
{
    try {
        return Calendar(*date::locate_zone(name));
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

bool Calendar::isSameDay(Date a, Date b) const
{
    return localDay(*m_zone, a) == localDay(*m_zone, b);
}

Date Calendar::startOfDay(Date date) const
{
    return begin(*m_zone, localDay(*m_zone, date));
}

std::optional<Date> Calendar::nextMidnight(Date after) const
{
    if (after < earliestLocal || after > latestLocal)
        return std::nullopt;
    const auto today = date::floor<date::days>(m_zone->to_local(after));
    // Where the clocks skip a whole day, tomorrow's and the next midnight are the same moment.
    for (int ahead = 1; ahead <= 2; ++ahead) {
        const Date moment = begin(*m_zone, today + date::days(ahead));
        if (moment > after)
            return moment;
    }
    return std::nullopt;
}

std::optional<Date> Calendar::addingDays(Date date, std::int64_t days) const
{
    constexpr std::int64_t daysThatADateHas = 213'504;
    if (date < earliestLocal || date > latestLocal || days < -daysThatADateHas || days > daysThatADateHas)
        return std::nullopt;
    const auto local = m_zone->to_local(date);
    const auto startOfDay = date::floor<date::days>(local);
    const auto localSeconds = date::floor<std::chrono::seconds>(local);
    const auto wanted = date::local_seconds(startOfDay + date::days(days)) + (localSeconds - startOfDay);
    const auto moment = date::sys_seconds(wanted.time_since_epoch()) - m_zone->get_info(wanted).first.offset;
    if (moment < date::floor<std::chrono::seconds>(earliestLocal) ||
        moment > date::floor<std::chrono::seconds>(latestLocal))
        return std::nullopt;
    return Date(moment) + (local - localSeconds);
}

std::string Calendar::zoneName() const
{
    return m_zone->name();
}

} // namespace velmor
