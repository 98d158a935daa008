// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/TapCorrelation.h>
#include <support/PlainCorrelation.h>
#include <support/Sound.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <vector>

namespace velmor {
namespace {

std::vector<VectorUnit> unitsOfThisProcessor()
{
    if (bestVectorUnit() == VectorUnit::avx2)
        return {VectorUnit::baseline, VectorUnit::avx2};
    return {VectorUnit::baseline};
}

std::vector<std::uint32_t> bits(const std::vector<float>& samples)
{
    std::vector<std::uint32_t> patterns;
    for (const float sample : samples)
        patterns.push_back(std::bit_cast<std::uint32_t>(sample));
    return patterns;
}

TEST(TapCorrelation, IsBitForBitThePlainSumForEveryLength)
{
    const auto sound = test::noise(0.5, 2048);
    const auto coefficients = test::noise(0.3, 257);
    for (const VectorUnit unit : unitsOfThisProcessor()) {
        for (const std::size_t tapCount : {1U, 2U, 3U, 7U, 64U, 128U, 257U}) {
            const std::vector<float> taps(coefficients.begin(),
                                          coefficients.begin() + static_cast<std::ptrdiff_t>(tapCount));
            for (const std::size_t length :
                 {0U, 1U, 3U, 4U, 7U, 8U, 31U, 32U, 33U, 63U, 64U, 65U, 127U, 1024U}) {
                const std::span<const float> input =
                    std::span(sound).first(length == 0 ? 0 : length + tapCount - 1);
                std::vector<float> output(length);
                correlate(input, taps, output, unit);
                EXPECT_EQ(bits(output), bits(test::correlatePlainly(input, taps, length)))
                    << tapCount << " taps, " << length << " samples";
            }
        }
    }
}

TEST(TapCorrelation, DoesNotReverseTheTaps)
{
    const std::vector<float> input = {1, 10, 100, 1000};
    const std::vector<float> taps = {1, 2, 3};
    for (const VectorUnit unit : unitsOfThisProcessor()) {
        std::vector<float> output(2);
        correlate(input, taps, output, unit);
        EXPECT_EQ(output, (std::vector<float>{1 + 20 + 300, 10 + 200 + 3000}));
    }
}

} // namespace
} // namespace velmor
