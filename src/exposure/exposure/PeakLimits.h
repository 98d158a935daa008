// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace velmor {

// EU Directive 2003/10/EC, article 3: lower and upper exposure action value and exposure limit value of
// the peak sound pressure.
inline constexpr double lowerActionPeakDBC = 135.0;
inline constexpr double upperActionPeakDBC = 137.0;
inline constexpr double limitPeakDBC = 140.0;

/// No exposure above 115 dBA, of whatever duration.
inline constexpr double ceilingPeakDBA = 115.0;

} // namespace velmor
