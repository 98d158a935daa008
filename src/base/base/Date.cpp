// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Date.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace velmor {

namespace chrono = std::chrono;

namespace {

/// 2001-01-01T00:00:00Z
constexpr Date referenceDate = Date(chrono::seconds(978'307'200));

constexpr double furthestReferenceSeconds = 100 * 365.25 * 86400;

} // namespace

double secondsBetween(Date from, Date to)
{
    std::int64_t nanoseconds = 0;
    const bool isTooFar =
        __builtin_sub_overflow(to.time_since_epoch().count(), from.time_since_epoch().count(), &nanoseconds);
    if (isTooFar) // More than 292 years.
        return static_cast<double>(to.time_since_epoch().count()) / 1e9 -
               static_cast<double>(from.time_since_epoch().count()) / 1e9;
    return static_cast<double>(nanoseconds) / 1e9;
}

std::int64_t wholeSecondsBetween(Date from, Date to)
{
    return static_cast<std::int64_t>(secondsBetween(from, to));
}

chrono::nanoseconds nanosecondsFrom(double seconds)
{
    return chrono::nanoseconds(std::llround(seconds * 1e9));
}

double secondsSinceReferenceDate(Date date)
{
    return secondsBetween(referenceDate, date);
}

std::optional<Date> dateFromReference(double seconds)
{
    if (!(std::abs(seconds) < furthestReferenceSeconds))
        return std::nullopt;
    return referenceDate + nanosecondsFrom(seconds);
}

std::string isoText(Date date)
{
    const auto characters = isoCharacters(date);
    return {characters.begin(), characters.end()};
}

std::array<char, 20> isoCharacters(Date date)
{
    const auto day = chrono::floor<chrono::days>(date);
    const chrono::year_month_day calendarDay(day);
    const chrono::hh_mm_ss time(chrono::floor<chrono::seconds>(date) - day);
    std::array<char, 20> characters = {'0', '0', '0', '0', '-', '0', '0', '-', '0', '0',
                                       'T', '0', '0', ':', '0', '0', ':', '0', '0', 'Z'};
    // Digits from the last one on, as many as the number has; a Date's years have four.
    const auto put = [&characters](std::size_t lastPlace, auto number) {
        for (std::size_t place = lastPlace; number > 0; --place) {
            characters[place] = static_cast<char>('0' + number % 10);
            number /= 10;
        }
    };
    put(3, static_cast<int>(calendarDay.year()));
    put(6, static_cast<unsigned>(calendarDay.month()));
    put(9, static_cast<unsigned>(calendarDay.day()));
    put(12, time.hours().count());
    put(15, time.minutes().count());
    put(18, time.seconds().count());
    return characters;
}

namespace {

/// The number that `count` decimal digits from `start` on spell; absent if one is not a digit.
std::optional<int> digits(std::string_view text, std::size_t start, std::size_t count)
{
    int number = 0;
    for (const char c : text.substr(start, count)) {
        if (c < '0' || c > '9')
            return std::nullopt;
        number = number * 10 + (c - '0');
    }
    return number;
}

} // namespace

std::optional<Date> dateFromIsoText(std::string_view text)
{
    constexpr std::string_view shape = "0000-00-00T00:00:00Z";
    if (text.size() != shape.size())
        return std::nullopt;
    for (std::size_t i = 0; i < shape.size(); ++i) {
        if (shape[i] != '0' && text[i] != shape[i])
            return std::nullopt;
    }

    const auto year = digits(text, 0, 4);
    const auto month = digits(text, 5, 2);
    const auto day = digits(text, 8, 2);
    const auto hour = digits(text, 11, 2);
    const auto minute = digits(text, 14, 2);
    const auto second = digits(text, 17, 2);
    if (!year || !month || !day || !hour || !minute || !second)
        return std::nullopt;

    const chrono::year_month_day calendarDay(chrono::year(*year),
                                             chrono::month(static_cast<unsigned>(*month)),
                                             chrono::day(static_cast<unsigned>(*day)));
    if (!calendarDay.ok() || *hour > 23 || *minute > 59 || *second > 59)
        return std::nullopt;

    const chrono::sys_seconds seconds = chrono::sys_days(calendarDay) + chrono::hours(*hour) +
                                        chrono::minutes(*minute) + chrono::seconds(*second);
    // Whole seconds reach further than nanoseconds do: limit before widening.
    return Date(std::clamp(seconds, chrono::ceil<chrono::seconds>(Date::min()),
                           chrono::floor<chrono::seconds>(Date::max())));
}

} // namespace velmor
