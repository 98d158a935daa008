// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/CalibrationHub.h>

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace velmor {
namespace {

using AppStateTrustTest = test::CalibrationHub;

TEST_F(AppStateTrustTest, ApplyingAProfileSetsTheOffsetAndNeverSwitchesTheDevice)
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

TEST_F(AppStateTrustTest, AnAcceptedCalibratorSetsTheOffsetAndIsRemembered)
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

TEST_F(AppStateTrustTest, AProposalIsOfTheChainThatItWasFoundOn)
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

TEST_F(AppStateTrustTest, TheChannelIsTheOneThatIsMeasured)
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

TEST_F(AppStateTrustTest, AProfileWithACorrectionIsOfThatCorrectionAndOneWithoutOfNone)
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

TEST_F(AppStateTrustTest, TheTrustTellsOfACorrectionThatIsTurnedOnOrMeasuredAfterwards)
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

TEST_F(AppStateTrustTest, ACalibratedMicrophoneThatIsNotThereIsStoodInForByTheDefault)
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

TEST_F(AppStateTrustTest, TheTrustFollowsTheSlider)
{
    EXPECT_EQ(trust().method, CalibrationMethod::never);
    hub->settings.calibrationOffset = 100;
    host.loop.runPosted();
    EXPECT_EQ(trust().method, CalibrationMethod::slider);
    EXPECT_EQ(trust().date, host.loop.now());
}

TEST_F(AppStateTrustTest, TheTrustFollowsDeviceChannelVolumeAndClipping)
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

TEST_F(AppStateTrustTest, TheSystemsDefaultIsTheDeviceThatItIsNow)
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

TEST_F(AppStateTrustTest, AFilterThatDepartsFromItsCurveIsToldAtStartAndAfterEachProfile)
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

} // namespace
} // namespace velmor
