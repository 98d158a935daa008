// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Calendar.h>
#include <base/Date.h>
#include <sessions/Session.h>

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>

namespace velmor {

/// The arithmetic that the automation and the widget share, over the history of sessions. Doses in percent.
namespace VelmorIntentMath {

/// A finished day below this dose, in percent, goes on with a streak.
inline constexpr double streakThreshold = 50.0;

/// What the seven days before today add up to.
struct Weekly
{
    double avgDosePercent = 0; ///< A day, over all seven, however many of them had sessions.
    std::int64_t sessionCount = 0;
    std::int64_t warningDayCount = 0; ///< Days at or above the threshold.

    bool operator==(const Weekly&) const = default;
};

/// Without white space at its ends; "Manual" where nothing remains.
std::string normaliseDAWName(const std::optional<std::string>& name);

/// \param fromMinutes 1 to 1440. \return seconds. \throws VelmorIntentError
double pauseSeconds(std::int64_t fromMinutes);

/// The finished days in a row, back from yesterday, that have sessions and a dose below the threshold.
std::int64_t streak(std::span<const Session> sessions, double threshold, Date now, const Calendar& calendar);

Weekly weeklySummary(std::span<const Session> sessions, double warningThreshold, Date now,
                     const Calendar& calendar);

/// The dose of each day that has sessions, running ones included, by the start of the day.
std::map<Date, double> dailyDoseTotals(std::span<const Session> sessions, const Calendar& calendar);

} // namespace VelmorIntentMath

} // namespace velmor
