// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/TapCorrelation.h>

#include <cassert>
#include <cstddef>
#include <cstring>

namespace velmor {

namespace {

using Floats4 = float __attribute__((vector_size(16)));
using Floats8 = float __attribute__((vector_size(32)));

/// Sums of a tile: enough that no addition waits for the one before it, and few enough for the registers.
constexpr std::size_t sumsPerTile = 8;

#define VELMOR_INLINE [[gnu::always_inline]] inline

/// The outputs of `sumCount` vectors from `input` on.
template <typename Lanes, std::size_t sumCount>
VELMOR_INLINE void correlateTile(const float* input, std::span<const float> taps, float* output)
{
    constexpr std::size_t width = sizeof(Lanes) / sizeof(float);
    Lanes sums[sumCount] = {};
    for (std::size_t p = 0; p < taps.size(); ++p) {
        const Lanes tap = taps[p] - Lanes{};
#pragma GCC unroll 8
        for (std::size_t s = 0; s < sumCount; ++s) {
            Lanes samples;
            std::memcpy(&samples, input + p + s * width, sizeof samples);
            sums[s] += samples * tap;
        }
    }
    std::memcpy(output, sums, sizeof sums);
}

template <typename Lanes>
VELMOR_INLINE void correlateInTiles(const float* input, std::span<const float> taps, std::span<float> output)
{
    constexpr std::size_t width = sizeof(Lanes) / sizeof(float);
    std::size_t i = 0;
    for (; i + sumsPerTile * width <= output.size(); i += sumsPerTile * width)
        correlateTile<Lanes, sumsPerTile>(input + i, taps, output.data() + i);
    for (; i + width <= output.size(); i += width)
        correlateTile<Lanes, 1>(input + i, taps, output.data() + i);
    for (; i < output.size(); ++i) {
        float sum = 0;
        for (std::size_t p = 0; p < taps.size(); ++p)
            sum += input[i + p] * taps[p];
        output[i] = sum;
    }
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] void correlateAvx2(const float* input, std::span<const float> taps,
                                           std::span<float> output)
{
    correlateInTiles<Floats8>(input, taps, output);
}
#endif

} // namespace

void correlate(std::span<const float> input, std::span<const float> taps, std::span<float> output,
               VectorUnit unit)
{
    assert(output.empty() || input.size() + 1 == output.size() + taps.size());
#if defined(__x86_64__)
    if (unit == VectorUnit::avx2) {
        correlateAvx2(input.data(), taps, output);
        return;
    }
#endif
    static_cast<void>(unit);
    correlateInTiles<Floats4>(input.data(), taps, output);
}

} // namespace velmor
