// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/CalibratorService.h>
#include <calibration/CalibratorTone.h>
#include <calibration/FilterCheck.h>
#include <support/AudioMeasurement.h>
#include <support/Sound.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace velmor {
namespace {

using test::noise;
using test::sine;
using testing::HasSubstr;

std::vector<float> sum(std::vector<float> a, const std::vector<float>& b)
{
    std::ranges::transform(a, b, a.begin(), std::plus());
    return a;
}

CalibratorReading reading(double sampleRate,
                          const std::function<std::vector<float>(std::size_t frames)>& sound)
{
    CalibratorToneAnalyzer analyzer(sampleRate);
    return analyzer.read(sound(analyzer.frameLength()));
}

TEST(CalibratorTone, ItsLevelAndFrequencyAreThoseOfTheSine)
{
    for (const double rate : {44100.0, 48000.0, 96000.0, 192000.0}) {
        for (const double frequency : {981.0, 1000.0, 1003.7, 1019.0}) {
            const auto tone = reading(rate, [&](std::size_t n) { return sine(frequency, 0.2, rate, n); });
            EXPECT_EQ(tone.problem, CalibratorProblem::none);
            EXPECT_NEAR(tone.frequency, frequency, 0.2);
            // An RMS of the amplitude over the root of 2.
            EXPECT_NEAR(tone.level, 20 * std::log10(0.2 / std::sqrt(2)), 0.01) << rate << " " << frequency;
        }
    }
}

TEST(CalibratorTone, AConstantOffsetAndACalibratorsOwnDistortionDoNotMatter)
{
    const auto tone = reading(48000, [](std::size_t n) {
        auto samples = sum(sine(1000, 0.2, 48000, n), sine(2000, 0.2 * 0.03, 48000, n));
        for (float& sample : samples)
            sample += 0.05F;
        return samples;
    });
    EXPECT_EQ(tone.problem, CalibratorProblem::none);
    EXPECT_NEAR(tone.level, 20 * std::log10(0.2 / std::sqrt(2)), 0.01);
}

TEST(CalibratorTone, SilenceIsNoTone)
{
    const auto silence = reading(48000, [](std::size_t n) { return std::vector<float>(n); });
    EXPECT_EQ(silence.problem, CalibratorProblem::noTone);
    EXPECT_EQ(describe(silence), "No tone is heard: put the calibrator on the microphone and switch it on.");
}

TEST(CalibratorTone, AClippedToneIsRefused)
{
    const auto clipped = reading(48000, [](std::size_t n) {
        auto samples = sine(1000, 1.3, 48000, n);
        for (float& sample : samples)
            sample = std::clamp(sample, -1.0F, 1.0F);
        return samples;
    });
    EXPECT_EQ(clipped.problem, CalibratorProblem::clipped);
    EXPECT_EQ(describe(clipped), "The input is clipped: turn the microphone's gain down.");
}

TEST(CalibratorTone, AToneThatIsDistortedBeforeTheInputIsRefused)
{
    // Cut at half of its amplitude, and then far below full scale.
    const auto cut = reading(48000, [](std::size_t n) {
        auto samples = sine(1000, 0.4, 48000, n);
        for (float& sample : samples)
            sample = std::clamp(sample, -0.2F, 0.2F);
        return samples;
    });
    EXPECT_EQ(cut.problem, CalibratorProblem::distorted);
    EXPECT_EQ(describe(cut), "The tone is distorted: turn the microphone's gain down.");
    const auto bent = reading(48000, [](std::size_t n) {
        auto samples = sine(1000, 2, 48000, n);
        for (float& sample : samples)
            sample = 0.3F * std::tanh(sample);
        return samples;
    });
    EXPECT_EQ(bent.problem, CalibratorProblem::distorted);
}

TEST(CalibratorTone, AFrequencyMoreThanTwoPercentOffIsRefused)
{
    for (const double frequency : {250.0, 978.0, 1022.0, 2000.0}) {
        const auto wrong = reading(48000, [&](std::size_t n) { return sine(frequency, 0.2, 48000, n); });
        EXPECT_EQ(wrong.problem, CalibratorProblem::wrongFrequency) << frequency;
        EXPECT_NEAR(wrong.frequency, frequency, 0.5);
    }
    const auto wrong = reading(48000, [](std::size_t n) { return sine(250, 0.2, 48000, n); });
    EXPECT_EQ(describe(wrong), "The tone is at 250 Hz, and a calibrator's is at 1000 Hz.");
}

TEST(CalibratorTone, HumIsRefusedAloneAndBesideTheTone)
{
    for (const double hum : {50.0, 60.0, 100.0}) {
        const auto alone = reading(48000, [&](std::size_t n) { return sine(hum, 0.01, 48000, n); });
        EXPECT_EQ(alone.problem, CalibratorProblem::hum) << hum;
        const auto beside = reading(
            48000, [&](std::size_t n) { return sum(sine(1000, 0.1, 48000, n), sine(hum, 0.01, 48000, n)); });
        EXPECT_EQ(beside.problem, CalibratorProblem::hum) << hum;
        EXPECT_THAT(describe(beside), HasSubstr("There is hum at " + std::to_string(static_cast<int>(hum))));
    }
}

TEST(CalibratorTone, HandlingNoiseIsRefused)
{
    const auto alone = reading(48000, [](std::size_t n) { return noise(0.05, n); });
    EXPECT_EQ(alone.problem, CalibratorProblem::handlingNoise);
    const auto beside =
        reading(48000, [](std::size_t n) { return sum(sine(1000, 0.1, 48000, n), noise(0.01, n)); });
    EXPECT_EQ(beside.problem, CalibratorProblem::handlingNoise);
    EXPECT_EQ(describe(beside), "There is noise beside the tone: put the microphone down and let it rest.");
    const auto quiet =
        reading(48000, [](std::size_t n) { return sum(sine(1000, 0.1, 48000, n), noise(0.0005, n)); });
    EXPECT_EQ(quiet.problem, CalibratorProblem::none);
    EXPECT_EQ(describe(quiet), "");
}

class CalibratorServiceTest : public test::AudioMeasurement
{
protected:
    /// So many seconds of a tone whose amplitude may change in its course.
    void hear(double seconds, const std::function<double(double)>& amplitude, double frequency = 1000)
    {
        const auto blocks = static_cast<std::size_t>(seconds * 48000 / 1024);
        for (std::size_t i = 0; i < blocks; ++i) {
            const double time = static_cast<double>(i) * 1024 / 48000;
            deliver(sine(frequency, amplitude(time), 48000, 1024, heard));
            heard += 1024;
        }
    }
    void hear(double seconds, double amplitude, double frequency = 1000)
    {
        hear(
            seconds, [=](double) { return amplitude; }, frequency);
    }

    Calibrator::Proposed proposed() const
    {
        const auto* found = std::get_if<Calibrator::Proposed>(&calibrator.state.get());
        return found ? *found : Calibrator::Proposed();
    }
    std::string problem() const
    {
        const auto* listening = std::get_if<Calibrator::Listening>(&calibrator.state.get());
        return listening ? listening->problem : "not listening";
    }

    std::size_t heard = 0; ///< Samples of the tone, which goes on without a jump.
    MicFrequencyCorrection correction{defaults};
    CalibratorService calibrator{loop};
};

TEST_F(CalibratorServiceTest, ProposesTheOffsetWithWhichTheProgramReadsTheCalibrator)
{
    calibrator.start(*service, correction, 94);
    EXPECT_TRUE(service->isRunning);
    hear(4.8, 0.1);
    EXPECT_TRUE(calibrator.isListening());
    EXPECT_EQ(problem(), "");
    hear(0.6, 0.1);
    // 94 less the level of an RMS of 0.1 over the root of 2.
    EXPECT_NEAR(proposed().offset, 94 - 20 * std::log10(0.1 / std::sqrt(2)), 0.01);
    EXPECT_EQ(proposed().calibratorLevel, 94);
    EXPECT_NEAR(proposed().frequency, 1000, 0.2);
    EXPECT_FALSE(service->isRunning);

    service->updateCalibrationOffset(proposed().offset);
    service->start();
    hear(2, 0.1);
    EXPECT_NEAR(service->currentSPL, 94, 0.05);
}

TEST_F(CalibratorServiceTest, OtherLevelsShiftTheOffset)
{
    for (const double level : {104.0, 114.0, 93.7}) {
        calibrator.start(*service, correction, level);
        hear(6, 0.1);
        EXPECT_NEAR(proposed().offset, level - 20 * std::log10(0.1 / std::sqrt(2)), 0.01);
        EXPECT_EQ(proposed().calibratorLevel, level);
    }
}

TEST_F(CalibratorServiceTest, WhatTheCorrectionDoesToTheToneIsAllowedFor)
{
    correction.save({{0.5F}, 48000, {}, {}});
    calibrator.start(*service, correction, 94);
    hear(6, 0.1);
    const double without = proposed().offset;
    correction.isEnabled = true;
    calibrator.start(*service, correction, 94);
    hear(6, 0.1);
    EXPECT_NEAR(proposed().offset, without + 6.0206, 0.001);
    service->setMicFreqCorrection(&correction);
    service->updateCalibrationOffset(proposed().offset);
    service->start();
    hear(2, 0.1);
    EXPECT_NEAR(service->currentSPL, 94, 0.05);
    service->setMicFreqCorrection(nullptr);
}

TEST_F(CalibratorServiceTest, WaitsUntilTheLevelIsSteadyToATenthOfADecibelFor5Seconds)
{
    calibrator.start(*service, correction, 94);
    // Falls by 0.05 dB a second: of 5 seconds, at most 2 are as steady as that.
    hear(20, [](double time) { return 0.1 * std::pow(10, -0.05 * time / 20); });
    EXPECT_TRUE(calibrator.isListening());
    EXPECT_EQ(problem(), "The level is not steady: wait for it to settle.");
    hear(2.5, 0.1 * std::pow(10, -0.05 * 20 / 20));
    EXPECT_TRUE(calibrator.isListening());
    hear(1.5, 0.1 * std::pow(10, -0.05 * 20 / 20));
    EXPECT_FALSE(calibrator.isListening());
    EXPECT_NE(proposed().offset, 0);
}

TEST_F(CalibratorServiceTest, ADisturbanceBeginsTheWaitAnewAndSaysWhich)
{
    calibrator.start(*service, correction, 94);
    hear(4, 0.1);
    deliver(noise(0.2, 1024));
    heard += 1024;
    hear(0.2, 0.1);
    EXPECT_EQ(problem(), "There is noise beside the tone: put the microphone down and let it rest.");
    hear(4.6, 0.1);
    EXPECT_TRUE(calibrator.isListening());
    EXPECT_EQ(problem(), "");
    hear(1, 0.1);
    EXPECT_FALSE(calibrator.isListening());
}

TEST_F(CalibratorServiceTest, AWrongFrequencyIsNeverProposed)
{
    calibrator.start(*service, correction, 94);
    hear(10, 0.1, 250);
    EXPECT_TRUE(calibrator.isListening());
    EXPECT_EQ(problem(), "The tone is at 250 Hz, and a calibrator's is at 1000 Hz.");
    EXPECT_EQ(std::get<Calibrator::Listening>(calibrator.state.get()).steadySeconds, 0);
}

TEST_F(CalibratorServiceTest, ALevelThatNoCalibratorHasIsRefused)
{
    for (const double level : {59.9, 140.1, std::nan("")}) {
        calibrator.start(*service, correction, level);
        EXPECT_EQ(calibrator.state.get(),
                  CalibratorState(Calibrator::Failed{"A calibrator's level lies between 60 and 140 dB."}));
    }
    EXPECT_TRUE(audio.engines.empty());
}

TEST_F(CalibratorServiceTest, AMicrophoneThatCannotStartFails)
{
    service->hasPermission = false;
    calibrator.start(*service, correction, 94);
    EXPECT_EQ(calibrator.state.get(),
              CalibratorState(Calibrator::Failed{"Could not start microphone input"}));
}

TEST_F(CalibratorServiceTest, ALostInputFails)
{
    calibrator.start(*service, correction, 94);
    hear(1, 0.1);
    service->stop();
    loop.runPosted();
    EXPECT_EQ(calibrator.state.get(), CalibratorState(Calibrator::Failed{"The input was lost."}));
}

TEST_F(CalibratorServiceTest, ACaptureThatBeginsAgainAtOnceIsALostInput)
{
    calibrator.start(*service, correction, 94);
    hear(1, 0.1);
    // As after a failed restart.
    service->stop();
    service->start();
    loop.runPosted();
    EXPECT_EQ(calibrator.state.get(), CalibratorState(Calibrator::Failed{"The input was lost."}));
}

TEST_F(CalibratorServiceTest, AnotherSampleRateEndsTheRun)
{
    calibrator.start(*service, correction, 94);
    hear(1, 0.1);
    audio.engine().format = {44100, 2};
    audio.engine().changeConfiguration();
    loop.runFor(0.4);
    hear(1, 0.1);
    EXPECT_EQ(calibrator.state.get(),
              CalibratorState(Calibrator::Failed{"The input has changed. Begin again."}));
    EXPECT_FALSE(service->isRunning);
}

TEST_F(CalibratorServiceTest, CancellingClosesTheMicrophoneThatItOpened)
{
    calibrator.start(*service, correction, 94);
    hear(1, 0.1);
    calibrator.cancel();
    EXPECT_EQ(calibrator.state.get(), CalibratorState(Calibrator::Idle()));
    EXPECT_FALSE(service->isRunning);
    loop.runPosted();
    EXPECT_EQ(calibrator.state.get(), CalibratorState(Calibrator::Idle()));

    service->start();
    calibrator.start(*service, correction, 94);
    calibrator.cancel();
    EXPECT_TRUE(service->isRunning);
}

} // namespace
} // namespace velmor
