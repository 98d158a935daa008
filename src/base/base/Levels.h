// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace velmor {

/// The linear energy of a level in dB, relative to that of 0 dB.
inline double energyOfLevel(double level)
{
    return std::pow(10.0, level / 10.0);
}

/// The energy mean, in dB, of levels whose energies sum up to `energySum`: the equivalent level of
/// ISO 9612 for samples of equal duration. \param count above 0.
inline double energyMean(double energySum, std::int64_t count)
{
    return 10.0 * std::log10(energySum / static_cast<double>(count));
}

/// Index, in ascending order, of the level that is exceeded for a fraction of the time (0.1 for L10).
/// Halves are rounded away from zero; nothing is interpolated. \param count above 0.
inline std::int64_t percentileIndex(double fraction, std::int64_t count)
{
    const auto index =
        static_cast<std::int64_t>(std::round((1.0 - fraction) * static_cast<double>(count - 1)));
    return std::clamp<std::int64_t>(index, 0, count - 1);
}

} // namespace velmor
