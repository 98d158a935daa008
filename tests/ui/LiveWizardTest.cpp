// SPDX-License-Identifier: GPL-3.0-or-later
// Both calibrations from the first press to what is kept, in the window of settings. Everything is real but
// the loudspeaker, the room and the microphone.
#include "SettingsDriver.h"

#include <app/AppState.h>
#include <linux/PipeWireCapture.h>
#include <linux/PipeWireGraph.h>
#include <linux/PipeWirePlayback.h>
#include <linux/QtMainLoop.h>
#include <platform/LoginItem.h>
#include <platform/MemoryDefaultsStore.h>
#include <platform/Workspace.h>
#include <support/CapturedOutput.h>
#include <support/FakeNotificationCenter.h>
#include <support/PrivateAudioSession.h>
#include <support/VirtualRoom.h>

#include <QSlider>

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <string>
#include <utility>

namespace velmor {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

/// The loop of the program, whose clock can be moved.
class MovedClock final : public MainLoop
{
public:
    explicit MovedClock(MainLoop& loop)
        : m_loop(loop)
    {}

    Date now() const override { return m_loop.now() + ahead; }
    void post(Task task) override { m_loop.post(std::move(task)); }
    void after(double seconds, Task task) override { m_loop.after(seconds, std::move(task)); }
    Timer every(double seconds, Task task) override { return m_loop.every(seconds, std::move(task)); }
    Timer at(Date moment, Task task) override { return m_loop.at(moment - ahead, std::move(task)); }
    std::unique_ptr<Doorbell> doorbell(Task task) override { return m_loop.doorbell(std::move(task)); }

    std::chrono::hours ahead{0};

private:
    MainLoop& m_loop;
};

class LiveWizardTest : public testing::Test, protected test::SettingsDriver
{
protected:
    void SetUp() override
    {
        if (!session.problem().empty()) {
            ASSERT_FALSE(test::packagesMustBeThere()) << "no PipeWire: " << session.problem();
            // Without its packages there is nothing real to test against; where CI runs they are installed.
            GTEST_SKIP() << "no PipeWire can be started here: " << session.problem();
        }
        room.createDevices();
        graph = std::make_unique<PipeWireGraph>(loop);
        ASSERT_TRUE(waitFor([this] { return graph->defaultSink() && graph->defaultSource(); }));
        capture = std::make_unique<PipeWireCapture>(loop, *graph);
        playback = std::make_unique<PipeWirePlayback>(loop, *graph);
        start();
        hub->settings.selectedDeviceUID = "testmic";
        hub->settings.selectedOutputDeviceUID = "monitors";
        room.linkThroughRoom();
    }

    ~LiveWizardTest() override { window.reset(); }

    void start()
    {
        hub =
            std::make_unique<AppState>(Host{clock, *capture, *graph, *playback, defaults, calendar,
                                            notifications, loginItem, workspace, SessionStorage::nowhere()});
        window = std::make_unique<SettingsView>(*hub, defaults, workspace, [] {});
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    }

    /// Ends the program and starts it again.
    void restart()
    {
        window.reset();
        hub.reset();
        start();
    }

    template <typename Condition>
    static bool waitFor(Condition condition)
    {
        constexpr int patienceMilliseconds = 15'000;
        return QTest::qWaitFor(condition, patienceMilliseconds);
    }

    bool says(const std::string& text) const { return std::ranges::count(texts(), text) > 0; }

    /// Waits until the window says it.
    bool comes(const std::string& text)
    {
        return waitFor([&] { return says(text); });
    }

    void press(const char* name)
    {
        SettingsDriver::press(name);
        QTest::qWait(150);
    }

    void moveOffsetTo(double offset)
    {
        auto& slider = control<QSlider>("Calibration Offset");
        slider.setValue(static_cast<int>(std::lround(offset * 10)));
        QTest::qWait(150);
    }

    /// The level of the noise, dBA, over three seconds. From one moment to the next it wanders by a decibel.
    double meanLevel() const
    {
        constexpr int readings = 30;
        double energy = 0;
        for (int i = 0; i < readings; ++i) {
            QTest::qWait(100);
            energy += std::pow(10, hub->audioService.currentSPL / 10) / readings;
        }
        return 10 * std::log10(energy);
    }

    void measureResponse()
    {
        press("Measure Response");
        EXPECT_TRUE(comes("Playing pink noise — letting room settle…"));
        EXPECT_TRUE(comes("Capturing mic response…"));
        EXPECT_TRUE(comes("Correction applied."));
        press("Dismiss");
    }

    test::PrivateAudioSession session;
    const test::QuietLines quietLines;
    test::VirtualRoom room{session};
    QtMainLoop loop;
    MovedClock clock{loop};
    MemoryDefaultsStore defaults;
    Calendar calendar = Calendar::inZone("UTC").value();
    test::FakeNotificationCenter notifications;
    NoLoginItem loginItem;
    NoWorkspace workspace;
    std::unique_ptr<PipeWireGraph> graph;
    std::unique_ptr<PipeWireCapture> capture;
    std::unique_ptr<PipeWirePlayback> playback;
    std::unique_ptr<AppState> hub;
};

TEST_F(LiveWizardTest, AMeasuredResponseIsAppliedSavedAsAProfileAndTakenFromItAgain)
{
    EXPECT_TRUE(comes("No measurement — flat response assumed"));
    measureResponse();
    EXPECT_TRUE(says("Correction measured"));
    EXPECT_TRUE(hub->micFreqCorrection.isEnabled);
    ASSERT_TRUE(hub->micFreqCorrection.profile.get());
    const MicCorrectionProfile measured = *hub->micFreqCorrection.profile.get();
    for (const FrequencyCurvePoint& point : measured.correctionCurve) {
        const double frequency = static_cast<double>(point.frequency);
        if (frequency >= 400 && frequency <= 12000) {
            EXPECT_NEAR(static_cast<double>(point.gainDB), test::VirtualRoom::correctionDB(frequency, 48000),
                        1.0)
                << frequency << " Hz";
        }
    }
    EXPECT_TRUE(waitFor([this] { return !hub->audioService.isRunning; }));

    moveOffsetTo(97.3);
    QTest::keyClicks(&control<QLineEdit>("Label"), "Superlux at desk");
    press("Save Profile");
    EXPECT_THAT(texts(), AllOf(Contains("Superlux at desk"), Contains(HasSubstr("Offset at save: 97.3"))));

    press("Clear Measurement");
    EXPECT_TRUE(says("No measurement — flat response assumed"));
    press("Reset to Default");
    EXPECT_TRUE(says("94.0 dB"));

    restart();
    EXPECT_TRUE(comes("Superlux at desk"));
    press("Apply");
    EXPECT_TRUE(says("Correction measured"));
    EXPECT_TRUE(says("97.3 dB"));
    EXPECT_EQ(hub->micFreqCorrection.profile.get()->taps, measured.taps);
    EXPECT_TRUE(hub->micFreqCorrection.isEnabled);
}

TEST_F(LiveWizardTest, TheTargetIsCapturedAdjustedAndSavedAndAgesWithTheClock)
{
    ASSERT_EQ(hub->referenceTracker.settings.get().target, 79.0);
    EXPECT_TRUE(comes("Not yet calibrated"));
    EXPECT_TRUE(says("Pin your monitor controller to the 79 ±3 dBA reference."));
    press("Run Calibration Wizard");
    EXPECT_TRUE(comes("Calibration noise playing"));
    ASSERT_TRUE(waitFor([this] { return hub->audioService.isRunning.get(); }));
    QTest::qWait(2000);
    // The loudspeaker is half as loud as it should be.
    moveOffsetTo(hub->settings.calibrationOffset + 79.0 - 6.02 - meanLevel());
    EXPECT_NEAR(meanLevel(), 79.0 - 6.02, 0.5);
    EXPECT_THAT(texts(), Contains(HasSubstr("dB too quiet — adjust monitor controller")));
    press("Capture position");
    EXPECT_THAT(texts(),
                AllOf(Contains(ContainsRegex("Captured at 7[1-4]\\.")), Contains("outside ±3 band")));
    EXPECT_FALSE(hub->pinkNoisePlayer.isPlaying);

    press("Adjust again");
    EXPECT_TRUE(comes("Calibration noise playing"));
    room.doubleLevel();
    EXPECT_TRUE(comes("On target — capture now"));
    QTest::qWait(2000);
    press("Capture position");
    EXPECT_THAT(texts(), Not(Contains("outside ±3 band")));
    QTest::keyClicks(&control<QLineEdit>("Mark your physical position so you can return to it later"),
                     "11 o'clock dot");
    press("Save calibration");
    EXPECT_TRUE(says("Calibration saved"));
    EXPECT_FALSE(hub->pinkNoisePlayer.isPlaying);
    EXPECT_TRUE(waitFor([this] { return !hub->audioService.isRunning; }));
    const auto record = hub->targetCalibrationStore.record("monitors");
    ASSERT_TRUE(record);
    EXPECT_NEAR(record->measuredDBA, 79.0, 1.5);
    EXPECT_EQ(record->knobNote, "11 o'clock dot");
    press("Done");
    EXPECT_THAT(texts(), AllOf(Contains("11 o'clock dot"), Contains("Recalibrate"),
                               Not(Contains("Recalibration recommended (>90 days old)"))));

    ReferenceLevelSettings settings = hub->referenceTracker.settings;
    settings.target = 83;
    hub->referenceTracker.settings = settings;
    EXPECT_TRUE(comes("Captured for 79 dBA target — current target is 83 dBA"));
    clock.ahead = std::chrono::hours(24 * 91);
    restart();
    EXPECT_TRUE(comes("Recalibration recommended (>90 days old)"));
    EXPECT_THAT(texts(), Contains(HasSubstr("91 days ago")));
    EXPECT_TRUE(says("Captured for 79 dBA target — current target is 83 dBA"));
}

} // namespace
} // namespace velmor
