// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/AudioHardware.h>

#include <cstddef>
#include <optional>
#include <vector>

struct spa_pod;

namespace velmor {

/// The volume of a node in the system's mixer, as its properties tell it.
struct PipeWireVolume
{
    float all = 1;               ///< A factor for all channels.
    std::vector<float> channels; ///< One for each; empty until the node tells.
    bool isMuted = false;

    /// Takes what the parameter says; it may be of some of the properties only.
    void take(const spa_pod* properties);

    /// Of one channel; absent while the node has said nothing of it.
    std::optional<InputVolume> ofChannel(std::size_t channel) const;

    bool operator==(const PipeWireVolume&) const = default;
};

} // namespace velmor
