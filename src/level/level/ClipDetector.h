// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace velmor {

/// Finds where an input was driven beyond full scale: runs of samples that all lie at its end. A single one
/// may be a peak that just reached it. Capture thread; allocates nothing.
class ClipDetector
{
public:
    /// The highest sample of 16 bits; wider formats come nearer to 1.
    static constexpr float fullScale = 32767.0F / 32768.0F;

    static constexpr std::size_t shortestRun = 3;

    /// Runs that have become long enough in this block; they may have begun in the one before it.
    std::uint32_t runsIn(std::span<const float> block);

    void reset() { m_runLength = 0; }

private:
    std::size_t m_runLength = 0; ///< Full-scale samples at the end of the last block.
};

} // namespace velmor
