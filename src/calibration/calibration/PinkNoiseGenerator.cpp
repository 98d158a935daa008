// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/PinkNoiseGenerator.h>

#include <bit>

namespace velmor {

float PinkNoiseGenerator::nextWhite()
{
    std::uint32_t x = m_seed;
    x ^= x << 13;
    x ^= x >> 17;
    x ^= x << 5;
    m_seed = x;
    const auto fromOneToTwo = std::bit_cast<float>(0x3F800000U | (x >> 9));
    return (fromOneToTwo - 1.5F) * 2.0F;
}

} // namespace velmor
