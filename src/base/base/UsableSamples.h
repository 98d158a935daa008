// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <cstddef>
#include <span>

namespace velmor {

/// 400 dB above full scale: no sound is near it, and the filters can't overflow below it.
inline constexpr float highestUsableSample = 1e20F;

/// Replaces the samples that are no numbers, infinite or absurdly large by 0: a single one would
/// leave the registers of the weighting filters not-a-number for good. \return how many there were.
inline std::size_t silenceUnusableSamples(std::span<float> samples)
{
    std::size_t count = 0;
    for (float& sample : samples) {
        const bool isUsable = std::abs(sample) <= highestUsableSample;
        count += isUsable ? 0 : 1;
        sample = isUsable ? sample : 0.0F;
    }
    return count;
}

} // namespace velmor
