// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/WidgetMetrics.h>

#include <discipline/ReferenceLevelTracker.h>
#include <exposure/DoseLimits.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace velmor::WidgetMetrics {

namespace {

/// 3 / log10(2): the exchange rate of 3 dB for a doubling.
constexpr double exchangeFactor = 9.965784284662087;
constexpr double workingDays = 5.0;

/// Seconds in the zones, over several sessions.
struct ActiveTime
{
    double onTarget = 0;
    double measured = 0;

    void add(const Session& session)
    {
        onTarget += session.timeOnTargetSec;
        measured += session.timeUnderSec + session.timeOnTargetSec + session.timeOverSec;
    }

    std::optional<double> share() const { return onTargetShare(onTarget, measured); }
};

/// The seven days up to today, each by its start; absent where it can't be formed. A day that the clocks skip
/// as a whole comes out as the day after it, and is none.
std::array<std::optional<Date>, daysShown> weekUpTo(Date now, const Calendar& calendar)
{
    const Date today = calendar.startOfDay(now);
    std::array<std::optional<Date>, daysShown> days;
    for (int i = 0; i < daysShown; ++i) {
        if (const auto day = calendar.addingDays(today, i - (daysShown - 1)))
            days[static_cast<std::size_t>(i)] = calendar.startOfDay(*day);
    }
    for (std::size_t i = 0; i + 1 < days.size(); ++i) {
        if (days[i] == days[i + 1])
            days[i].reset();
    }
    return days;
}

} // namespace

std::map<Date, double> dailyDoseTotals(std::span<const Session> sessions, const Calendar& calendar)
{
    std::map<Date, double> totals;
    for (const Session& session : sessions) {
        if (session.endDate)
            totals[calendar.startOfDay(session.startDate)] += session.doseAccumulated;
    }
    return totals;
}

std::array<double, daysShown> weekDoses(std::span<const Session> history, double todayDose,
                                        const Calendar& calendar, Date now)
{
    const auto totals = dailyDoseTotals(history, calendar);
    const Date today = calendar.startOfDay(now);
    const auto days = weekUpTo(now, calendar);
    std::array<double, daysShown> doses = {};
    for (std::size_t i = 0; i < doses.size(); ++i) {
        if (!days[i])
            continue;
        const auto total = totals.find(*days[i]);
        if (*days[i] == today)
            doses[i] = std::max(0.0, todayDose);
        else
            doses[i] = total != totals.end() ? total->second : 0;
    }
    return doses;
}

std::optional<double> onTargetPercent(std::span<const Session> sessions)
{
    ActiveTime time;
    for (const Session& session : sessions) {
        if (session.endDate)
            time.add(session);
    }
    return time.share();
}

std::optional<double> onTargetPercent(std::span<const Session* const> sessions)
{
    ActiveTime time;
    for (const Session* const session : sessions) {
        if (session->endDate)
            time.add(*session);
    }
    return time.share();
}

WeeklyOnTarget weeklyOnTarget(std::span<const Session> history, const Calendar& calendar, Date now)
{
    const Date today = calendar.startOfDay(now);
    const auto days = weekUpTo(now, calendar);
    const auto sixDaysAgo = calendar.addingDays(today, 1 - daysShown);
    const Date weekStart = sixDaysAgo ? calendar.startOfDay(*sixDaysAgo) : today;
    ActiveTime week;
    std::array<ActiveTime, daysShown> perDay;
    for (const Session& session : history) {
        if (!session.endDate)
            continue;
        const Date start = calendar.startOfDay(session.startDate);
        if (start >= weekStart)
            week.add(session);
        const auto day = std::ranges::find(days, std::optional(start));
        if (day != days.end())
            perDay[static_cast<std::size_t>(day - days.begin())].add(session);
    }
    WeeklyOnTarget result;
    result.overall = week.share();
    std::ranges::transform(perDay, result.perDay.begin(), &ActiveTime::share);
    return result;
}

std::optional<double> weeklyLEX(std::span<const double> doses)
{
    double sum = 0;
    for (const double dose : doses) {
        if (dose > 0) {
            const double level = std::log10(dose / 100.0) * exchangeFactor + criterionLevelDBA;
            sum += std::pow(10.0, level / 10.0);
        }
    }
    return sum > 0 ? std::optional(10.0 * std::log10(sum / workingDays)) : std::nullopt;
}

} // namespace velmor::WidgetMetrics
