// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace velmor {

// NIOSH 98-126: recommended exposure limit of 85 dBA over 8 hours with a 3 dB exchange rate, levels
// from 80 dBA up integrated.
inline constexpr double criterionLevelDBA = 85.0;
inline constexpr double exchangeRateDB = 3.0;
inline constexpr double criterionDurationHours = 8.0;
inline constexpr double thresholdLevelDBA = 80.0;

// Where the bands of the day's dose begin, percent.
inline constexpr double cautionDosePercentage = 40.0;
inline constexpr double warningDosePercentage = 70.0;
inline constexpr double dangerDosePercentage = 90.0;

} // namespace velmor
