// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Calendar.h>

#include <date/tz.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
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

std::string dayText(const LocalTime& time)
{
    return fmt::format("{:04}-{:02}-{:02}", time.year, time.month, time.day);
}

std::string timeText(const LocalTime& time)
{
    return fmt::format("{:02}:{:02}:{:02}", time.hour, time.minute, time.second);
}

std::string hourAndMinuteText(const LocalTime& time)
{
    const int hour = time.hour % 12 == 0 ? 12 : time.hour % 12;
    return fmt::format("{}:{:02} {}", hour, time.minute, time.hour < 12 ? "AM" : "PM");
}

std::string mediumDateText(const LocalTime& time)
{
    return fmt::format("{} {}, {}, {}", monthName(time.month), time.day, time.year, hourAndMinuteText(time));
}

std::string_view monthName(int month)
{
    static constexpr std::array<std::string_view, 12> names = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                               "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    return names.at(static_cast<std::size_t>(month - 1));
}

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

LocalTime Calendar::localTime(Date moment) const
{
    const auto local = m_zone->to_local(std::clamp(moment, earliestLocal, latestLocal));
    const auto day = date::floor<date::days>(local);
    const date::year_month_day date(day);
    const date::hh_mm_ss time(date::floor<std::chrono::seconds>(local) - day);
    return {int(date.year()),
            static_cast<int>(unsigned(date.month())),
            static_cast<int>(unsigned(date.day())),
            static_cast<int>(time.hours().count()),
            static_cast<int>(time.minutes().count()),
            static_cast<int>(time.seconds().count())};
}

std::string Calendar::zoneName() const
{
    return m_zone->name();
}

} // namespace velmor
