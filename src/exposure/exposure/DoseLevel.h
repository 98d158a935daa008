// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace velmor {

/// Band of the daily noise dose, in ascending order.
enum class DoseLevel {
    safe,    ///< Below 40 %.
    caution, ///< 40 % up to below 70 %.
    warning, ///< 70 % up to below 90 %.
    danger,  ///< 90 % and above.
};

/// The band of a dose in percent.
DoseLevel doseLevelFrom(double dosePercentage);

/// The text that is stored and sent: "safe", "caution", "warning", "danger".
std::string_view rawValue(DoseLevel level);

/// The text that people read.
std::string_view label(DoseLevel level);

} // namespace velmor
