// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/BlockProcessor.h>
#include <support/AudioMeasurement.h>
#include <support/Sound.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace velmor {
namespace {

using test::FakeEngine;
using test::noise;
using test::sine;
using testing::ElementsAre;

using AudioMeasurementServiceTest = test::AudioMeasurement;

TEST_F(AudioMeasurementServiceTest, StartsTheDeviceAndChannelThatAreSelected)
{
    manager->selectedChannelIndex = 1;
    service->start();
    EXPECT_TRUE(service->isRunning);
    const FakeEngine& engine = audio.engine();
    EXPECT_THAT(engine.calls, ElementsAre("setInputDevice", "setChannelMap", "installTap", "start"));
    EXPECT_EQ(engine.deviceID, 11U);
    EXPECT_THAT(engine.channelMap, ElementsAre(1, 1));
    EXPECT_EQ(engine.tapFrames, 1024U);
    EXPECT_EQ(engine.tapFormat, engine.format);
    EXPECT_EQ(lines(), "[Velmor] setChannelMap: device channel 1 → bus channels 0..<2\n");
}

TEST_F(AudioMeasurementServiceTest, TheSystemDefaultIsNotRouted)
{
    manager->selectDevice("");
    service->start();
    EXPECT_THAT(audio.engine().calls, ElementsAre("setChannelMap", "installTap", "start"));
}

TEST_F(AudioMeasurementServiceTest, PublishesOneUpdateABlockInItsOrder)
{
    service->start();
    std::vector<std::string> order;
    const Subscription spl = service->currentSPL.subscribe([&](double) { order.push_back("currentSPL"); });
    const Subscription dbc = service->currentDBC.subscribe([&](double) { order.push_back("currentDBC"); });
    const Subscription peakC = service->peakDBC.subscribe([&](double) { order.push_back("peakDBC"); });
    const Subscription peakA = service->peakDBA.subscribe([&](double) { order.push_back("peakDBA"); });
    const Subscription alert = service->peakAlert.subscribe([&](bool) { order.push_back("peakAlert"); });
    const auto block = sine(1000, 0.5, 48000, 1024);
    audio.engine().deliver(block);
    EXPECT_TRUE(order.empty());
    EXPECT_EQ(service->currentSPL, 0);
    loop.runPosted();
    EXPECT_THAT(order, ElementsAre("currentSPL", "currentDBC", "peakDBC", "peakDBA", "peakAlert"));

    BlockProcessor processor(94);
    const auto expected = processor.process(block.data(), block.size());
    EXPECT_EQ(service->currentSPL, processor.smoothedDBA());
    EXPECT_EQ(service->currentDBC, processor.smoothedDBC());
    EXPECT_EQ(service->peakDBA, expected->peakDBA);
    EXPECT_EQ(service->peakDBC, expected->peakDBC);
    EXPECT_EQ(service->peakAlert, expected->peakAlert);
}

TEST_F(AudioMeasurementServiceTest, TheLevelPublishedMayBeABlockNewerThanItsPeaks)
{
    service->start();
    std::vector<double> levels;
    std::vector<double> peaks;
    const Subscription spl = service->currentSPL.subscribe([&](double level) { levels.push_back(level); });
    const Subscription peak = service->peakDBA.subscribe([&](double level) { peaks.push_back(level); });
    audio.engine().deliver(sine(1000, 0.1, 48000, 1024));
    audio.engine().deliver(sine(1000, 0.5, 48000, 1024));
    loop.runPosted();
    ASSERT_EQ(levels.size(), 2U);
    EXPECT_EQ(levels[0], levels[1]);
    EXPECT_LT(peaks[0], peaks[1]);
}

TEST_F(AudioMeasurementServiceTest, ABlockOf8193FramesLogsTheDropAndChangesNothing)
{
    service->start();
    deliver(sine(1000, 0.5, 48000, 1024));
    const double before = service->currentSPL;
    lines();
    deliver(noise(0.5, 8193));
    EXPECT_EQ(lines(), "[Velmor] tap delivered 8193 frames > scratchCapacity (8192) — dropping buffer\n");
    EXPECT_EQ(service->currentSPL, before);
    EXPECT_EQ(service->droppedBlocks(), 1U);
    deliver(noise(0.5, 8192));
    EXPECT_EQ(lines(), "");
    EXPECT_NE(service->currentSPL, before);
    EXPECT_EQ(service->droppedBlocks(), 1U);
}

TEST_F(AudioMeasurementServiceTest, StopPutsTheLevelsToZeroAndEndsTheRawSamples)
{
    service->start();
    int rawBlocks = 0;
    service->setRawSampleCallback([&](std::span<const float>, double) { ++rawBlocks; });
    for (int i = 0; i < 10; ++i)
        deliver(sine(1000, 300, 48000, 1024));
    ASSERT_TRUE(service->peakAlert);
    ASSERT_EQ(rawBlocks, 10);

    std::vector<std::string> order;
    const Subscription running = service->isRunning.subscribe([&](bool) { order.push_back("isRunning"); });
    const Subscription spl = service->currentSPL.subscribe([&](double) { order.push_back("currentSPL"); });
    const Subscription dbc = service->currentDBC.subscribe([&](double) { order.push_back("currentDBC"); });
    const Subscription peakC = service->peakDBC.subscribe([&](double) { order.push_back("peakDBC"); });
    const Subscription peakA = service->peakDBA.subscribe([&](double) { order.push_back("peakDBA"); });
    const Subscription alert = service->peakAlert.subscribe([&](bool) { order.push_back("peakAlert"); });
    service->stop();
    EXPECT_THAT(order,
                ElementsAre("isRunning", "currentSPL", "currentDBC", "peakDBC", "peakDBA", "peakAlert"));
    EXPECT_FALSE(service->isRunning);
    EXPECT_EQ(service->currentSPL, 0);
    EXPECT_EQ(service->currentDBC, 0);
    EXPECT_EQ(service->peakDBC, 0);
    EXPECT_EQ(service->peakDBA, 0);
    EXPECT_FALSE(service->peakAlert);
    EXPECT_THAT(audio.engine().calls,
                ElementsAre("setInputDevice", "setChannelMap", "installTap", "start", "removeTap", "stop"));

    service->start();
    deliver(noise(0.1, 1024));
    EXPECT_EQ(rawBlocks, 10);
}

TEST_F(AudioMeasurementServiceTest, ABlockThatWasStillOnItsWayDoesNotRaiseTheLevelsAfterStop)
{
    service->start();
    audio.engine().deliver(sine(1000, 0.5, 48000, 1024));
    service->stop();
    loop.runPosted();
    EXPECT_EQ(service->currentSPL, 0);
    EXPECT_EQ(service->peakDBA, 0);
}

TEST_F(AudioMeasurementServiceTest, SomebodyWhoIsToldOfALevelMayStopTheCapture)
{
    service->start();
    const Subscription stopper = service->currentSPL.subscribe([&](double level) {
        if (level > 0)
            service->stop();
    });
    audio.engine().deliver(sine(1000, 300, 48000, 1024));
    audio.engine().deliver(sine(1000, 300, 48000, 1024));
    loop.runPosted();
    EXPECT_FALSE(service->isRunning);
    EXPECT_EQ(service->currentSPL, 0);
    EXPECT_EQ(service->currentDBC, 0);
    EXPECT_EQ(service->peakDBC, 0);
    EXPECT_EQ(service->peakDBA, 0);
    EXPECT_FALSE(service->peakAlert);
}

TEST_F(AudioMeasurementServiceTest, ADropThatIsReportedOnlyAtTheStopIsStillLoggedAndCounted)
{
    service->start();
    audio.engine().deliver(noise(0.5, 8193));
    lines();
    service->stop();
    EXPECT_EQ(lines(), "[Velmor] tap delivered 8193 frames > scratchCapacity (8192) — dropping buffer\n");
    EXPECT_EQ(service->droppedBlocks(), 1U);
}

TEST_F(AudioMeasurementServiceTest, ATapWithoutSamplesReportsNothing)
{
    service->start();
    int updates = 0;
    const Subscription levels = service->currentSPL.subscribe([&](double) { ++updates; });
    audio.engine().tap(nullptr, 9000);
    audio.engine().tap(nullptr, 0);
    loop.runPosted();
    EXPECT_EQ(updates, 0);
    EXPECT_EQ(service->droppedBlocks(), 0U);
}

TEST_F(AudioMeasurementServiceTest, StopWhenStoppedChangesNothingAndKeepsTheRawSampleCallback)
{
    int rawBlocks = 0;
    int announcements = 0;
    service->setRawSampleCallback([&](std::span<const float>, double) { ++rawBlocks; });
    const Subscription changes = service->onChange([&] { ++announcements; });
    service->stop();
    EXPECT_EQ(announcements, 0);
    service->start();
    deliver(noise(0.1, 1024));
    EXPECT_EQ(rawBlocks, 1);
}

TEST_F(AudioMeasurementServiceTest, ASecondStartWhileRunningIsIgnored)
{
    service->start();
    service->start();
    EXPECT_EQ(audio.engines.size(), 1U);
    EXPECT_EQ(std::ranges::count(audio.engine().calls, "start"), 1);
}

TEST_F(AudioMeasurementServiceTest, ARestartBeginsFromSilence)
{
    const auto block = sine(1000, 0.5, 48000, 1024);
    service->start();
    deliver(block);
    const double first = service->currentSPL;
    deliver(block);
    ASSERT_NE(service->currentSPL, first);
    service->stop();
    service->start();
    deliver(block);
    EXPECT_EQ(service->currentSPL, first);
}

TEST_F(AudioMeasurementServiceTest, SwitchDeviceRestartsAfter02Seconds)
{
    service->start();
    manager->selectDevice("interface");
    service->switchDevice();
    EXPECT_FALSE(service->isRunning);
    loop.runFor(0.199);
    EXPECT_FALSE(service->isRunning);
    loop.runFor(0.001);
    EXPECT_TRUE(service->isRunning);
    EXPECT_EQ(audio.engines.size(), 2U);
    EXPECT_EQ(audio.engine().deviceID, 12U);
}

TEST_F(AudioMeasurementServiceTest, SwitchDeviceWhileStoppedDoesNotStartCapture)
{
    service->switchDevice();
    loop.runFor(1);
    EXPECT_FALSE(service->isRunning);
    EXPECT_TRUE(audio.engines.empty());
}

TEST_F(AudioMeasurementServiceTest, AServiceThatIsGoneIsNotStartedBySwitchDevice)
{
    service->start();
    service->switchDevice();
    service.reset();
    loop.runFor(1);
    EXPECT_EQ(audio.engines.size(), 1U);
}

TEST_F(AudioMeasurementServiceTest, WithoutPermissionStartDoesNothing)
{
    audio.authorization = CaptureAuthorization::denied;
    service->checkPermission();
    EXPECT_FALSE(service->hasPermission);
    service->start();
    EXPECT_FALSE(service->isRunning);
    EXPECT_TRUE(audio.engines.empty());
    EXPECT_EQ(lines(), "");
}

TEST_F(AudioMeasurementServiceTest, AnUndecidedPermissionIsAskedForAndItsAnswerComesOnTheMainLoop)
{
    audio.authorization = CaptureAuthorization::notDetermined;
    AudioMeasurementService asking(loop, audio, *manager, 94);
    EXPECT_FALSE(asking.hasPermission);
    ASSERT_TRUE(audio.accessAnswer);
    std::thread([&] { audio.accessAnswer(true); }).join();
    EXPECT_FALSE(asking.hasPermission);
    loop.runPosted();
    EXPECT_TRUE(asking.hasPermission);
    audio.accessAnswer(false);
    loop.runPosted();
    EXPECT_FALSE(asking.hasPermission);
}

TEST_F(AudioMeasurementServiceTest, AnAnswerAfterTheServiceIsGoneIsIgnored)
{
    audio.authorization = CaptureAuthorization::notDetermined;
    service = std::make_unique<AudioMeasurementService>(loop, audio, *manager, 94);
    const auto answer = audio.accessAnswer;
    service.reset();
    answer(true);
    loop.runPosted();
}

TEST_F(AudioMeasurementServiceTest, AFormatThatIsNoneAbortsTheStart)
{
    audio.prepareEngine = [](FakeEngine& engine) { engine.format = {0, 2}; };
    service->start();
    EXPECT_FALSE(service->isRunning);
    EXPECT_THAT(audio.engine().calls, ElementsAre("setInputDevice", "setChannelMap"));
    EXPECT_EQ(lines(), "[Velmor] setChannelMap: device channel 0 → bus channels 0..<2\n"
                       "[Velmor] start: invalid audio format (sampleRate=0 channels=2) — aborting\n");

    audio.prepareEngine = [](FakeEngine& engine) { engine.format = {44100, 0}; };
    service->start();
    EXPECT_FALSE(service->isRunning);
    EXPECT_EQ(lines(), "[Velmor] start: invalid audio format (sampleRate=44100 channels=0) — aborting\n");
}

TEST_F(AudioMeasurementServiceTest, AnEngineThatFailsToStartIsLetGo)
{
    audio.prepareEngine = [](FakeEngine& engine) { engine.startErrors = {"no luck"}; };
    service->start();
    EXPECT_FALSE(service->isRunning);
    EXPECT_THAT(audio.engine().calls,
                ElementsAre("setInputDevice", "setChannelMap", "installTap", "start", "removeTap"));
    EXPECT_THAT(lines(), testing::EndsWith("[Velmor] Failed to start audio engine: no luck\n"));
    EXPECT_EQ(audio.engine().observer, nullptr);
    EXPECT_EQ(audio.engines.back().use_count(), 1);
    loop.runFor(10);
    EXPECT_EQ(audio.engines.size(), 1U);
}

TEST_F(AudioMeasurementServiceTest, FailuresOfTheRoutingArePrintedAndIgnored)
{
    audio.prepareEngine = [](FakeEngine& engine) {
        engine.inputDeviceStatus = -2;
        engine.channelMapStatus = -22;
    };
    service->start();
    EXPECT_TRUE(service->isRunning);
    EXPECT_EQ(lines(), "[Velmor] setInputDevice: setting target.object failed (-2)\n"
                       "[Velmor] setChannelMap: failed (-22) — falling back to default mapping\n");
    service->stop();

    audio.prepareEngine = [](FakeEngine& engine) {
        engine.inputDeviceStatus = std::nullopt;
        engine.channelMapStatus = std::nullopt;
    };
    service->start();
    EXPECT_TRUE(service->isRunning);
    EXPECT_EQ(lines(), "[Velmor] setInputDevice: PipeWire stream unavailable — device routing skipped\n"
                       "[Velmor] setChannelMap: PipeWire stream unavailable\n");
}

} // namespace
} // namespace velmor
