// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/BlockKernel.h>
#include <support/PlainBlock.h>
#include <support/Sound.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace velmor {
namespace {

using test::noise;
/// Compares the kernel with the plain form over a row of blocks, registers carried along.
class Comparison
{
public:
    Comparison(VectorUnit unit, double sampleRate)
        : m_kernel(unit)
        , m_a(sampleRate)
        , m_c(sampleRate)
        , m_plainA(sampleRate)
        , m_plainC(sampleRate)
    {}

    /// \return whether samples, registers, sums and peaks are the same to the last bit.
    bool isIdentical(std::span<const float> block)
    {
        std::vector<float> aScratch(8192, 7.0F), cScratch(8192, 7.0F), plainAScratch(8192, 7.0F),
            plainCScratch(8192, 7.0F);
        const auto result = m_kernel.weigh(m_a, m_c, block, aScratch, cScratch);
        const auto expected = test::weighPlainly(m_plainA, m_plainC, block, plainAScratch, plainCScratch);
        return isSame(aScratch, plainAScratch) && isSame(cScratch, plainCScratch) &&
               isSame(m_a.states(), m_plainA.states()) && isSame(m_c.states(), m_plainC.states()) &&
               isSame(result.a, expected.a) && isSame(result.c, expected.c);
    }

private:
    static bool isSame(const std::vector<float>& x, const std::vector<float>& y)
    {
        return std::memcmp(x.data(), y.data(), x.size() * sizeof(float)) == 0;
    }
    static bool isSame(const std::vector<SectionState>& x, const std::vector<SectionState>& y)
    {
        return std::memcmp(x.data(), y.data(), x.size() * sizeof(SectionState)) == 0;
    }
    static bool isSame(const PathSums& x, const PathSums& y)
    {
        return std::memcmp(&x.peak, &y.peak, sizeof x.peak) == 0 &&
               std::memcmp(&x.sumOfSquares, &y.sumOfSquares, sizeof x.sumOfSquares) == 0;
    }

    BlockKernel m_kernel;
    AWeightingFilter m_a;
    CWeightingFilter m_c;
    AWeightingFilter m_plainA;
    CWeightingFilter m_plainC;
};

std::vector<VectorUnit> unitsOfThisProcessor()
{
    if (bestVectorUnit() == VectorUnit::avx2)
        return {VectorUnit::baseline, VectorUnit::avx2};
    return {VectorUnit::baseline};
}

TEST(BlockKernel, EqualsThePlainFormBitForBitAtAllRatesAndBlockSizes)
{
    const auto sound = noise(0.3, 8192);
    for (const VectorUnit unit : unitsOfThisProcessor()) {
        for (const double rate : {44100.0, 48000.0, 88200.0, 96000.0, 192000.0}) {
            Comparison comparison(unit, rate);
            for (std::size_t size = 1; size <= 300; ++size)
                ASSERT_TRUE(comparison.isIdentical(std::span(sound).first(size))) << size << " at " << rate;
            for (const std::size_t size : {1023U, 1024U, 1025U, 1500U, 4097U, 8189U, 8190U, 8191U, 8192U})
                ASSERT_TRUE(comparison.isIdentical(std::span(sound).first(size))) << size << " at " << rate;
        }
    }
}

TEST(BlockKernel, EqualsThePlainFormOnSoundsThatAreNotNoise)
{
    std::vector<std::vector<float>> sounds = {
        std::vector<float>(1024),          // digital silence
        std::vector<float>(1024, -0.0F),   // its negative
        test::sine(997, 0.5, 48000, 1024), // a tone
        noise(1e-40, 1024),                // denormal samples
        noise(1e4, 1024),                  // far above full scale
        noise(1e25, 1024),                 // so large that results overflow
    };
    std::vector<float> impulse(1024);
    impulse[500] = 1;
    sounds.push_back(impulse);
    for (const VectorUnit unit : unitsOfThisProcessor()) {
        for (const auto& sound : sounds) {
            Comparison comparison(unit, 48000);
            for (int block = 0; block < 5; ++block)
                EXPECT_TRUE(comparison.isIdentical(sound));
        }
    }
}

TEST(BlockKernel, AnEmptyBlockChangesNothing)
{
    for (const VectorUnit unit : unitsOfThisProcessor()) {
        Comparison comparison(unit, 48000);
        EXPECT_TRUE(comparison.isIdentical({}));
    }
}

} // namespace
} // namespace velmor
