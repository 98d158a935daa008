// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/MicResponseAnalysis.h>
#include <calibration/PinkNoiseGenerator.h>
#include <support/GoldenFile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <numbers>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

namespace velmor {
namespace {

using namespace MicResponse;

const Date measured = dateFromIsoText("2026-03-02T09:00:00Z").value();

/// A second-order section in the form of the audio EQ cookbook, in 64 bits.
struct Biquad
{
    double b0 = 0, b1 = 0, b2 = 0, a0 = 0, a1 = 0, a2 = 0;

    std::vector<double> filtered(const std::vector<double>& samples) const
    {
        double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
        std::vector<double> result;
        result.reserve(samples.size());
        for (const double x : samples) {
            const double y = b0 / a0 * x + b1 / a0 * x1 + b2 / a0 * x2 - a1 / a0 * y1 - a2 / a0 * y2;
            x2 = std::exchange(x1, x);
            y2 = std::exchange(y1, y);
            result.push_back(y);
        }
        return result;
    }
};

struct Corner
{
    double cosine;
    double alpha;

    Corner(double frequency, double q, double sampleRate)
        : cosine(std::cos(2 * std::numbers::pi * frequency / sampleRate))
        , alpha(std::sin(2 * std::numbers::pi * frequency / sampleRate) / (2 * q))
    {}
};

Biquad peaking(double gainDB, double frequency, double q, double sampleRate)
{
    const Corner c(frequency, q, sampleRate);
    const double a = std::pow(10, gainDB / 40);
    return {1 + c.alpha * a, -2 * c.cosine, 1 - c.alpha * a, 1 + c.alpha / a, -2 * c.cosine, 1 - c.alpha / a};
}

Biquad highPass(double frequency, double sampleRate)
{
    const Corner c(frequency, std::numbers::sqrt2 / 2, sampleRate);
    return {(1 + c.cosine) / 2, -(1 + c.cosine), (1 + c.cosine) / 2, 1 + c.alpha, -2 * c.cosine, 1 - c.alpha};
}

Biquad lowPass(double frequency, double sampleRate)
{
    const Corner c(frequency, std::numbers::sqrt2 / 2, sampleRate);
    return {(1 - c.cosine) / 2, 1 - c.cosine, (1 - c.cosine) / 2, 1 + c.alpha, -2 * c.cosine, 1 - c.alpha};
}

std::vector<double> pinkNoise(double gain)
{
    PinkNoiseGenerator generator;
    std::vector<double> samples(sampleCount);
    for (double& sample : samples)
        sample = gain * static_cast<double>(generator.next());
    return samples;
}

/// What the independent computation has taken for its input, too.
std::vector<float> inputNamed(const std::string& name, double sampleRate)
{
    std::vector<double> samples = pinkNoise(0.25);
    if (name == "tilted") {
        const auto source = pinkNoise(1);
        for (std::size_t n = 0; n < samples.size(); ++n)
            samples[n] = 0.5 * (source[n] + 0.6 * (n > 0 ? source[n - 1] : 0));
    } else if (name == "resonant") {
        samples = peaking(8, 2000, 2, sampleRate).filtered(samples);
        samples = peaking(-6, 6000, 1, sampleRate).filtered(samples);
    } else if (name == "band-limited") {
        samples = highPass(200, sampleRate).filtered(samples);
        samples = lowPass(8000, sampleRate).filtered(samples);
    } else if (name == "silent") {
        std::ranges::fill(samples, 0);
    }
    return {samples.begin(), samples.end()};
}

MicCorrectionProfile profileOf(const std::vector<float>& samples, double sampleRate)
{
    MicResponseAccumulator accumulator;
    accumulator.reset();
    accumulator.receive(samples);
    EXPECT_TRUE(accumulator.isComplete());
    return micCorrectionProfile(accumulator.accumulatedPower(), accumulator.framesAccumulated(), sampleRate,
                                accumulator.transform().value(), measured);
}

// mic_response.py has worked them out in 64 bits, with a transform of its own.
TEST(MicResponseAnalysis, AgreesWithAnIndependentComputationIn64Bits)
{
    auto golden = test::openGolden(VELMOR_CALIBRATION_GOLDEN "/mic_response_golden.txt");
    std::string word;
    std::string name;
    double sampleRate = 0;
    std::size_t points = 0;
    std::size_t tapTotal = 0;
    std::map<std::string, int> rates;
    while (golden >> word >> name >> sampleRate >> points >> tapTotal) {
        ASSERT_EQ(word, "case");
        SCOPED_TRACE(name + " at " + std::to_string(sampleRate));
        ++rates[name];
        const auto profile = profileOf(inputNamed(name, sampleRate), sampleRate);
        EXPECT_EQ(profile.sampleRate, sampleRate);
        EXPECT_EQ(profile.measuredDate, measured);
        ASSERT_EQ(profile.correctionCurve.size(), points);
        for (const FrequencyCurvePoint& point : profile.correctionCurve) {
            double frequency = 0;
            double gain = 0;
            golden >> frequency >> gain;
            EXPECT_EQ(point.frequency, static_cast<float>(frequency));
            EXPECT_NEAR(static_cast<double>(point.gainDB), gain, 0.02) << frequency << " Hz";
        }
        ASSERT_EQ(profile.taps.size(), tapTotal);
        double worst = 0;
        for (const float tap : profile.taps) {
            double expected = 0;
            golden >> expected;
            worst = std::max(worst, std::abs(static_cast<double>(tap) - expected));
        }
        EXPECT_LE(worst, 1e-4);
        RecordProperty(name + std::to_string(static_cast<int>(sampleRate)), std::to_string(worst));
    }
    EXPECT_EQ(rates, (std::map<std::string, int>{
                         {"flat", 3}, {"tilted", 3}, {"resonant", 3}, {"band-limited", 3}, {"silent", 3}}));
}

TEST(MicResponseAnalysis, TwoHundredFramesTake205824Samples)
{
    EXPECT_EQ(sampleCount, 205824U);
    MicResponseAccumulator accumulator;
    accumulator.reset();
    accumulator.receive(std::vector<float>(205823));
    EXPECT_EQ(accumulator.framesAccumulated(), 199U);
    EXPECT_FALSE(accumulator.isComplete());
    accumulator.receive(std::vector<float>(1));
    EXPECT_EQ(accumulator.framesAccumulated(), 200U);
    EXPECT_TRUE(accumulator.isComplete());
    // What comes after the last frame is dropped.
    const auto power = accumulator.accumulatedPower();
    accumulator.receive(std::vector<float>(5000, 0.5F));
    EXPECT_EQ(accumulator.framesAccumulated(), 200U);
    EXPECT_EQ(accumulator.accumulatedPower(), power);
}

TEST(MicResponseAnalysis, BlocksOfAnyLengthGiveTheSameSum)
{
    const auto samples = inputNamed("resonant", 48000);
    MicResponseAccumulator whole;
    whole.reset();
    whole.receive(samples);
    MicResponseAccumulator pieces;
    pieces.reset();
    std::span<const float> rest = samples;
    for (std::size_t length = 1; !rest.empty(); length = length * 7 % 5003) {
        const auto piece = rest.first(std::min(length, rest.size()));
        pieces.receive(piece);
        rest = rest.subspan(piece.size());
    }
    EXPECT_EQ(pieces.accumulatedPower(), whole.accumulatedPower());
}

TEST(MicResponseAnalysis, AResetBeginsAnew)
{
    MicResponseAccumulator accumulator;
    accumulator.reset();
    accumulator.receive(inputNamed("flat", 48000));
    accumulator.reset();
    EXPECT_EQ(accumulator.framesAccumulated(), 0U);
    EXPECT_EQ(accumulator.accumulatedPower(), std::vector<float>(1024));
}

TEST(MicResponseAnalysis, TheTaperAt44100HertzNeverReachesNought)
{
    Gains gains(binCount, 2.0F);
    limitAndTaper(gains, 44100);
    const double binWidth = 44100.0 / 2048;
    EXPECT_EQ(gains[743], 2.0F); // 15999 Hz
    EXPECT_LT(gains[744], 2.0F); // 16020 Hz
    // (22627.417 - 22028.5) / 6627.417 of the gain's excess is left at the last bin.
    EXPECT_NEAR(static_cast<double>(gains[1023]),
                1 + (22627.41699796952 - 1023 * binWidth) / 6627.416997969522, 1e-6);
    EXPECT_GT(gains[1023], 1.0F);
}

TEST(MicResponseAnalysis, TheTaperAt48000HertzEndsAtBin965)
{
    Gains gains(binCount, 2.0F);
    limitAndTaper(gains, 48000);
    EXPECT_EQ(gains[682], 2.0F);
    EXPECT_GT(gains[964], 1.0F);
    for (std::size_t k = 965; k < binCount; ++k)
        EXPECT_EQ(gains[k], 1.0F) << k;
}

TEST(MicResponseAnalysis, TheTaperBelow400HertzFadesTheCorrectionOut)
{
    Gains gains(binCount, 2.0F);
    limitAndTaper(gains, 48000);
    EXPECT_EQ(gains[0], 1.0F);
    EXPECT_EQ(gains[3], 1.0F); // 70.3 Hz
    // 93.75 Hz: (93.75 - 80) / 320 of the way.
    EXPECT_NEAR(static_cast<double>(gains[4]), 1 + 13.75 / 320, 1e-6);
    // 398.4 Hz, and from 421.9 Hz on nothing is taken away.
    EXPECT_NEAR(static_cast<double>(gains[17]), 1 + 318.4375 / 320, 1e-6);
    EXPECT_EQ(gains[18], 2.0F);
}

TEST(MicResponseAnalysis, GainsAreLimitedTo9Decibels)
{
    Gains gains(binCount, 100.0F);
    gains[100] = 0.001F;
    limitAndTaper(gains, 48000);
    EXPECT_EQ(gains[99], 2.8183827F);
    EXPECT_EQ(gains[100], 0.35481343F);
}

TEST(MicResponseAnalysis, AFlatSpectrumIsAnImpulseWhoseMiddleIsEmptyAndItsTapsStayUnscaled)
{
    const auto transform = RealTransform::make(fftSize).value();
    const auto impulse = impulseResponse(Gains(binCount, 1.0F), transform);
    EXPECT_NEAR(static_cast<double>(impulse[0]), 2.0, 1e-5);
    for (std::size_t n = 1; n < impulse.size(); ++n)
        EXPECT_NEAR(static_cast<double>(impulse[n]), 0.0, 1e-6);

    // Ideal pink noise: a power that falls with the bin.
    std::vector<float> power(binCount, 200.0F);
    for (std::size_t k = 1; k < binCount; ++k)
        power[k] = 200.0F / static_cast<float>(k);
    const auto profile = micCorrectionProfile(power, 200, 48000, transform, measured);
    const float sum = std::accumulate(profile.taps.begin(), profile.taps.end(), 0.0F);
    EXPECT_LE(std::abs(sum), 1e-6F);
    for (const float tap : profile.taps)
        EXPECT_LE(std::abs(tap), 1e-6F);
}

TEST(MicResponseAnalysis, TheSumOfScaledTapsIs1)
{
    const auto profile = profileOf(inputNamed("resonant", 48000), 48000);
    const double sum = std::accumulate(profile.taps.begin(), profile.taps.end(), 0.0);
    EXPECT_NEAR(sum, 1, 1e-5);
}

TEST(MicResponseAnalysis, DigitalSilenceStillYieldsAProfile)
{
    const auto profile = profileOf(std::vector<float>(sampleCount), 48000);
    EXPECT_EQ(profile.taps.size(), 128U);
    EXPECT_EQ(profile.correctionCurve.size(), 64U);
    for (const float tap : profile.taps)
        EXPECT_TRUE(std::isfinite(tap));
    // The magnitudes are all at their floor: the correction is the ideal's own fall, held to 9 dB.
    EXPECT_NEAR(static_cast<double>(profile.correctionCurve[40].gainDB),
                static_cast<double>(profile.correctionCurve[41].gainDB) + 2.3010299956639813 / 63 * 10, 0.1);
}

// Beyond 1e10 times the ideal the logarithm of 1e-10 stands in: the scale then is 1e10 and no more.
TEST(MicResponseAnalysis, TheLevelOfARecordingBeyondAllMeasureIsSetByTheFloorOfItsLogarithm)
{
    std::vector<float> power(binCount, 1e30F);
    const auto gains = correctionGains(power, 1, 48000);
    // 1 / sqrt(k) over 1e15, times 1e10, and a mean over its neighbours that changes little.
    EXPECT_NEAR(static_cast<double>(gains[100]), 0.1 * 1e-15 * 1e10, 0.02e-6);
}

TEST(MicResponseAnalysis, WithoutBinsBetween400HertzAnd16KilohertzTheLevelStaysAsItIs)
{
    std::vector<float> power(binCount);
    for (std::size_t k = 1; k < binCount; ++k)
        power[k] = 4.0F / static_cast<float>(k);
    const auto gains = correctionGains(power, 1, 800);
    EXPECT_NEAR(static_cast<double>(gains[500]), 0.5, 1e-5);
    EXPECT_NEAR(static_cast<double>(correctionGains(power, 1, 48000)[500]), 1, 1e-5);
}

TEST(MicResponseAnalysis, TheCurveRunsFrom80HertzTo16KilohertzAndKeepsDuplicatesOfABin)
{
    Gains gains(binCount, 1.0F);
    gains[3] = 2.0F;
    const auto curve = displayCurve(gains, 48000);
    ASSERT_EQ(curve.size(), 64U);
    EXPECT_FLOAT_EQ(curve.front().frequency, 80.0F);
    EXPECT_FLOAT_EQ(curve.back().frequency, 16000.0F);
    // 80.0 and 87.0 Hz both lie in bin 3, each with its own frequency.
    EXPECT_EQ(curve[0].gainDB, curve[1].gainDB);
    EXPECT_NEAR(static_cast<double>(curve[0].gainDB), 6.0206, 1e-4);
    EXPECT_NE(curve[0].frequency, curve[1].frequency);
}

TEST(MicResponseAnalysis, ACurveAtALowRateHasFewerPoints)
{
    // At 16 kHz the bins end at 7992 Hz: 80 * 200^(i / 63) reaches that before i = 55.
    EXPECT_EQ(displayCurve(Gains(binCount, 1.0F), 16000).size(), 55U);
    // At 384 kHz 80 and 87 Hz and some more lie below bin 1, which begins at 187.5 Hz.
    EXPECT_EQ(displayCurve(Gains(binCount, 1.0F), 384000).size(), 53U);
}

TEST(MicResponseAnalysis, TheHannWindowKeepsThePower)
{
    const auto window = normalizedHannWindow(2048);
    double power = 0;
    for (const float value : window)
        power += static_cast<double>(value) * static_cast<double>(value);
    EXPECT_NEAR(power / 2048, 1, 1e-6);
    EXPECT_EQ(window[0], 0.0F);
    EXPECT_NEAR(static_cast<double>(window[1024]), 2 * 0.81649658, 1e-6);
}

} // namespace
} // namespace velmor
