// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace velmor::test {

/// One output of the correlation: what the tiled one must equal bit for bit, and the baseline that it is
/// measured against.
inline float plainDotProduct(const float* input, std::span<const float> taps)
{
    float sum = 0;
    for (std::size_t p = 0; p < taps.size(); ++p)
        sum += input[p] * taps[p];
    return sum;
}

inline std::vector<float> correlatePlainly(std::span<const float> input, std::span<const float> taps,
                                           std::size_t count)
{
    std::vector<float> output(count);
    for (std::size_t i = 0; i < count; ++i)
        output[i] = plainDotProduct(input.data() + i, taps);
    return output;
}

} // namespace velmor::test
