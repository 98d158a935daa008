// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/ClipDetector.h>

#include <cmath>

namespace velmor {

std::uint32_t ClipDetector::runsIn(std::span<const float> block)
{
    // Most blocks have none. They are counted first, which the compiler does in vectors.
    std::uint32_t count = 0;
    for (const float sample : block)
        count += std::abs(sample) >= fullScale ? 1U : 0U;
    if (count == 0) {
        if (!block.empty())
            m_runLength = 0;
        return 0;
    }
    std::uint32_t runs = 0;
    for (const float sample : block) {
        m_runLength = std::abs(sample) >= fullScale ? m_runLength + 1 : 0;
        runs += m_runLength == shortestRun ? 1 : 0;
    }
    return runs;
}

} // namespace velmor
