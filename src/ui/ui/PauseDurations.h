// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>

namespace velmor {

/// What the pause command offers.
struct PauseDuration
{
    const char* label;
    std::optional<double> seconds; ///< Absent for a pause without end.
};

inline constexpr std::array<PauseDuration, 5> pauseDurations = {{{"15 Minutes", 900.0},
                                                                 {"30 Minutes", 1800.0},
                                                                 {"60 Minutes", 3600.0},
                                                                 {"2 Hours", 7200.0},
                                                                 {"Until Resumed", std::nullopt}}};

} // namespace velmor
