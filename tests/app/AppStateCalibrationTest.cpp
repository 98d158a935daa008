// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/JsonRecord.h>
#include <support/CalibrationHub.h>

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

namespace velmor {
namespace {

using AppStateCalibrationTest = test::CalibrationHub;

TEST_F(AppStateCalibrationTest, TheMicrophoneIsOpenWhileTheNoisePlays)
{
    hub->pinkNoisePlayer.start(std::nullopt);
    EXPECT_FALSE(hub->audioService.isRunning); // In the next turn of the loop.
    host.loop.runPosted();
    EXPECT_TRUE(hub->audioService.isRunning);
    hub->pinkNoisePlayer.stop();
    host.loop.runPosted();
    EXPECT_FALSE(hub->audioService.isRunning);
}

TEST_F(AppStateCalibrationTest, NoiseThatBeginsOrEndsDuringASessionChangesNothingOfTheCapture)
{
    hub->manualStartSession();
    hub->pinkNoisePlayer.start(std::nullopt);
    host.loop.runPosted();
    EXPECT_EQ(host.audio.engines.size(), 1U);
    hub->pinkNoisePlayer.stop();
    host.loop.runPosted();
    EXPECT_TRUE(hub->audioService.isRunning);
    EXPECT_EQ(host.audio.engines.size(), 1U);
}

TEST_F(AppStateCalibrationTest, ASessionBegunWhileTheNoisePlaysEndsTheNoiseAndKeepsTheCapture)
{
    ASSERT_TRUE(hub->startTargetCalibration());
    host.loop.runPosted();
    hub->startSession("REAPER");
    EXPECT_FALSE(hub->pinkNoisePlayer.isPlaying);
    EXPECT_EQ(hub->targetCalibrationService.state.get(), TargetCalibrationState(TargetCalibration::Idle()));
    host.loop.runPosted();
    EXPECT_TRUE(hub->audioService.isRunning);
    EXPECT_EQ(host.audio.engines.size(), 1U);
    EXPECT_TRUE(hub->sessionManager.currentSession.get());
}

TEST_F(AppStateCalibrationTest, ASessionEndsAMeasurementOfTheMicrophoneInAnyState)
{
    for (const int blocks : {-1, 0, 50, 201}) {
        SCOPED_TRACE(blocks);
        hub->measureMicResponse();
        // In the turn after the computation has begun, before its result can come.
        const Subscription computing = hub->micResponseService.state.subscribe([this](const auto& state) {
            if (std::holds_alternative<MicCalibration::Computing>(state))
                host.loop.post([this] { hub->startSession("REAPER"); });
        });
        if (blocks >= 0) {
            host.loop.runFor(1);
            hearNoise(blocks);
        }
        if (blocks < 201) {
            ASSERT_TRUE(hub->micResponseService.isInProgress());
            hub->startSession("REAPER");
        }
        host.loop.runPosted();
        EXPECT_EQ(micState(), MicCalibrationState(MicCalibration::Idle()));
        EXPECT_FALSE(hub->pinkNoisePlayer.isPlaying);
        EXPECT_TRUE(hub->audioService.isRunning);
        // The session's sound is not measured for the noise.
        hearNoise(250);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        host.loop.runFor(5);
        EXPECT_EQ(micState(), MicCalibrationState(MicCalibration::Idle()));
        EXPECT_EQ(hub->micFreqCorrection.profile.get(), std::nullopt);
        EXPECT_TRUE(hub->audioService.isRunning);
        hub->endSession();
        host.loop.runPosted();
        EXPECT_FALSE(hub->audioService.isRunning);
    }
}

TEST_F(AppStateCalibrationTest, ASessionEndsTheListeningForACalibrator)
{
    EXPECT_TRUE(hub->startCalibrator(94));
    hub->startSession("REAPER");
    EXPECT_EQ(hub->calibratorService.state.get(), CalibratorState(Calibrator::Idle()));
    EXPECT_TRUE(hub->audioService.isRunning);
    hearTone(6, 0.1);
    EXPECT_EQ(hub->calibratorService.state.get(), CalibratorState(Calibrator::Idle()));
    EXPECT_FALSE(hub->startCalibrator(94));
}

TEST_F(AppStateCalibrationTest, AMeasurementPutsTheCorrectionInForceAndTheMicrophoneIsClosedAgain)
{
    hub->settings.selectedOutputDeviceUID = "interface";
    measure();
    EXPECT_EQ(micState(), MicCalibrationState(MicCalibration::Done()));
    EXPECT_EQ(host.playback.engine().deviceID, 12U);
    EXPECT_TRUE(hub->micFreqCorrection.isEnabled);
    host.loop.runPosted();
    EXPECT_FALSE(hub->audioService.isRunning);
    restart();
    EXPECT_TRUE(hub->micFreqCorrection.isEnabled);
    EXPECT_EQ(hub->micFreqCorrection.profile.get()->taps.size(), 128U);
}

TEST_F(AppStateCalibrationTest,
       NoiseThatPlayedBeforeAMeasurementClosesAndOpensTheMicrophoneAndItRunsAllTheSame)
{
    hub->pinkNoisePlayer.start(std::nullopt);
    host.loop.runPosted();
    measure();
    EXPECT_EQ(micState(), MicCalibrationState(MicCalibration::Done()));
    host.loop.runPosted();
    EXPECT_FALSE(hub->audioService.isRunning);
    EXPECT_FALSE(hub->pinkNoisePlayer.isPlaying);
}

TEST_F(AppStateCalibrationTest, TheCorrectionIsAppliedToWhatIsMeasured)
{
    hub->settings.calibrationOffset = 94;
    hub->startSession("REAPER");
    hearTone(2, 0.1);
    const double plain = hub->audioService.currentSPL;
    hub->micFreqCorrection.save(halving);
    hub->micFreqCorrection.isEnabled = true;
    hearTone(2, 0.1);
    EXPECT_NEAR(hub->audioService.currentSPL, plain - 6.0206, 0.02);
}

TEST_F(AppStateCalibrationTest, TheNoiseOfAMeasurementIsNotLentToTheTargetCalibration)
{
    hub->measureMicResponse();
    EXPECT_FALSE(hub->startTargetCalibration());
    EXPECT_EQ(hub->targetCalibrationService.state.get(), TargetCalibrationState(TargetCalibration::Idle()));
    EXPECT_FALSE(hub->startCalibrator(94));
}

TEST_F(AppStateCalibrationTest, TheTargetIsKeptForTheSelectedOutputAndThePresentReference)
{
    hub->settings.selectedOutputDeviceUID = "interface";
    ReferenceLevelSettings reference = hub->referenceTracker.settings;
    reference.target = 83;
    reference.tolerance = 5;
    hub->referenceTracker.settings = reference;
    ASSERT_TRUE(hub->startTargetCalibration());
    host.loop.runPosted();
    hub->audioService.currentSPL = 82.4;
    hub->captureTarget();
    hub->saveTargetCalibration(" 11 o'clock ");
    restart();
    EXPECT_EQ(hub->targetCalibrationStore.record("interface"),
              (TargetCalibrationRecord{host.loop.now(), "interface", "Interface (Acme)", 83, 5, 82.4,
                                       "11 o'clock"}));
}

TEST_F(AppStateCalibrationTest, ATargetOfTheDefaultOutputIsKeptUnderAnEmptyUID)
{
    ASSERT_TRUE(hub->startTargetCalibration());
    hub->captureTarget();
    hub->saveTargetCalibration("");
    EXPECT_EQ(hub->targetCalibrationStore.record("")->outputDeviceName, "System Default");
}

TEST_F(AppStateCalibrationTest, AProfileKeepsTheOffsetTheDeviceAndTheCorrection)
{
    hub->settings.selectedDeviceUID = "interface";
    hub->settings.calibrationOffset = 101.5;
    hub->micFreqCorrection.save(halving);
    hub->saveCalibrationProfile("  ");
    const auto profile = hub->calibrationProfileStore.profiles.get().front();
    EXPECT_EQ(profile.label, "Interface (Acme)");
    EXPECT_EQ(profile.deviceUID, "interface");
    EXPECT_EQ(profile.deviceName, "Interface (Acme)");
    EXPECT_EQ(profile.levelOffsetAtSave, 101.5);
    EXPECT_EQ(profile.freqProfile, halving);
    EXPECT_EQ(profile.savedDate, host.loop.now());

    hub->settings.selectedDeviceUID = "";
    hub->saveCalibrationProfile("");
    EXPECT_EQ(hub->calibrationProfileStore.profiles.get().front().label, "System Default");
    EXPECT_EQ(hub->calibrationProfileStore.profiles.get().front().deviceUID, "");
}

TEST_F(AppStateCalibrationTest, AnotherInputOrNoiseEndsTheListeningForACalibrator)
{
    const CalibratorState changed = Calibrator::Failed{"The input has changed. Begin again."};
    hub->settings.selectedDeviceUID = "mic";
    ASSERT_TRUE(hub->startCalibrator(94));
    hub->pinkNoisePlayer.start(std::nullopt);
    host.loop.runPosted();
    EXPECT_EQ(hub->calibratorService.state.get(), changed);
    EXPECT_TRUE(hub->audioService.isRunning);
    hub->pinkNoisePlayer.stop();
    host.loop.runPosted();
    // The default is another one while the run goes on.
    hub->settings.selectedDeviceUID = "";
    ASSERT_TRUE(hub->startCalibrator(94));
    host.loop.runPosted();
    EXPECT_TRUE(hub->calibratorService.isListening());
    std::swap(host.audio.inputs[0], host.audio.inputs[1]);
    host.audio.changed();
    host.loop.runPosted();
    EXPECT_EQ(hub->calibratorService.state.get(), changed);
    // Noise that ended just before leaves the run its capture.
    hub->pinkNoisePlayer.start(std::nullopt);
    host.loop.runPosted();
    hub->pinkNoisePlayer.stop();
    ASSERT_TRUE(hub->startCalibrator(94));
    host.loop.runPosted();
    EXPECT_TRUE(hub->calibratorService.isListening());
    EXPECT_TRUE(hub->audioService.isRunning);
}

TEST_F(AppStateCalibrationTest, TheNoiseAndTheMicrophoneAreLentToOneCalibrationAtATime)
{
    ASSERT_TRUE(hub->startCalibrator(94));
    ASSERT_TRUE(hub->startTargetCalibration());
    EXPECT_EQ(hub->calibratorService.state.get(), CalibratorState(Calibrator::Idle()));
    host.loop.runPosted();
    EXPECT_TRUE(hub->audioService.isRunning);
    EXPECT_FALSE(hub->startCalibrator(94));
    hub->measureMicResponse();
    EXPECT_FALSE(hub->micResponseService.isInProgress());
    hub->captureTarget();
    // What has been captured waits to be kept.
    hub->measureMicResponse();
    EXPECT_FALSE(hub->micResponseService.isInProgress());
    EXPECT_FALSE(hub->startCalibrator(94));
    EXPECT_TRUE(
        std::holds_alternative<TargetCalibration::Captured>(hub->targetCalibrationService.state.get()));
    hub->targetCalibrationService.cancel();
    hub->measureMicResponse();
    EXPECT_TRUE(hub->micResponseService.isInProgress());
}

TEST_F(AppStateCalibrationTest, AMicrophonesOwnDataBecomesItsCorrection)
{
    hub->applyMicrophoneData({{{20, 0}, {1000, 0}, {8000, 3}, {20000, 3}}, {}});
    EXPECT_TRUE(hub->micFreqCorrection.isEnabled);
    EXPECT_EQ(hub->micFreqCorrection.profile.get()->sampleRate, 48000);
    EXPECT_EQ(hub->micFreqCorrection.profile.get()->measuredDate, host.loop.now());
    host.loop.runPosted();
    EXPECT_TRUE(trust().concerns.empty());
}

TEST_F(AppStateCalibrationTest, AnImportIsTakenByTheStoresAndTheCorrection)
{
    hub->saveCalibrationProfile("old");
    hub->micFreqCorrection.save(halving);
    const TargetCalibrationRecord record{host.loop.now(), "interface", "Interface", 79, 3, 79, ""};
    host.defaults.set("TargetCalibrations.byOutputDevice",
                      dataOf(encodedJson(TargetCalibrationStore::Records{{"interface", record}}).value()));
    host.defaults.remove("calibrationProfiles_v1");
    MicCorrectionProfile imported = halving;
    imported.taps = {0.75F};
    host.defaults.set("micCorrectionProfile", dataOf(encodedJson(imported).value()));
    host.defaults.set("micFreqCorrectionEnabled", true);
    hub->settings.calibrationOffset = 100;
    host.defaults.set("calibrationOffset", 97.0);
    hub->refreshAfterTovikImport();
    host.loop.runPosted();
    // By hand, and nobody knows when.
    EXPECT_EQ(hub->settings.calibrationOffset, 97);
    EXPECT_EQ(trust().method, CalibrationMethod::slider);
    EXPECT_EQ(trust().date, std::nullopt);
    EXPECT_EQ(hub->targetCalibrationStore.record("interface"), record);
    EXPECT_TRUE(hub->calibrationProfileStore.profiles.get().empty());
    EXPECT_EQ(hub->micFreqCorrection.profile.get(), imported);
    EXPECT_TRUE(hub->micFreqCorrection.isEnabled);
}

TEST_F(AppStateCalibrationTest, TheHubAnnouncesTheChangesOfTheCalibrations)
{
    int announcements = 0;
    const Subscription subscription = hub->onChange([&] { ++announcements; });
    const auto announces = [&](const auto& change) {
        announcements = 0;
        change();
        host.loop.runPosted();
        return announcements > 0;
    };
    EXPECT_TRUE(announces([&] { hub->pinkNoisePlayer.isPlaying = false; }));
    EXPECT_TRUE(announces([&] { hub->micResponseService.dismiss(); }));
    EXPECT_TRUE(announces([&] { hub->calibrationProfileStore.remove(makeUuid()); }));
    EXPECT_TRUE(announces([&] { hub->micFreqCorrection.isEnabled = false; }));
    EXPECT_TRUE(announces([&] { hub->targetCalibrationStore.clearAll(); }));
    EXPECT_TRUE(announces([&] { hub->targetCalibrationService.dismiss(); }));
    EXPECT_TRUE(announces([&] { hub->calibratorService.cancel(); }));
}

TEST_F(AppStateCalibrationTest, TheEndOfTheProgramEndsTheNoise)
{
    hub->measureMicResponse();
    hub->endForGood();
    EXPECT_FALSE(hub->pinkNoisePlayer.isPlaying);
    EXPECT_FALSE(hub->audioService.isRunning);
}

} // namespace
} // namespace velmor
