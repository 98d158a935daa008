// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace velmor {

/// Equivalent and percentile levels of a session's stored readings, dB(A).
struct SessionStatistics
{
    double leq = 0; ///< Energy mean (ISO 9612).
    double l10 = 0; ///< Exceeded by a tenth of the readings.
    double l50 = 0; ///< By half of them.
    double l90 = 0; ///< By nine tenths.

    bool operator==(const SessionStatistics&) const = default;
};

} // namespace velmor
