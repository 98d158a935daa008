// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string_view>

namespace velmor {

/// Where a level lies against the reference band.
enum class Zone {
    silent, ///< So far below the band that nobody is listening.
    under,
    onTarget,
    over,
};

/// The zone of an A-weighted level. Both edges of the band belong to it. Silent is what lies more than
/// 12 dB below the band, and in any case what lies below 50 dBA.
/// \param target centre of the band, dBA. \param tolerance half its width, dB.
Zone classifyLevel(double dBA, double target, double tolerance);

/// The text that is stored and sent: "silent", "under", "onTarget", "over".
std::string_view rawValue(Zone zone);

std::optional<Zone> zoneFromRaw(std::string_view text);

} // namespace velmor
