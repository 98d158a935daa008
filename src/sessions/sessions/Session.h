// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Date.h>
#include <base/Uuid.h>
#include <discipline/Zone.h>
#include <sessions/SessionStatistics.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velmor {

/// One sample of a session's time series.
struct SPLReading
{
    Date timestamp;
    double dBA = 0;
    double dosePercentageAtTime = 0; ///< The day's dose at that moment, not the session's.
    double dBC = 0;                  ///< 0 where no C-weighted level was recorded.
    std::optional<Zone> zone;        ///< Absent where no zone was recorded.

    bool operator==(const SPLReading&) const = default;
};

/// One period of monitoring: its statistics and its time series.
struct Session
{
    Uuid id = {};
    Date startDate;
    std::optional<Date> endDate;      ///< Absent while it runs.
    std::string dawName;              ///< The workstation, or a label of whoever started it.
    double averageSPL = 0;            ///< Energy mean of all A-weighted levels, dB.
    double peakSPL = 0;               ///< Highest A-weighted level, dB.
    double doseAccumulated = 0;       ///< Percent of the daily allowance; 0 until the session ends.
    std::vector<SPLReading> readings; ///< Oldest first.
    double peakDBC = 0;               ///< Highest C-weighted peak, dB.

    // Measurement ticks with a peak at or above the limit; a tick at 140 dB counts at 135 dB too.
    std::int64_t peakCount135 = 0;
    std::int64_t peakCount140 = 0;
    std::int64_t peakDBACount115 = 0;

    double monitoringTarget = 0;    ///< Reference level at the session's end, dBA; 0 for no discipline data.
    double monitoringTolerance = 0; ///< dB
    double timeSilentSec = 0;
    double timeUnderSec = 0;
    double timeOnTargetSec = 0;
    double timeOverSec = 0;

    bool operator==(const Session&) const = default;

    /// Without the silent time.
    double activeMonitoringTimeSec() const { return timeUnderSec + timeOnTargetSec + timeOverSec; }

    bool hasMonitoringDisciplineData() const { return monitoringTarget > 0 && activeMonitoringTimeSec() > 0; }

    /// 0 to 100; absent below 30 seconds of active time. Doesn't look at the target.
    std::optional<double> onTargetPercentage() const;

    bool isActive() const { return !endDate; }

    /// Seconds from start to end, or to the present moment while it runs.
    double duration(Date now) const { return secondsBetween(startDate, endDate.value_or(now)); }

    /// Of the readings as they are stored, one in 10 or 100 seconds; absent with fewer than two.
    std::optional<SessionStatistics> statistics() const;

    /// The duration as in 42m or, from an hour on, 2h 5m. Negative where the clock was set back.
    std::string durationFormatted(Date now) const;
};

/// A new session that starts now, all figures at 0.
Session newSession(std::string dawName, Date now);

} // namespace velmor
