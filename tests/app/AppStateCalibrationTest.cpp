// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/JsonRecord.h>
#include <calibration/PinkNoiseGenerator.h>
#include <support/CapturedOutput.h>
#include <support/HubHost.h>
#include <support/Sound.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

namespace velmor {
namespace {

/// A hub on a fake machine, whose microphone hears what the test delivers.
class AppStateCalibrationTest : public testing::Test
{
protected:
    AppStateCalibrationTest() { restart(); }

    void restart()
    {
        hub.reset();
        hub = std::make_unique<AppState>(host.host());
        host.loop.runPosted();
    }

    void hear(const std::vector<float>& block)
    {
        host.audio.engine().deliver(block);
        host.loop.runPosted();
    }

    void hearNoise(int blocks)
    {
        for (int i = 0; i < blocks; ++i) {
            std::vector<float> block(1024);
            for (float& sample : block)
                sample = 0.25F * noise.next();
            hear(block);
        }
    }

    void hearTone(double seconds, double amplitude)
    {
        for (std::size_t i = 0; i < static_cast<std::size_t>(seconds * 48000 / 1024); ++i)
            hear(test::sine(1000, amplitude, 48000, 1024, i * 1024));
    }

    void measure()
    {
        hub->measureMicResponse();
        host.loop.runFor(1);
        hearNoise(201);
        for (int i = 0; i < 500 && hub->micResponseService.isInProgress(); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            host.loop.runPosted();
        }
    }

    MicCalibrationState micState() const { return hub->micResponseService.state.get(); }
    const CalibrationTrust& trust() const { return hub->calibrationTrust.trust.get(); }

    const test::QuietLines quietLines;
    test::HubHost host;
    PinkNoiseGenerator noise;
    std::unique_ptr<AppState> hub;
    const MicCorrectionProfile halving{{0.5F}, 48000, {}, {{1000, -6.0206F}}};
};

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

TEST_F(AppStateCalibrationTest, ApplyingAProfileSetsTheOffsetAndNeverSwitchesTheDevice)
{
    hub->settings.selectedDeviceUID = "interface";
    hub->settings.calibrationOffset = 101.5;
    hub->saveCalibrationProfile("plain");
    hub->settings.selectedDeviceUID = "mic";
    hub->settings.calibrationOffset = 90;
    hub->micFreqCorrection.save(halving);
    hub->applyCalibrationProfile(hub->calibrationProfileStore.profiles.get().front());
    EXPECT_EQ(hub->settings.calibrationOffset, 101.5);
    EXPECT_EQ(hub->settings.selectedDeviceUID.get(), "mic");
    EXPECT_EQ(hub->micFreqCorrection.profile.get(), halving);
    EXPECT_FALSE(hub->micFreqCorrection.isEnabled);
    host.loop.runFor(2 * 86400);
    EXPECT_EQ(trust().method, CalibrationMethod::profile);
    // Of the day of saving, and of the device of that day.
    EXPECT_EQ(trust().ageInDays(host.loop.now()), 2);
    EXPECT_EQ(trust().concerns,
              std::vector<std::string>{"calibrated with Interface (Acme), measuring with Measurement Mic"});
    restart();
    EXPECT_EQ(trust().method, CalibrationMethod::profile);
    EXPECT_EQ(hub->settings.calibrationOffset, 101.5);
}

TEST_F(AppStateCalibrationTest, AnAcceptedCalibratorSetsTheOffsetAndIsRemembered)
{
    hub->settings.selectedDeviceUID = "mic";
    ASSERT_TRUE(hub->startCalibrator(104));
    hearTone(6, 0.1);
    ASSERT_TRUE(std::holds_alternative<Calibrator::Proposed>(hub->calibratorService.state.get()));
    EXPECT_EQ(hub->settings.calibrationOffset, 94); // Nothing is set without a word.
    hub->acceptCalibratorOffset();
    EXPECT_NEAR(hub->settings.calibrationOffset, 104 - 20 * std::log10(0.1 / std::sqrt(2)), 0.01);
    EXPECT_EQ(hub->calibratorService.state.get(), CalibratorState(Calibrator::Idle()));
    EXPECT_FALSE(hub->audioService.isRunning);
    host.loop.runFor(86400 * 3);
    EXPECT_EQ(trust().method, CalibrationMethod::calibrator);
    EXPECT_EQ(trust().calibratorLevel, 104);
    EXPECT_EQ(trust().ageInDays(host.loop.now()), 3);
    EXPECT_TRUE(trust().concerns.empty());
    const double offset = hub->settings.calibrationOffset;
    hub->acceptCalibratorOffset();
    EXPECT_EQ(hub->settings.calibrationOffset, offset);
}

TEST_F(AppStateCalibrationTest, AProposalIsOfTheChainThatItWasFoundOn)
{
    hub->settings.selectedDeviceUID = "mic";
    ASSERT_TRUE(hub->startCalibrator(94));
    hearTone(6, 0.1);
    hub->settings.selectedDeviceUID = "interface";
    hub->acceptCalibratorOffset();
    host.loop.runPosted();
    EXPECT_EQ(trust().method, CalibrationMethod::calibrator);
    EXPECT_EQ(trust().concerns,
              std::vector<std::string>{"calibrated with Measurement Mic, measuring with Interface (Acme)"});
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

TEST_F(AppStateCalibrationTest, TheChannelIsTheOneThatIsMeasured)
{
    hub->settings.selectedDeviceUID = "mic";
    hub->settings.calibrationOffset = 100;
    hub->startSession("REAPER");
    hub->deviceManager.selectedChannelIndex = 1;
    host.loop.runPosted();
    EXPECT_TRUE(trust().concerns.empty());
    hub->endSession();
    host.loop.runPosted();
    EXPECT_EQ(trust().concerns, std::vector<std::string>{"calibrated on channel 1, measuring channel 2"});
    // A device of fewer channels is measured on its first.
    host.audio.channelCounts[12] = 1;
    host.audio.unplug("mic");
    host.audio.changed();
    host.loop.runPosted();
    EXPECT_EQ(hub->inputChain().deviceUID, "interface");
    EXPECT_EQ(hub->inputChain().channel, 0);
}

TEST_F(AppStateCalibrationTest, AProfileWithACorrectionIsOfThatCorrectionAndOneWithoutOfNone)
{
    hub->settings.calibrationOffset = 100;
    hub->saveCalibrationProfile("without");
    hub->micFreqCorrection.save(halving);
    hub->saveCalibrationProfile("with");
    const auto profiles = hub->calibrationProfileStore.profiles.get();
    hub->applyCalibrationProfile(profiles[0]);
    host.loop.runPosted();
    EXPECT_TRUE(trust().concerns.empty());
    hub->applyCalibrationProfile(profiles[1]);
    host.loop.runPosted();
    EXPECT_EQ(trust().concerns,
              std::vector<std::string>{"correction filter changed levels by -6.0 dB since calibration"});
}

TEST_F(AppStateCalibrationTest, TheTrustTellsOfACorrectionThatIsTurnedOnOrMeasuredAfterwards)
{
    hub->settings.calibrationOffset = 100;
    hub->micFreqCorrection.save(halving);
    host.loop.runPosted();
    EXPECT_TRUE(trust().concerns.empty());
    hub->micFreqCorrection.isEnabled = true;
    host.loop.runPosted();
    EXPECT_EQ(trust().concerns,
              std::vector<std::string>{"correction filter changed levels by -6.0 dB since calibration"});
    hub->settings.calibrationOffset = 106;
    host.loop.runPosted();
    EXPECT_TRUE(trust().concerns.empty());
    hub->micFreqCorrection.clear();
    host.loop.runPosted();
    EXPECT_EQ(trust().concerns,
              std::vector<std::string>{"correction filter changed levels by +6.0 dB since calibration"});
}

TEST_F(AppStateCalibrationTest, ACalibratedMicrophoneThatIsNotThereIsStoodInForByTheDefault)
{
    std::swap(host.audio.inputs[0], host.audio.inputs[1]);
    restart();
    hub->settings.selectedDeviceUID = "mic";
    hub->settings.calibrationOffset = 100;
    host.loop.runPosted();
    EXPECT_TRUE(trust().concerns.empty());
    host.audio.unplug("mic");
    host.audio.changed();
    host.loop.runPosted();
    const std::vector<std::string> concern = {
        "calibrated with Measurement Mic, measuring with Interface (Acme)"};
    EXPECT_EQ(trust().concerns, concern);
    hub->startSession("REAPER");
    host.loop.runPosted();
    EXPECT_EQ(host.audio.engine().deviceID, std::nullopt);
    EXPECT_EQ(trust().concerns, concern);
    // One that is back isn't measured with until capture begins anew.
    host.audio.inputs.push_back({11, "Measurement Mic", "Unknown", "mic", true});
    host.audio.changed();
    host.loop.runPosted();
    EXPECT_EQ(trust().concerns, concern);
    hub->endSession();
    host.loop.runPosted();
    EXPECT_TRUE(trust().concerns.empty());
}

TEST_F(AppStateCalibrationTest, TheNoiseAndTheMicrophoneAreLentToOneCalibrationAtATime)
{
    ASSERT_TRUE(hub->startCalibrator(94));
    ASSERT_TRUE(hub->startTargetCalibration());
    EXPECT_EQ(hub->calibratorService.state.get(), CalibratorState(Calibrator::Idle()));
    host.loop.runPosted();
    EXPECT_TRUE(hub->audioService.isRunning);
    EXPECT_FALSE(hub->startCalibrator(94));
    hub->captureTarget();
    hub->measureMicResponse();
    EXPECT_EQ(hub->targetCalibrationService.state.get(), TargetCalibrationState(TargetCalibration::Idle()));
    EXPECT_TRUE(hub->micResponseService.isInProgress());
}

TEST_F(AppStateCalibrationTest, TheTrustFollowsTheSlider)
{
    EXPECT_EQ(trust().method, CalibrationMethod::never);
    hub->settings.calibrationOffset = 100;
    host.loop.runPosted();
    EXPECT_EQ(trust().method, CalibrationMethod::slider);
    EXPECT_EQ(trust().date, host.loop.now());
}

TEST_F(AppStateCalibrationTest, TheTrustFollowsDeviceChannelVolumeAndClipping)
{
    hub->settings.selectedDeviceUID = "mic";
    host.audio.volumes[{11, 0}] = {1.0, false};
    hub->settings.calibrationOffset = 100;
    host.loop.runPosted();
    EXPECT_TRUE(trust().concerns.empty());

    host.audio.volumes[{11, 0}] = {0.5, false};
    host.audio.changed();
    host.loop.runPosted();
    EXPECT_EQ(trust().concerns,
              std::vector<std::string>{"input volume changed by -6.0 dB since calibration"});
    host.audio.volumes[{11, 0}] = {1.0, false};
    hub->deviceManager.selectedChannelIndex = 1;
    host.loop.runPosted();
    EXPECT_EQ(trust().concerns, std::vector<std::string>{"calibrated on channel 1, measuring channel 2"});
    hub->settings.selectedDeviceUID = "interface";
    host.loop.runPosted();
    EXPECT_EQ(trust().concerns,
              std::vector<std::string>{"calibrated with Measurement Mic, measuring with Interface (Acme)"});
    hub->settings.selectedDeviceUID = "mic";
    hub->startSession("REAPER");
    hear({0, 1, 1, 1, 0});
    EXPECT_EQ(trust().concerns, std::vector<std::string>{"input clipped once"});
    hear(std::vector<float>(9000));
    EXPECT_EQ(trust().concerns,
              (std::vector<std::string>{"input clipped once", "1 block of sound was lost"}));
    // What went wrong stands until capture begins anew.
    hub->endSession();
    host.loop.runPosted();
    EXPECT_EQ(trust().concerns.size(), 2U);
    hub->startSession("REAPER");
    host.loop.runPosted();
    EXPECT_TRUE(trust().concerns.empty());
}

TEST_F(AppStateCalibrationTest, TheSystemsDefaultIsTheDeviceThatItIsNow)
{
    hub->settings.calibrationOffset = 100;
    host.loop.runPosted();
    EXPECT_TRUE(trust().concerns.empty());
    std::swap(host.audio.inputs[0], host.audio.inputs[1]);
    host.audio.changed();
    host.loop.runPosted();
    EXPECT_EQ(trust().concerns,
              std::vector<std::string>{"calibrated with Measurement Mic, measuring with Interface (Acme)"});
}

TEST_F(AppStateCalibrationTest, AFilterThatDepartsFromItsCurveIsToldAtStartAndAfterEachProfile)
{
    const MicCorrectionProfile departing{{0.25F}, 48000, {}, {{1000, 0}}};
    hub->micFreqCorrection.save(departing);
    host.loop.runPosted();
    ASSERT_TRUE(trust().filterDeparture);
    EXPECT_NEAR(*trust().filterDeparture, 12.04, 0.01);
    EXPECT_TRUE(trust().concerns.empty());
    hub->micFreqCorrection.isEnabled = true;
    host.loop.runPosted();
    EXPECT_EQ(trust().concerns,
              std::vector<std::string>{"correction filter departs from its curve by 12.0 dB"});
    restart();
    EXPECT_EQ(trust().concerns.size(), 1U);
    EXPECT_TRUE(hub->micFreqCorrection.isEnabled); // Nothing is turned off by itself.
    hub->micFreqCorrection.save(halving);
    host.loop.runPosted();
    EXPECT_TRUE(trust().concerns.empty());
    hub->micFreqCorrection.clear();
    host.loop.runPosted();
    EXPECT_EQ(trust().filterDeparture, std::nullopt);
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
