// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velmor {

/// A moment in UTC, to the nanosecond. Reaches from the year 1677 to the year 2262.
using Date = std::chrono::sys_time<std::chrono::nanoseconds>;

/// Seconds from one moment to a later one; negative when `to` is the earlier of the two.
double secondsBetween(Date from, Date to);

/// The same in whole seconds; a fraction is cut off towards zero.
std::int64_t wholeSecondsBetween(Date from, Date to);

/// The duration nearest to a number of seconds.
std::chrono::nanoseconds nanosecondsFrom(double seconds);

/// Seconds since the reference date, 2001-01-01T00:00:00Z: the form that moments have in stored records.
double secondsSinceReferenceDate(Date date);

/// The moment so many seconds after the reference date; absent beyond a century from it, which a Date holds
/// for sure.
std::optional<Date> dateFromReference(double seconds);

/// ISO 8601 in UTC with whole seconds, as in 2026-03-01T09:12:45Z. A fraction of a second is cut off
/// towards the past.
std::string isoText(Date date);

/// The same, for many of them: without room of its own on the heap.
std::array<char, 20> isoCharacters(Date date);

/// Reads exactly the form that isoText() writes. Absent for any other text: fractions, offsets,
/// lower case, missing or additional characters, days that no calendar has. Before and after what a
/// Date can hold it is the nearest whole second that it can: one absurd moment is no reason to refuse a file.
std::optional<Date> dateFromIsoText(std::string_view text);

} // namespace velmor
