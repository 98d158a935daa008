// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Date.h>

#include <algorithm>
#include <cstdint>

namespace velmor {

/// Whole days of 24 hours since a calibration; 0 for one in the future.
inline std::int64_t ageInDays(Date calibrated, Date now)
{
    constexpr std::int64_t secondsPerDay = 86400;
    return std::max<std::int64_t>(wholeSecondsBetween(calibrated, now) / secondsPerDay, 0);
}

} // namespace velmor
