// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <level/AWeightingFilter.h>
#include <level/BlockKernel.h>
#include <level/CWeightingFilter.h>

#include <algorithm>
#include <cmath>
#include <span>

namespace velmor::test {

/// One walk over a weighted block.
inline PathSums walk(std::span<const float> samples)
{
    PathSums sums;
    for (const float sample : samples) {
        const float magnitude = std::abs(sample);
        if (magnitude > sums.peak)
            sums.peak = magnitude;
        const double wide = static_cast<double>(sample);
        sums.sumOfSquares += wide * wide;
    }
    return sums;
}

/// The block path in its plain form, section outside and sample inside: what BlockKernel must equal
/// bit for bit, and the baseline that it is measured against.
inline BlockKernel::Result weighPlainly(AWeightingFilter& aFilter, CWeightingFilter& cFilter,
                                        std::span<const float> block, std::span<float> aScratch,
                                        std::span<float> cScratch)
{
    std::ranges::copy(block, aScratch.begin());
    std::ranges::copy(block, cScratch.begin());
    BlockKernel::Result result;
    aFilter.process(aScratch, std::ssize(block));
    result.a = walk(aScratch.first(block.size()));
    cFilter.process(cScratch, std::ssize(block));
    result.c = walk(cScratch.first(block.size()));
    return result;
}

} // namespace velmor::test
