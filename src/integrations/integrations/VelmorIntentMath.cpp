// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/VelmorIntentMath.h>

#include <base/Text.h>
#include <integrations/VelmorIntentRecords.h>

namespace velmor::VelmorIntentMath {

namespace {

constexpr std::int64_t longestPauseMinutes = 1440;
constexpr std::int64_t daysOfWeek = 7;

/// The start of the day so many days from the one that a moment lies in.
std::optional<Date> startOfDay(Date moment, std::int64_t days, const Calendar& calendar)
{
    const auto day = calendar.addingDays(calendar.startOfDay(moment), days);
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
    auto cursor = startOfDay(now, -1, calendar);
    while (cursor) {
        const auto total = totals.find(*cursor);
        if (total == totals.end() || !(total->second < threshold))
            break;
        ++days;
        cursor = startOfDay(*cursor, -1, calendar);
    }
    return days;
}

Weekly weeklySummary(std::span<const Session> sessions, double warningThreshold, Date now,
                     const Calendar& calendar)
{
    const auto totals = dailyDoseTotals(sessions, calendar);
    const auto yesterday = startOfDay(now, -1, calendar);
    if (!yesterday)
        return {};
    Weekly weekly;
    double sum = 0;
    for (std::int64_t offset = 0; offset > -daysOfWeek; --offset) {
        const auto day = startOfDay(*yesterday, offset, calendar);
        if (!day)
            continue;
        const auto found = totals.find(*day);
        const double total = found != totals.end() ? found->second : 0;
        sum += total;
        if (warningThreshold <= total)
            ++weekly.warningDayCount;
    }
    const Date start = startOfDay(*yesterday, 1 - daysOfWeek, calendar).value_or(*yesterday);
    for (const Session& session : sessions) {
        const Date day = calendar.startOfDay(session.startDate);
        if (start <= day && day <= *yesterday)
            ++weekly.sessionCount;
    }
    weekly.avgDosePercent = sum / static_cast<double>(daysOfWeek);
    return weekly;
}

} // namespace velmor::VelmorIntentMath
