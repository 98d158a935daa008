// SPDX-License-Identifier: GPL-3.0-or-later
// What a session's row says, before anybody draws it.
#pragma once

#include <base/Calendar.h>
#include <sessions/Session.h>
#include <ui/LocaleDates.h>
#include <ui/MenuBarContent.h>

#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace velmor {

/// As in 9:12 AM – 10:20 AM; the start alone of a session that runs.
std::string timeRange(const Session& session, const Calendar& calendar, const LocaleDates& dates);

/// As in Avg 79 dBA, L10 83 dBA; none with fewer than two readings.
std::vector<std::string> statsStrip(const Session& session);

/// As in 42.0% day. \param cumulativeDayDose percent, of the day up to and including this session.
TintedText dayDoseText(double cumulativeDayDose);

/// As in 12.0% session.
TintedText sessionDoseText(const Session& session);

/// As in 136 dBC: red from 140, orange from 135. Absent without a peak.
std::optional<TintedText> rowPeakText(double peakDBC);

/// The share of the active time on target.
TintedText rowScore(const Session& session);

/// A stretch of time in one zone.
struct ZoneTime
{
    Zone zone = Zone::silent;
    double seconds = 0;
    std::string text; ///< As in on target 1h 7m.

    bool operator==(const ZoneTime&) const = default;
};

/// The four times that are not zero, in the order of the strip.
std::vector<ZoneTime> disciplineTimes(const Session& session);

/// What a screen reader says of the row.
std::string rowName(const Session& session, const Calendar& calendar, const LocaleDates& dates);

} // namespace velmor
