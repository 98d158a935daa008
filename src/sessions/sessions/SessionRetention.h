// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Calendar.h>
#include <base/Date.h>
#include <platform/DefaultsStore.h>
#include <sessions/Session.h>

#include <cstdint>
#include <string_view>
#include <vector>

namespace velmor {

/// A number of days that a history is kept for, as a setting.
struct RetentionDays
{
    std::string_view key;
    std::int64_t defaultDays;

    /// The stored number if it is an integer of at least 1, else the default; at most 3650.
    std::int64_t read(const DefaultsStore& defaults) const;
};

/// How long sessions keep all their readings.
inline constexpr RetentionDays detailedRetention{"sessionDetailedRetentionDays", 14};

/// How long sessions are kept at all.
inline constexpr RetentionDays totalRetention{"sessionTotalRetentionDays", 90};

/// How a history is thinned with age. Pure functions.
namespace SessionRetention {

/// Seconds from the first reading to the second; 0 with fewer than two.
double sampleIntervalSeconds(const std::vector<SPLReading>& readings);

/// Keeps every `stride`-th reading, the first among them. A stride below 2 keeps all.
std::vector<SPLReading> downsample(std::vector<SPLReading> readings, std::int64_t stride);

/// Sessions that started before the total retention are dropped,
/// those before the detailed one keep one reading in `downsampleStride`, unless their first interval
/// says that they have been thinned already. The limits are moments, so many local days before now at
/// the same time of day. Only `readings` are ever changed, and the order is kept. Where the calendar
/// can't compute a limit all sessions stay as they are.
std::vector<Session> process(std::vector<Session> sessions, std::int64_t detailedDays, std::int64_t totalDays,
                             std::int64_t downsampleStride, Date now, const Calendar& calendar);

} // namespace SessionRetention

} // namespace velmor
