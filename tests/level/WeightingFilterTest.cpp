// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/AWeightingFilter.h>
#include <level/CWeightingFilter.h>
#include <support/Sound.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>
#include <vector>

namespace velmor {
namespace {

using test::noise;
using test::sine;

constexpr double pi = std::numbers::pi;

std::vector<std::uint32_t> bitsOf(std::span<const float> samples)
{
    std::vector<std::uint32_t> bits;
    for (const float sample : samples)
        bits.push_back(std::bit_cast<std::uint32_t>(sample));
    return bits;
}

/// What a filter does to a settled sine: the amplitude of the output over that of the input, by
/// correlation over a whole number of periods.
template <typename Filter>
double measuredGain(double frequency, double sampleRate)
{
    Filter filter(sampleRate);
    // Half a second to settle, then two, which hold whole periods of every half hertz.
    const auto settle = static_cast<std::size_t>(sampleRate / 2);
    const auto length = static_cast<std::size_t>(2 * sampleRate);
    auto samples = sine(frequency, 0.5, sampleRate, settle + length);
    filter.process(samples);
    std::complex<double> sum = 0;
    for (std::size_t i = settle; i < samples.size(); ++i) {
        const double phase = 2 * pi * frequency * static_cast<double>(i) / sampleRate;
        sum += static_cast<double>(samples[i]) * std::polar(1.0, -phase);
    }
    return 2 * std::abs(sum) / static_cast<double>(length) / 0.5;
}

double decibels(double ratio)
{
    return 20 * std::log10(ratio);
}

// The analogue curves of IEC 61672-1, annex E, in closed form, bent by the bilinear transform: each
// section is exact at its own prewarped corner, so the digital gain at f is the analogue one with the
// ratio f/corner replaced by tan(pi f/fs) / tan(pi corner/fs).
double warpedRatio(double frequency, double corner, double fs)
{
    return std::tan(pi * frequency / fs) / std::tan(pi * corner / fs);
}

double cGainUnscaled(double frequency, double fs)
{
    const double low = warpedRatio(frequency, 20.598997, fs);
    const double high = warpedRatio(frequency, 12194.217, fs);
    return low * low / (1 + low * low) / (1 + high * high);
}

double aGainUnscaled(double frequency, double fs)
{
    const double low = warpedRatio(frequency, 107.65265, fs);
    const double high = warpedRatio(frequency, 737.86223, fs);
    const double top = warpedRatio(frequency, 12194.217, fs);
    const double bottom = warpedRatio(frequency, 20.598997, fs);
    return bottom * bottom / (1 + bottom * bottom) * top * top / (1 + top * top) / std::sqrt(1 + low * low) /
           std::sqrt(1 + high * high);
}

TEST(WeightingFilter, TheCurvesAt48KilohertzAreThoseOfTheTable)
{
    struct Row
    {
        double frequency, a, c;
    };
    for (const auto& [frequency, a, c] :
         {Row{31.5, -39.56, -3.05}, Row{100, -19.17, -0.32}, Row{1000, 0.00, 0.00}, Row{4000, 1.26, -0.53},
          Row{10000, -1.90, -3.82}, Row{16000, -9.74, -11.67}, Row{20000, -21.09, -23.03}}) {
        EXPECT_NEAR(decibels(measuredGain<AWeightingFilter>(frequency, 48000)), a, 0.01) << frequency;
        EXPECT_NEAR(decibels(measuredGain<CWeightingFilter>(frequency, 48000)), c, 0.01) << frequency;
    }
}

TEST(WeightingFilter, TheGainIsThatOfTheBilinearTransformAtAnyFrequencyAndRate)
{
    for (const double fs : {44100.0, 48000.0, 96000.0, 192000.0}) {
        for (const double frequency : {20.0, 63.0, 250.0, 997.0, 3150.0, 8000.0, 12500.0, 19999.0}) {
            EXPECT_NEAR(decibels(measuredGain<AWeightingFilter>(frequency, fs)),
                        decibels(aGainUnscaled(frequency, fs) / aGainUnscaled(1000, fs)), 0.001)
                << frequency << " at " << fs;
            EXPECT_NEAR(decibels(measuredGain<CWeightingFilter>(frequency, fs)),
                        decibels(cGainUnscaled(frequency, fs) / cGainUnscaled(1000, fs)), 0.001)
                << frequency << " at " << fs;
        }
    }
}

TEST(WeightingFilter, AOneKilohertzSineComesOutWithTheInputsAmplitudeAtAnyRate)
{
    for (const double fs : {44100.0, 48000.0, 96000.0, 192000.0}) {
        EXPECT_NEAR(measuredGain<AWeightingFilter>(1000, fs), 1, 1e-6) << fs;
        EXPECT_NEAR(measuredGain<CWeightingFilter>(1000, fs), 1, 1e-6) << fs;
    }
}

TEST(WeightingFilter, TheSectionsComeInTheirOrderWithTheGainOnTheFirst)
{
    const AWeightingFilter a(48000);
    ASSERT_EQ(a.coefficients().size(), 4U);
    // A high pass at 12194 Hz, the second section: K = tan(pi 12194.217 / 48000).
    const double k = std::tan(pi * 12194.217 / 48000);
    const double n = 1 / ((k + 1) * (k + 1));
    EXPECT_NEAR(a.coefficients()[1][0], n, 1e-7);
    EXPECT_NEAR(a.coefficients()[1][1], -2 * n, 1e-7);
    EXPECT_NEAR(a.coefficients()[1][3], 2 * (k * k - 1) * n, 1e-7);
    EXPECT_NEAR(a.coefficients()[1][4], (k - 1) * (k - 1) * n, 1e-7);
    // Single poles at 107.65 and 737.86 Hz with a zero at Nyquist.
    for (const auto& [section, corner] : {std::pair(2, 107.65265), std::pair(3, 737.86223)}) {
        const auto& low = a.coefficients()[static_cast<std::size_t>(section)];
        const double kLow = std::tan(pi * corner / 48000);
        EXPECT_NEAR(low[0], kLow / (kLow + 1), 1e-9);
        EXPECT_EQ(low[0], low[1]);
        EXPECT_EQ(low[2], 0);
        EXPECT_NEAR(low[3], (kLow - 1) / (kLow + 1), 1e-9);
        EXPECT_EQ(low[4], 0);
    }
    // The cascade's raw gain at 1 kHz is about 0.000258; the first numerator alone makes up for it.
    const double kFirst = std::tan(pi * 20.598997 / 48000);
    const double rawGain = 1 / (a.coefficients()[0][0] * (kFirst + 1) * (kFirst + 1));
    EXPECT_NEAR(rawGain, 0.000258, 0.0000005);
    EXPECT_NEAR(rawGain, aGainUnscaled(1000, 48000), 1e-10);

    const CWeightingFilter c(48000);
    ASSERT_EQ(c.coefficients().size(), 2U);
    EXPECT_NEAR(c.coefficients()[1][0], k * k * n, 1e-7);
    EXPECT_NEAR(c.coefficients()[1][1], 2 * k * k * n, 1e-7);
    EXPECT_EQ(c.coefficients()[1][0], c.coefficients()[1][2]);
}

TEST(WeightingFilter, ASectionIsTheTransposedDirectFormTwoWithResultsRoundedTo32Bits)
{
    // Worked by hand: b = (1, 0.5, 0.25), a1 = -0.5, a2 = 0.125, an impulse of 1.
    // y0 = 1; s1 = 0.5 + 0.5 = 1; s2 = 0.25 - 0.125 = 0.125
    // y1 = 1; s1 = 0.125 + 0.5 = 0.625; s2 = -0.125
    // y2 = 0.625; s1 = -0.125 + 0.3125 = 0.1875; s2 = -0.078125
    SectionState state{};
    std::vector<float> samples = {1, 0, 0};
    runSection({1, 0.5, 0.25, -0.5, 0.125}, state, samples);
    EXPECT_EQ(samples, (std::vector<float>{1, 1, 0.625F}));
    EXPECT_EQ(state, (SectionState{0.1875, -0.078125}));

    // 1/3 does not fit into 32 bits: what comes out is rounded, what the registers keep is not.
    state = {};
    samples = {1};
    runSection({1.0 / 3, 0, 0, -1, 0}, state, samples);
    EXPECT_EQ(samples[0], static_cast<float>(1.0 / 3));
    EXPECT_EQ(state[0], 1.0 / 3);
    EXPECT_NE(state[0], static_cast<double>(samples[0]));
}

TEST(WeightingFilter, EachSectionReadsWhatTheOneBeforeRounded)
{
    AWeightingFilter filter(48000);
    auto samples = noise(0.3, 1000);
    auto expected = samples;
    filter.process(samples);
    const AWeightingFilter fresh(48000);
    for (const auto& section : fresh.coefficients()) {
        SectionState state{};
        runSection(section, state, expected);
    }
    EXPECT_EQ(bitsOf(samples), bitsOf(expected));
}

template <typename Filter>
class EachFilter : public testing::Test
{};
using Filters = testing::Types<AWeightingFilter, CWeightingFilter>;
TYPED_TEST_SUITE(EachFilter, Filters);

TYPED_TEST(EachFilter, UpdatingToThePresentRateKeepsTheRegistersAndToAnotherClearsThem)
{
    TypeParam filter(48000);
    auto samples = noise(0.5, 100);
    filter.process(samples);
    const auto states = filter.states();
    const auto coefficients = filter.coefficients();
    ASSERT_NE(states.front(), SectionState{});

    filter.updateSampleRate(48000);
    EXPECT_EQ(filter.states(), states);
    EXPECT_EQ(filter.coefficients(), coefficients);

    filter.updateSampleRate(44100);
    EXPECT_EQ(filter.sampleRate(), 44100);
    EXPECT_EQ(filter.states(), std::vector<SectionState>(states.size()));
    EXPECT_EQ(filter.coefficients(), TypeParam(44100).coefficients());
}

TYPED_TEST(EachFilter, ACountOfZeroChangesNothing)
{
    TypeParam filter(48000);
    auto samples = noise(0.5, 100);
    filter.process(samples);
    const auto states = filter.states();
    const auto before = samples;
    filter.process(samples, 0);
    EXPECT_EQ(samples, before);
    EXPECT_EQ(filter.states(), states);
    filter.process(std::span<float>());
    EXPECT_EQ(filter.states(), states);
}

TYPED_TEST(EachFilter, ASmallerCountLeavesTheTailUnchanged)
{
    TypeParam filter(48000);
    const auto original = noise(0.5, 100);
    auto samples = original;
    filter.process(samples, 60);
    EXPECT_TRUE(std::equal(samples.begin() + 60, samples.end(), original.begin() + 60));
    EXPECT_NE(samples[59], original[59]);

    TypeParam other(48000);
    auto front = std::vector<float>(original.begin(), original.begin() + 60);
    other.process(front);
    EXPECT_TRUE(std::equal(front.begin(), front.end(), samples.begin()));
    EXPECT_EQ(filter.states(), other.states());
}

TYPED_TEST(EachFilter, ACountOutOfRangeStopsTheProgram)
{
    TypeParam filter(48000);
    std::vector<float> samples(10);
    EXPECT_DEATH(filter.process(samples, 11), "a filter was given 11 samples of 10");
    EXPECT_DEATH(filter.process(samples, -1), "a filter was given -1 samples of 10");
}

TYPED_TEST(EachFilter, TwoRunsOfABlockAfterResetAreBitIdentical)
{
    TypeParam filter(48000);
    const auto block = noise(0.5, 1024);
    auto first = block;
    filter.process(first);
    filter.reset();
    EXPECT_EQ(filter.states(), std::vector<SectionState>(filter.states().size()));
    auto second = block;
    filter.process(second);
    EXPECT_EQ(bitsOf(first), bitsOf(second));
}

TYPED_TEST(EachFilter, BlocksOfAnySizeGiveWhatOneBlockGives)
{
    const auto sound = noise(0.5, 5000);
    TypeParam whole(48000);
    auto expected = sound;
    whole.process(expected);

    TypeParam parts(48000);
    auto samples = sound;
    std::size_t position = 0;
    for (std::size_t size = 1; position < samples.size(); size = size * 3 + 1) {
        const std::size_t length = std::min(size, samples.size() - position);
        parts.process(std::span(samples).subspan(position, length));
        position += length;
    }
    EXPECT_EQ(bitsOf(samples), bitsOf(expected));
    EXPECT_EQ(parts.states(), whole.states());
}

TYPED_TEST(EachFilter, ABlockOfZerosLeavesAFreshFilterAsItWas)
{
    TypeParam filter(48000);
    std::vector<float> samples(100);
    filter.process(samples);
    EXPECT_EQ(samples, std::vector<float>(100));
    EXPECT_EQ(filter.states(), std::vector<SectionState>(filter.states().size()));
}

// 12194 Hz lies beyond the Nyquist frequency of 8 kHz, where the tangent is negative.
TYPED_TEST(EachFilter, AtAVeryLowRateTheCascadeIsBuiltAllTheSame)
{
    const TypeParam filter(16000);
    const TypeParam reference(48000);
    ASSERT_EQ(filter.coefficients().size(), reference.coefficients().size());
    const double k = std::tan(pi * 12194.217 / 16000);
    ASSERT_LT(k, 0);
    EXPECT_NEAR(filter.coefficients()[1][3], 2 * (k * k - 1) / ((k + 1) * (k + 1)), 1e-6);
}

TYPED_TEST(EachFilter, ACascadeWhoseGainIsNoNumberStaysUnnormalised)
{
    // At a rate of 0 every tangent is one of infinity: not a number.
    const TypeParam filter(0);
    EXPECT_TRUE(std::isnan(filter.coefficients()[0][0]));

    std::vector<SectionCoefficients> silent = {{0, 0, 0, 0.5, 0.25}, {2, 1, 0, 0, 0}};
    const auto before = silent;
    normalizeGainAt1kHz(silent, 48000);
    EXPECT_EQ(silent, before);

    std::vector<SectionCoefficients> undefined = {{std::nan(""), 0, 0, 0, 0}, {2, 1, 0, 0, 0}};
    normalizeGainAt1kHz(undefined, 48000);
    // Multiplied by the reciprocal of such a gain these would not be numbers any more.
    EXPECT_EQ(undefined[0][1], 0);
    EXPECT_EQ(undefined[0][2], 0);
    EXPECT_EQ(undefined[1], before[1]);

    std::vector<SectionCoefficients> none;
    normalizeGainAt1kHz(none, 48000);
    EXPECT_TRUE(none.empty());
}

} // namespace
} // namespace velmor
