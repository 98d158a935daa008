// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Calendar.h>
#include <base/Date.h>
#include <sessions/Session.h>

#include <array>
#include <map>
#include <optional>
#include <span>

namespace velmor {

/// The figures of the last seven days that a widget shows. Doses and shares in percent.
namespace WidgetMetrics {

inline constexpr int daysShown = 7;

/// The dose of each day that has finished sessions, by the start of the day that they began in.
std::map<Date, double> dailyDoseTotals(std::span<const Session> sessions, const Calendar& calendar);

/// The doses of seven days, today's last. Today's is the given one, 0 where that is below 0: what the
/// history has of today is part of it.
std::array<double, daysShown> weekDoses(std::span<const Session> history, double todayDose,
                                        const Calendar& calendar, Date now);

/// Share of the active time of finished sessions that was spent on target; absent below 30 seconds.
std::optional<double> onTargetPercent(std::span<const Session> sessions);
std::optional<double> onTargetPercent(std::span<const Session* const> sessions);

struct WeeklyOnTarget
{
    std::optional<double> overall;
    std::array<std::optional<double>, daysShown> perDay; ///< Today last.

    bool operator==(const WeeklyOnTarget&) const = default;
};

WeeklyOnTarget weeklyOnTarget(std::span<const Session> history, const Calendar& calendar, Date now);

/// The weekly exposure level in dB, after the form of L_EX,w of ISO 1999: of the level that each dose stands
/// for over 8 hours, with an exchange rate of 3 dB, over five working days. Absent where no day has a dose.
std::optional<double> weeklyLEX(std::span<const double> doses);

} // namespace WidgetMetrics

} // namespace velmor
