// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/MicResponseCalibrationService.h>
#include <calibration/PinkNoiseGenerator.h>
#include <support/AudioMeasurement.h>
#include <support/FakePlayback.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <variant>
#include <vector>

namespace velmor {
namespace {

using namespace MicCalibration;

/// A measurement on a fake machine, whose microphone hears what the test delivers.
class MicResponseCalibrationServiceTest : public test::AudioMeasurement
{
protected:
    void start(const std::optional<std::string>& outputUID = std::nullopt)
    {
        calibration->start(*service, player, outputUID, correction);
    }

    /// A block of noise on the capture thread's side.
    void hear(std::size_t frames = 1024)
    {
        std::vector<float> block(frames);
        for (float& sample : block)
            sample = 0.25F * noise.next();
        deliver(block);
    }

    void settle()
    {
        start();
        loop.runFor(1.0);
    }

    /// All blocks of a measurement: 201 of 1024 samples.
    void hearAll()
    {
        for (int block = 0; block < 201; ++block)
            hear();
    }

    /// Runs the task in the turn after the computation has begun, before its result can come.
    void whenComputing(const Task& task)
    {
        computing = calibration->state.subscribe([this, task](const MicCalibrationState& state) {
            if (std::holds_alternative<Computing>(state))
                loop.post(task);
        });
    }

    /// The analysis runs on a thread of its own.
    void awaitState(const MicCalibrationState& expected)
    {
        for (int i = 0; i < 500 && calibration->state.get() != expected; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            loop.runPosted();
        }
        EXPECT_EQ(calibration->state.get(), expected);
    }

    test::FakePlayback playback;
    PinkNoisePlayer player{playback, audio};
    MicFrequencyCorrection correction{defaults};
    PinkNoiseGenerator noise;
    Subscription computing;
    std::unique_ptr<MicResponseCalibrationService> calibration =
        std::make_unique<MicResponseCalibrationService>(loop);
};

TEST_F(MicResponseCalibrationServiceTest, ARunSettlesMeasuresComputesAndPutsTheCorrectionInForce)
{
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Idle()));
    start("interface");
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Settling()));
    EXPECT_TRUE(calibration->isInProgress());
    EXPECT_TRUE(service->isRunning);
    EXPECT_TRUE(player.isPlaying);
    EXPECT_EQ(playback.engine().deviceID, 12U);
    loop.runFor(0.999);
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Settling()));
    loop.runFor(0.001);
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Measuring{0}));
    hear();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Measuring{0}));
    hear();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Measuring{1 / 200.0}));
    for (int block = 2; block < 200; ++block)
        hear();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Measuring{199 / 200.0}));
    bool wasPlayingWhileComputing = false;
    whenComputing([&] { wasPlayingWhileComputing = player.isPlaying; });
    hear();
    EXPECT_TRUE(wasPlayingWhileComputing);
    awaitState(Done());
    EXPECT_FALSE(player.isPlaying);
    EXPECT_FALSE(service->isRunning);
    ASSERT_TRUE(correction.profile.get());
    EXPECT_EQ(correction.profile.get()->taps.size(), 128U);
    EXPECT_EQ(correction.profile.get()->sampleRate, 48000);
    EXPECT_EQ(correction.profile.get()->measuredDate, loop.now());
    EXPECT_TRUE(correction.isEnabled);
    calibration->dismiss();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Idle()));
}

TEST_F(MicResponseCalibrationServiceTest, MeasuresWhatTheMicrophoneHearsAndNotWhatACorrectionMakesOfIt)
{
    correction.save({{0.001F}, 48000, {}, {}});
    correction.isEnabled = true;
    service->setMicFreqCorrection(&correction);
    settle();
    hearAll();
    awaitState(Done());
    // The same noise without any correction.
    MicResponseAccumulator plain;
    plain.reset();
    PinkNoiseGenerator generator;
    std::vector<float> samples(MicResponse::sampleCount);
    for (float& sample : samples)
        sample = 0.25F * generator.next();
    plain.receive(samples);
    EXPECT_EQ(correction.profile.get(), micCorrectionProfile(plain.accumulatedPower(), 200, 48000,
                                                             plain.transform().value(), loop.now()));
    service->setMicFreqCorrection(nullptr);
}

TEST_F(MicResponseCalibrationServiceTest, StartingFromDoneOrFailedDoesNothing)
{
    calibration->state = Done();
    start();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Done()));
    EXPECT_FALSE(service->isRunning);
    EXPECT_FALSE(player.isPlaying);
    calibration->state = Failed{"x"};
    start();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Failed{"x"}));
    EXPECT_TRUE(audio.engines.empty());
}

TEST_F(MicResponseCalibrationServiceTest, StartingARunThatIsUnderWayDoesNothing)
{
    start();
    start("interface");
    EXPECT_EQ(playback.engines.size(), 1U);
    EXPECT_EQ(playback.engine().deviceID, std::nullopt);
}

TEST_F(MicResponseCalibrationServiceTest, CancellingWhileSettlingLeavesTheScheduledTaskWithoutEffect)
{
    service->start();
    start();
    calibration->cancel();
    EXPECT_FALSE(player.isPlaying);
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Settling())); // Until the next turn.
    loop.runPosted();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Idle()));
    loop.runFor(2);
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Idle()));
    EXPECT_TRUE(service->isRunning);
    hearAll();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Idle()));
}

TEST_F(MicResponseCalibrationServiceTest, ARunBegunWithinTheSettlingOfACancelledOneSettlesWholly)
{
    start();
    loop.runFor(0.6);
    calibration->cancel();
    loop.runPosted();
    start();
    loop.runFor(0.6);
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Settling()));
    loop.runFor(0.4);
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Measuring{0}));
}

TEST_F(MicResponseCalibrationServiceTest, CancellingWhileMeasuringEndsTheNoiseAndTheCaptureThatTheRunBegan)
{
    settle();
    hear();
    hear();
    calibration->cancel();
    loop.runPosted();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Idle()));
    EXPECT_FALSE(player.isPlaying);
    EXPECT_FALSE(service->isRunning);
    EXPECT_EQ(correction.profile.get(), std::nullopt);
}

TEST_F(MicResponseCalibrationServiceTest, ACaptureThatWasOnBeforeStaysOn)
{
    service->start();
    settle();
    hearAll();
    awaitState(Done());
    EXPECT_TRUE(service->isRunning);
    EXPECT_FALSE(player.isPlaying);
}

TEST_F(MicResponseCalibrationServiceTest, CancellingWhileComputingDropsTheResult)
{
    settle();
    bool isCancelled = false;
    whenComputing([&] {
        calibration->cancel();
        isCancelled = true;
    });
    hearAll();
    EXPECT_TRUE(isCancelled);
    loop.runPosted();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Idle()));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    loop.runPosted();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Idle()));
    EXPECT_EQ(correction.profile.get(), std::nullopt);
    EXPECT_FALSE(correction.isEnabled);
    computing.disconnect();
    // The next run is a whole one, and waits for the thread of this one.
    settle();
    hearAll();
    awaitState(Done());
    EXPECT_TRUE(correction.profile.get());
}

TEST_F(MicResponseCalibrationServiceTest, CancellingFromDoneOrFailedGoesToIdle)
{
    for (const MicCalibrationState& state : {MicCalibrationState(Done()), MicCalibrationState(Failed{"x"})}) {
        calibration->state = state;
        calibration->cancel();
        loop.runPosted();
        EXPECT_EQ(calibration->state.get(), MicCalibrationState(Idle()));
    }
}

TEST_F(MicResponseCalibrationServiceTest, AMicrophoneThatCannotStartFails)
{
    service->hasPermission = false;
    start();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Failed{"Could not start microphone input"}));
    EXPECT_TRUE(playback.engines.empty());
}

TEST_F(MicResponseCalibrationServiceTest, NoiseThatCannotStartFailsInTheNextTurnAndLeavesTheCaptureOn)
{
    playback.prepareEngine = [](auto& engine) { engine.startError = "busy"; };
    start();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Idle()));
    loop.runPosted();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Failed{"Could not start pink noise playback"}));
    EXPECT_TRUE(service->isRunning);
    loop.runFor(2);
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Failed{"Could not start pink noise playback"}));
}

TEST_F(MicResponseCalibrationServiceTest, AnEmptyUIDIsTheSystemsDefault)
{
    start("");
    EXPECT_EQ(playback.engine().deviceID, std::nullopt);
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Settling()));
}

TEST_F(MicResponseCalibrationServiceTest, NoiseThatPlaysAlreadyBeginsAnewOnTheOutputThatIsAskedFor)
{
    player.start(std::nullopt);
    start("interface");
    EXPECT_EQ(playback.engines.size(), 2U);
    EXPECT_FALSE(playback.engines.front()->isStarted);
    EXPECT_EQ(playback.engine().deviceID, 12U);
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Settling()));
}

TEST_F(MicResponseCalibrationServiceTest, WithoutAudioItMeasuresUntilItIsCancelled)
{
    settle();
    loop.runFor(3600);
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Measuring{0}));
}

TEST_F(MicResponseCalibrationServiceTest, AnOutputLostWhileMeasuringEndsWhatIsTakenForTheNoise)
{
    service->start();
    settle();
    hear();
    hear();
    playback.engine().changeConfiguration();
    hearAll();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Measuring{1 / 200.0}));
    calibration->cancel();
    loop.runPosted();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Idle()));
    EXPECT_TRUE(service->isRunning);
    EXPECT_EQ(correction.profile.get(), std::nullopt);
}

TEST_F(MicResponseCalibrationServiceTest, AnOutputLostWhileSettlingLeavesNothingToMeasure)
{
    service->start();
    start();
    playback.engine().changeConfiguration();
    loop.runFor(1);
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Measuring{0}));
    hearAll();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Measuring{0}));
}

TEST_F(MicResponseCalibrationServiceTest,
       AnInputLostWhileMeasuringLeavesItMeasuringAndALaterCaptureIsNotMeasured)
{
    settle();
    hear();
    hear();
    service->stop();
    service->start();
    hearAll();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Measuring{1 / 200.0}));
    calibration->cancel();
    loop.runPosted();
    EXPECT_FALSE(player.isPlaying);
}

TEST_F(MicResponseCalibrationServiceTest, TheRateOfTheLastBlockIsTheProfiles)
{
    settle();
    hear();
    audio.engine().format = {44100, 2};
    audio.engine().changeConfiguration();
    loop.runFor(0.4);
    hearAll();
    awaitState(Done());
    EXPECT_EQ(correction.profile.get()->sampleRate, 44100);
}

TEST_F(MicResponseCalibrationServiceTest, ARecordingThatIsWholeIsComputedWhateverHappensThen)
{
    settle();
    // Heard, and not yet told on the main thread.
    for (int block = 0; block < 201; ++block)
        audio.engine().deliver(std::vector<float>(1024, 0.1F));
    playback.engine().changeConfiguration();
    loop.runPosted();
    awaitState(Done());
}

TEST_F(MicResponseCalibrationServiceTest, WhoeverCancelsAtTheVeryMomentOfComputingIsHeard)
{
    settle();
    const Subscription subscription = calibration->state.subscribe([this](const auto& state) {
        if (std::holds_alternative<Computing>(state))
            calibration->cancel();
    });
    hearAll();
    loop.runPosted();
    EXPECT_EQ(calibration->state.get(), MicCalibrationState(Idle()));
    EXPECT_EQ(correction.profile.get(), std::nullopt);
}

TEST_F(MicResponseCalibrationServiceTest, SamplesOfTheCaptureThreadMayMeetACancellation)
{
    service->start();
    std::atomic<bool> ends = false;
    std::thread captureThread([&] {
        const std::vector<float> block(1024, 0.1F);
        while (!ends)
            audio.engine().deliver(block);
    });
    for (int round = 0; round < 50; ++round) {
        settle();
        for (int turn = 0; turn < 5; ++turn)
            loop.runPosted();
        calibration->cancel();
        loop.runPosted();
        EXPECT_EQ(calibration->state.get(), MicCalibrationState(Idle()));
    }
    ends = true;
    captureThread.join();
    loop.runPosted();
    EXPECT_EQ(correction.profile.get(), std::nullopt);
}

TEST_F(MicResponseCalibrationServiceTest, MayGoInTheMiddleOfItsAnalysis)
{
    service->start();
    settle();
    whenComputing([this] { calibration.reset(); });
    hearAll();
    EXPECT_EQ(calibration, nullptr);
    hear();
    EXPECT_EQ(correction.profile.get(), std::nullopt);
}

} // namespace
} // namespace velmor
