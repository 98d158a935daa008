// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/VelmorIntentMath.h>

#include <base/Text.h>
#include <integrations/VelmorIntentRecords.h>

namespace velmor::VelmorIntentMath {

namespace {

constexpr std::int64_t longestPauseMinutes = 1440;
constexpr std::int64_t daysOfWeek = 7;

/// The start of the day so many days before the one that a moment lies in. A day that the clocks skip as a
/// whole has that of the day after it.
std::optional<Date> startOfDayBefore(Date moment, std::int64_t days, const Calendar& calendar)
{
    const auto day = calendar.addingDays(calendar.startOfDay(moment), -days);
    return day ? std::optional(calendar.startOfDay(*day)) : std::nullopt;
}

} // namespace

std::string normaliseDAWName(const std::optional<std::string>& name)
{
    const auto text = name ? trimmed(*name) : std::string_view();
    return text.empty() ? "Manual" : std::string(text);
}

double pauseSeconds(std::int64_t fromMinutes)
{
    if (fromMinutes < 1)
        throw VelmorIntentError::invalidArgument("Pause duration must be a positive number of minutes.");
    if (fromMinutes > longestPauseMinutes) {
        throw VelmorIntentError::invalidArgument("Pause duration must be at most 1440 minutes (24 hours).");
    }
    return static_cast<double>(fromMinutes) * 60.0;
}

std::map<Date, double> dailyDoseTotals(std::span<const Session> sessions, const Calendar& calendar)
{
    std::map<Date, double> totals;
    for (const Session& session : sessions)
        totals[calendar.startOfDay(session.startDate)] += session.doseAccumulated;
    return totals;
}

std::int64_t streak(std::span<const Session> sessions, double threshold, Date now, const Calendar& calendar)
{
    const auto totals = dailyDoseTotals(sessions, calendar);
    std::int64_t days = 0;
    Date dayAfter = calendar.startOfDay(now);
    for (std::int64_t before = 1;; ++before) {
        const auto cursor = startOfDayBefore(now, before, calendar);
        if (!cursor)
            return days;
        if (*cursor == dayAfter)
            continue;
        const auto total = totals.find(*cursor);
        if (total == totals.end() || !(total->second < threshold))
            return days;
        ++days;
        dayAfter = *cursor;
    }
}

Weekly weeklySummary(std::span<const Session> sessions, double warningThreshold, Date now,
                     const Calendar& calendar)
{
    const auto totals = dailyDoseTotals(sessions, calendar);
    const Date today = calendar.startOfDay(now);
    const auto yesterday = startOfDayBefore(now, 1, calendar);
    if (!yesterday)
        return {};
    Weekly weekly;
    double sum = 0;
    Date dayAfter = today;
    for (std::int64_t before = 1; before <= daysOfWeek; ++before) {
        const auto day = startOfDayBefore(now, before, calendar);
        if (!day || *day == dayAfter)
            continue;
        dayAfter = *day;
        const auto found = totals.find(*day);
        const double total = found != totals.end() ? found->second : 0;
        sum += total;
        if (warningThreshold <= total)
            ++weekly.warningDayCount;
    }
    const Date start = startOfDayBefore(now, daysOfWeek, calendar).value_or(*yesterday);
    for (const Session& session : sessions) {
        const Date day = calendar.startOfDay(session.startDate);
        if (start <= day && day < today)
            ++weekly.sessionCount;
    }
    weekly.avgDosePercent = sum / static_cast<double>(daysOfWeek);
    return weekly;
}

} // namespace velmor::VelmorIntentMath
