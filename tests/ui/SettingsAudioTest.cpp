// SPDX-License-Identifier: GPL-3.0-or-later
#include "SettingsFixture.h"

#include <ui/SendToVeskSheet.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QRadioButton>
#include <QSlider>

#include <cstdint>

namespace velmor {
namespace {

using namespace velmor::test;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class SettingsAudioTest : public SettingsFixture
{
protected:
    void select() { open(SettingsTab::audio); }
};

TEST_F(SettingsAudioTest, DevicesAndChannelsAreChosen)
{
    select();
    EXPECT_EQ(choices("Input Device"),
              QStringList({"System Default", "Measurement Mic", "Interface (Acme)"}));
    EXPECT_EQ(choices("Output Device"), QStringList({"System Default", "Interface (Acme)"}));
    choose("Input Device", 2);
    EXPECT_EQ(stored<std::string>("selectedDeviceUID"), "interface");
    settle();
    EXPECT_EQ(choices("Input Channel").size(), 8);
    choose("Input Channel", 3);
    EXPECT_EQ(stored<std::int64_t>("selectedChannelIndex"), 3);
    choose("Output Device", 1);
    EXPECT_EQ(stored<std::string>("selectedOutputDeviceUID"), "interface");
    choose("Output Device", 0);
    EXPECT_EQ(stored<std::string>("selectedOutputDeviceUID"), "");
    // One that is gone is none of the list, and stays chosen.
    posed.host.audio.unplug("interface");
    press("Refresh Devices");
    settle();
    EXPECT_EQ(choices("Input Device"), QStringList({"System Default", "Measurement Mic"}));
    EXPECT_EQ(control<QComboBox>("Input Device").currentIndex(), -1);
    EXPECT_EQ(stored<std::string>("selectedDeviceUID"), "interface");
}

TEST_F(SettingsAudioTest, WhereTheMicrophoneStandsIsRemembered)
{
    select();
    QTest::keyClicks(&control<QLineEdit>("Mic Location"), "1m behind");
    EXPECT_EQ(stored<std::string>("micLocationNote"), "1m behind");
    select();
    EXPECT_EQ(control<QLineEdit>("Mic Location").text(), QStringLiteral("1m behind"));
}

TEST_F(SettingsAudioTest, TheOffsetIsSetAndReset)
{
    select();
    auto& slider = control<QSlider>("Calibration Offset");
    EXPECT_EQ(slider.minimum(), 600);
    EXPECT_EQ(slider.maximum(), 1200);
    QTest::keyClick(&slider, Qt::Key_Right);
    EXPECT_EQ(stored<double>("calibrationOffset"), 94.1);
    slider.setValue(1034);
    EXPECT_EQ(stored<double>("calibrationOffset"), 103.4);
    settle();
    EXPECT_THAT(texts(), Contains("103.4 dB"));
    press("Reset to Default");
    EXPECT_EQ(stored<double>("calibrationOffset"), 94.0);
    settle();
    EXPECT_EQ(slider.value(), 940);
}

TEST_F(SettingsAudioTest, AnOffsetBetweenTheStepsIsLeftAlone)
{
    posed.hub->settings.calibrationOffset = 101.23;
    select();
    settle();
    EXPECT_EQ(stored<double>("calibrationOffset"), 101.23);
}

TEST_F(SettingsAudioTest, TheLiveReadingNeedsASource)
{
    select();
    EXPECT_THAT(texts(), Contains("Play noise or start a session"));
    posed.session("REAPER");
    setLevels(*posed.hub, 81.23, 84);
    settle();
    EXPECT_THAT(texts(), Contains("81.2 dBA"));
    posed.hub->endSession();
    press("Play Pink Noise");
    settle();
    EXPECT_TRUE(posed.hub->pinkNoisePlayer.isPlaying);
    press("Stop Pink Noise");
    settle();
    EXPECT_FALSE(posed.hub->pinkNoisePlayer.isPlaying);
}

TEST_F(SettingsAudioTest, TheResponseIsMeasuredAndTheNoiseIsItsOwnMeanwhile)
{
    select();
    EXPECT_THAT(texts(), Contains("No measurement — flat response assumed"));
    press("Measure Response");
    settle();
    EXPECT_THAT(texts(), Contains("Playing pink noise — letting room settle…"));
    EXPECT_THAT(texts(), Contains("Pink noise in use by mic response measurement"));
    EXPECT_FALSE(control<QAbstractButton>("Play Pink Noise").isEnabled());
    EXPECT_FALSE(control<QAbstractButton>("Run Calibration Wizard").isEnabled());
    posed.host.loop.runFor(1.1);
    settle();
    EXPECT_THAT(texts(), Contains("Capturing mic response…"));
    press("Cancel");
    settle();
    EXPECT_TRUE(control<QAbstractButton>("Measure Response").isEnabled());
    EXPECT_TRUE(control<QAbstractButton>("Run Calibration Wizard").isEnabled());
}

TEST_F(SettingsAudioTest, WhatWasCapturedIsLostToNoOtherButton)
{
    const auto isEnabled = [this](const char* name) { return control<QAbstractButton>(name).isEnabled(); };
    select();
    press("Run Calibration Wizard");
    settle();
    EXPECT_FALSE(isEnabled("Measure Response"));
    setLevels(*posed.hub, 79, 80);
    press("Capture position");
    settle();
    EXPECT_FALSE(isEnabled("Measure Response"));
    EXPECT_FALSE(isEnabled("Play Pink Noise"));
    EXPECT_THAT(texts(), Contains("Step 3 is under way: save or cancel it first").Times(2));
    press("Listen to Calibrator");
    settle();
    EXPECT_THAT(texts(), Contains("Captured at 79.0 dBA"));
    press("Save calibration");
    settle();
    EXPECT_TRUE(isEnabled("Measure Response"));
    EXPECT_TRUE(isEnabled("Play Pink Noise"));
}

TEST_F(SettingsAudioTest, ANoteIsOfTheRunThatItWasTypedIn)
{
    constexpr auto noteName = "Mark your physical position so you can return to it later";
    const auto capture = [this] {
        press("Run Calibration Wizard");
        settle();
        press("Capture position");
        settle();
    };
    select();
    capture();
    QTest::keyClicks(&control<QLineEdit>(noteName), "11 o'clock");
    // A session ends the run.
    posed.hub->startSession("REAPER");
    settle();
    posed.hub->endSession();
    settle();
    capture();
    EXPECT_EQ(control<QLineEdit>(noteName).text(), QString());
}

TEST_F(SettingsAudioTest, ACorrectionIsShownAndCleared)
{
    MicCorrectionProfile profile;
    profile.taps = {1.0F};
    profile.sampleRate = 48000;
    profile.correctionCurve = {{100, 2}, {1000, 0}, {10000, -3}};
    posed.hub->micFreqCorrection.save(profile);
    select();
    EXPECT_THAT(texts(), Contains("Correction measured"));
    press("Clear Measurement");
    settle();
    EXPECT_THAT(texts(), Contains("No measurement — flat response assumed"));
    EXPECT_FALSE(posed.hub->micFreqCorrection.profile.get());
}

TEST_F(SettingsAudioTest, ProfilesAreSavedAppliedAndDeleted)
{
    select();
    EXPECT_THAT(texts(), Contains("Stores current level offset (94.0 dB) for System Default."));
    control<QLineEdit>("Label").setText("  ");
    press("Save Profile");
    settle();
    ASSERT_EQ(posed.hub->calibrationProfileStore.profiles.get().size(), 1U);
    // One of spaces alone is the device's name.
    EXPECT_EQ(posed.hub->calibrationProfileStore.profiles.get()[0].label, "System Default");
    posed.hub->settings.calibrationOffset = 101.5;
    settle();
    control<QLineEdit>("Label").setText("At desk");
    press("Save Profile");
    settle();
    EXPECT_EQ(control<QLineEdit>("Label").text(), QString());
    EXPECT_EQ(posed.hub->calibrationProfileStore.profiles.get()[0].label, "At desk");
    EXPECT_THAT(texts(), Contains(HasSubstr("Offset at save: 101.5")));
    MicCorrectionProfile correction;
    correction.taps = {0.5F};
    correction.sampleRate = 48000;
    posed.hub->micFreqCorrection.save(correction);
    posed.hub->micFreqCorrection.isEnabled = true;
    settle();
    QTest::mouseClick(&control<QAbstractButton>("Apply", 1), Qt::LeftButton);
    EXPECT_EQ(stored<double>("calibrationOffset"), 94.0);
    // It was saved without a correction, and leaves the one in force.
    EXPECT_EQ(posed.hub->micFreqCorrection.profile.get(), correction);
    EXPECT_TRUE(posed.hub->micFreqCorrection.isEnabled);
    press("Delete At desk");
    settle();
    ASSERT_EQ(posed.hub->calibrationProfileStore.profiles.get().size(), 1U);
    EXPECT_THAT(texts(), Not(Contains("At desk")));
}

TEST_F(SettingsAudioTest, TheTargetIsCapturedAdjustedAndSaved)
{
    select();
    EXPECT_THAT(texts(), Contains("Not yet calibrated"));
    EXPECT_THAT(texts(), Contains("Pin your monitor controller to the 79 ±3 dBA reference."));
    press("Run Calibration Wizard");
    settle();
    EXPECT_THAT(texts(), Contains("Calibration noise playing"));
    setLevels(*posed.hub, 82.4, 85);
    settle();
    EXPECT_THAT(texts(), Contains("3.4 dB too loud — adjust monitor controller"));
    press("Capture position");
    settle();
    EXPECT_THAT(texts(), Contains("Captured at 82.4 dBA"));
    EXPECT_THAT(texts(), Contains("outside ±3 band"));
    press("Adjust again");
    settle();
    setLevels(*posed.hub, 79.2, 82);
    settle();
    EXPECT_THAT(texts(), Contains("On target — capture now"));
    press("Capture position");
    settle();
    EXPECT_THAT(texts(), Not(Contains(HasSubstr("outside"))));
    QTest::keyClicks(&control<QLineEdit>("Mark your physical position so you can return to it later"),
                     " 11 o'clock dot ");
    press("Save calibration");
    settle();
    EXPECT_THAT(texts(), Contains("Calibration saved"));
    press("Done");
    settle();
    EXPECT_THAT(texts(), Contains("11 o'clock dot"));
    EXPECT_THAT(texts(), Contains("Calibrated for System Default"));
    EXPECT_THAT(texts(), Contains("79 dBA, 0 days ago"));
    EXPECT_THAT(texts(), Not(Contains(HasSubstr("Recalibration"))));
    // Another target, and time that passes.
    ReferenceLevelSettings reference = posed.hub->referenceTracker.settings;
    reference.target = 85;
    posed.hub->referenceTracker.settings = reference;
    posed.host.loop.setClock(posed.host.loop.now() + std::chrono::hours(24 * 90) + std::chrono::seconds(60));
    settle();
    EXPECT_THAT(texts(), Contains("Captured for 79 dBA target — current target is 85 dBA"));
    EXPECT_THAT(texts(), Contains("Recalibration recommended (>90 days old)"));
    EXPECT_THAT(texts(), Contains("Recalibrate"));
}

TEST_F(SettingsAudioTest, TheNoteStaysWhateverChangesMeanwhile)
{
    select();
    press("Run Calibration Wizard");
    setLevels(*posed.hub, 79, 82);
    settle();
    press("Capture position");
    settle();
    constexpr auto field = "Mark your physical position so you can return to it later";
    QTest::keyClicks(&control<QLineEdit>(field), "dot");
    ReferenceLevelSettings reference = posed.hub->referenceTracker.settings;
    reference.target = 80;
    posed.hub->referenceTracker.settings = reference;
    settle();
    EXPECT_EQ(control<QLineEdit>(field).text(), QStringLiteral("dot"));
    press("Adjust again");
    settle();
    press("Capture position");
    settle();
    EXPECT_EQ(control<QLineEdit>(field).text(), QStringLiteral("dot"));
    press("Save calibration");
    EXPECT_EQ(posed.hub->targetCalibrationStore.record("")->knobNote, "dot");
}

TEST_F(SettingsAudioTest, TheWizardsNoiseAndDevicesAreItsOwn)
{
    select();
    press("Run Calibration Wizard");
    settle();
    EXPECT_FALSE(control<QAbstractButton>("Play Pink Noise").isEnabled());
    for (const char* const picker : {"Input Device", "Input Channel", "Output Device"})
        EXPECT_FALSE(control<QComboBox>(picker).isEnabled()) << picker;
    press("Cancel");
    settle();
    EXPECT_TRUE(control<QAbstractButton>("Play Pink Noise").isEnabled());
    EXPECT_TRUE(control<QComboBox>("Output Device").isEnabled());
    EXPECT_FALSE(posed.hub->pinkNoisePlayer.isPlaying);
}

TEST_F(SettingsAudioTest, NoiseThatPlaysAlreadyGivesWayToTheWizards)
{
    posed.hub->settings.selectedOutputDeviceUID = "";
    select();
    press("Play Pink Noise");
    settle();
    posed.hub->settings.selectedOutputDeviceUID = "interface";
    settle();
    press("Run Calibration Wizard");
    settle();
    EXPECT_TRUE(posed.hub->pinkNoisePlayer.isPlaying);
    EXPECT_TRUE(posed.host.playback.engine().deviceID.has_value());
}

TEST_F(SettingsAudioTest, WithoutAudioThereIsNothingToCapture)
{
    select();
    press("Run Calibration Wizard");
    settle();
    EXPECT_TRUE(control<QAbstractButton>("Capture position").isEnabled());
    posed.hub->audioService.stop();
    settle();
    EXPECT_THAT(texts(), Contains("Waiting for audio…"));
    EXPECT_FALSE(control<QAbstractButton>("Capture position").isEnabled());
}

TEST_F(SettingsAudioTest, ClosingTheWindowEndsWhatHasItsButtonsThere)
{
    for (const char* const button :
         {"Play Pink Noise", "Measure Response", "Run Calibration Wizard", "Listen to Calibrator"}) {
        SCOPED_TRACE(button);
        select();
        press(button);
        settle();
        EXPECT_TRUE(posed.hub->pinkNoisePlayer.isPlaying || posed.hub->calibratorService.isListening());
        window->close();
        settle();
        EXPECT_FALSE(posed.hub->pinkNoisePlayer.isPlaying);
        EXPECT_FALSE(posed.hub->calibratorService.isListening());
        EXPECT_FALSE(posed.hub->micResponseService.isInProgress());
        EXPECT_FALSE(posed.hub->audioService.isRunning);
        EXPECT_EQ(posed.hub->targetCalibrationService.state.get(),
                  TargetCalibrationState(TargetCalibration::Idle()));
    }
}

TEST_F(SettingsAudioTest, WhoGoesByKeysStaysWhereTheButtonWas)
{
    select();
    window->activateWindow();
    auto& button = control<QAbstractButton>("Play Pink Noise");
    button.setFocus(Qt::TabFocusReason);
    QTest::keyClick(&button, Qt::Key_Space);
    settle();
    auto* const focused = qobject_cast<QAbstractButton*>(window->focusWidget());
    ASSERT_NE(focused, nullptr);
    EXPECT_EQ(focused->text(), QStringLiteral("Stop Pink Noise"));
}

TEST_F(SettingsAudioTest, ANoiseThatDoesNotStartIsToldAndDismissed)
{
    posed.host.playback.prepareEngine = [](FakePlaybackEngine& engine) { engine.startError = "busy"; };
    select();
    press("Run Calibration Wizard");
    settle();
    EXPECT_THAT(texts(),
                Contains("Calibration failed: Could not start pink noise on the selected output. Check that "
                         "the device is connected and not in exclusive use."));
    press("Dismiss");
    settle();
    EXPECT_THAT(texts(), Contains("Not yet calibrated"));
}

class SendToVeskTest : public SettingsAudioTest
{
protected:
    void SetUp() override
    {
        posed.hub->targetCalibrationStore.save(
            {posed.host.loop.now(), "", "System Default", 79.4, 3, 78.96, ""});
    }

    SendToVeskSheet& sheet() const
    {
        auto* const found = window->findChild<SendToVeskSheet*>();
        if (!found)
            throw std::runtime_error("no sheet");
        return *found;
    }

    template <typename Control>
    Control& part(const char* name) const
    {
        for (Control* const found : sheet().findChildren<Control*>()) {
            if (found->accessibleName() == QLatin1String(name))
                return *found;
        }
        throw std::runtime_error(name);
    }

    void pressInSheet(const char* text) const
    {
        for (auto* const found : sheet().findChildren<QAbstractButton*>()) {
            if (found->text() == QLatin1String(text))
                QTest::mouseClick(found, Qt::LeftButton);
        }
    }
};

TEST_F(SendToVeskTest, WithoutTheProgramThereIsAHint)
{
    select();
    EXPECT_THAT(texts(), Contains(HasSubstr("Recall this position with one keystroke using")));
    EXPECT_THAT(texts(), Not(Contains("Send to Vesk")));
}

TEST_F(SendToVeskTest, OneThatIsInstalledMeanwhileIsFoundWhenTheWindowComesBack)
{
    select();
    posed.host.workspace.openedSchemes = {"vesk"};
    QWidget other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    settle();
    EXPECT_THAT(texts(), Contains("Send to Vesk"));
}

TEST_F(SendToVeskTest, TheSheetSendsSlotNameAndLevel)
{
    posed.host.workspace.openedSchemes = {"vesk"};
    select();
    press("Send to Vesk");
    EXPECT_EQ(sheet().QWidget::width(), 380);
    EXPECT_TRUE(part<QRadioButton>("Slot 2").isChecked());
    EXPECT_EQ(part<QLineEdit>("Name").text(), QStringLiteral("K-14"));
    part<QLineEdit>("Name").setText("   ");
    for (const auto* const found : sheet().findChildren<QAbstractButton*>())
        EXPECT_EQ(found->isEnabled(), found->text() != QStringLiteral("Send to Vesk"));
    pressInSheet("Send to Vesk");
    EXPECT_THAT(posed.host.workspace.opened, IsEmpty());
    part<QLineEdit>("Name").setText(" Late & quiet ");
    QTest::mouseClick(&part<QRadioButton>("Slot 3"), Qt::LeftButton);
    part<QRadioButton>("Slot 3").setChecked(true);
    pressInSheet("Send to Vesk");
    EXPECT_THAT(posed.host.workspace.opened,
                ElementsAre("vesk://reference/3/save?name=Late%20%26%20quiet&dBSPL=79.0"));
    EXPECT_EQ(stored<std::int64_t>("VeskIntegration.lastSlot"), 3);
}

TEST_F(SendToVeskTest, CancellingRemembersNothing)
{
    posed.host.workspace.openedSchemes = {"vesk"};
    select();
    press("Send to Vesk");
    part<QRadioButton>("Slot 1").setChecked(true);
    pressInSheet("Cancel");
    EXPECT_EQ(stored<std::int64_t>("VeskIntegration.lastSlot"), std::nullopt);
    EXPECT_THAT(posed.host.workspace.opened, IsEmpty());
}

} // namespace
} // namespace velmor
