// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/AppState.h>
#include <support/CapturedOutput.h>
#include <support/HubHost.h>
#include <support/Sound.h>

#include <gtest/gtest.h>

#include <cmath>

namespace velmor {
namespace {

class AppStateTest : public testing::Test
{
protected:
    test::QuietLines quietLines;

    /// Blocks of a steady tone for so long, at the moments when they would come.
    void sound(double seconds, double amplitude)
    {
        const Date end = loop.now() + nanosecondsFrom(seconds);
        while (loop.now() < end) {
            loop.runFor(1024.0 / 48000);
            audio.engine().deliver(test::sine(1000, amplitude, 48000, 1024, m_frame));
            loop.runPosted();
            m_frame += 1024;
        }
    }

    test::HubHost host;
    test::FakeAudio& audio = host.audio;
    VirtualMainLoop& loop = host.loop;
    MemoryDefaultsStore& defaults = host.defaults;

private:
    std::size_t m_frame = 0;
};

TEST_F(AppStateTest, TheTickCarriesThePublishedLevelsIntoTheDose)
{
    defaults.set("calibrationOffset", 100.0);
    AppState hub(host.host());
    hub.audioService.start();
    sound(60, 0.5);
    // 90.97 dBA for a minute, but for the first ticks, at which the level is still rising.
    const double level = test::levelOfSine(0.5, 100);
    const double percentPerSecond = 100 / (8 * 3600 / std::pow(2, (level - 85) / 3));
    EXPECT_NEAR(hub.doseCalculator.dosePercentage, 60 * percentPerSecond, 0.5 * percentPerSecond);
    EXPECT_NEAR(hub.doseCalculator.todayPeakDBC, level + 3.01, 0.2);
}

TEST_F(AppStateTest, WithCaptureStoppedATickChangesNothing)
{
    defaults.set("calibrationOffset", 100.0);
    AppState hub(host.host());
    loop.runFor(10);
    EXPECT_FALSE(defaults.value("DoseCalculator.accumulatedDose"));
    EXPECT_EQ(hub.doseCalculator.accumulatedDose, 0);

    hub.audioService.start();
    sound(2, 0.5);
    const double dose = hub.doseCalculator.accumulatedDose;
    ASSERT_GT(dose, 0);
    hub.audioService.stop();
    loop.runFor(10);
    EXPECT_EQ(hub.doseCalculator.accumulatedDose, dose);

    // The last measurement is still the one before the stop: ticks in between would have moved it, and
    // the next loud one would count from there.
    hub.audioService.start();
    for (std::size_t block = 0; block < 20; ++block)
        audio.engine().deliver(test::sine(1000, 0.5, 48000, 1024, block * 1024));
    loop.runPosted();
    const double level = hub.audioService.currentSPL;
    loop.runFor(0.1);
    const double perSecond = std::pow(2, (level - 85) / 3) / (8 * 3600);
    EXPECT_GT(hub.doseCalculator.accumulatedDose - dose, 10 * perSecond);
    EXPECT_LT(hub.doseCalculator.accumulatedDose - dose, 10.3 * perSecond);
}

TEST_F(AppStateTest, APeakIsCountedOnceATickForAsLongAsItLasts)
{
    defaults.set("calibrationOffset", 94.0);
    AppState hub(host.host());
    hub.audioService.start();
    sound(1, 0.1);
    sound(1, 150); // 137.5 dBC
    EXPECT_NEAR(static_cast<double>(hub.doseCalculator.peakCount137), 10, 1);
    EXPECT_EQ(hub.doseCalculator.peakCount140, 0);
}

TEST_F(AppStateTest, TheDayGoesOnAfterARestart)
{
    double dose = 0;
    {
        defaults.set("calibrationOffset", 100.0);
        AppState hub(host.host());
        hub.audioService.start();
        sound(5, 0.5);
        dose = hub.doseCalculator.dosePercentage;
    }
    defaults.set("calibrationOffset", 100.0);
    AppState hub(host.host());
    loop.runPosted();
    EXPECT_EQ(hub.doseCalculator.dosePercentage, dose);
}

} // namespace
} // namespace velmor
