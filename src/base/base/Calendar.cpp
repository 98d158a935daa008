// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Calendar.h>

#include <date/tz.h>

#include <cstdlib>
#include <stdexcept>

namespace velmor {

Calendar::Calendar(const date::time_zone& zone)
    : m_zone(&zone)
{}

Calendar Calendar::current()
{
    // Read once at start-up, before any other thread exists.
    if (const char* wanted = std::getenv("TZ")) {
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
    return date::floor<date::days>(m_zone->to_local(a)) == date::floor<date::days>(m_zone->to_local(b));
}

std::string Calendar::zoneName() const
{
    return m_zone->name();
}

} // namespace velmor
