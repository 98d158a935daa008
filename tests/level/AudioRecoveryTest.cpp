// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/BlockProcessor.h>
#include <support/AudioMeasurement.h>
#include <support/Sound.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmor {
namespace {

using test::noise;
using test::sine;
using testing::ElementsAre;

using AudioRecoveryTest = test::AudioMeasurement;

TEST_F(AudioRecoveryTest, TheSelectedDeviceDisappearsWhileCaptureRuns)
{
    service->start();
    deliver(sine(1000, 0.5, 48000, 1024));
    bool wasRunning = true;
    service->onDeviceDisconnected = [&] {
        ++disconnections;
        wasRunning = service->isRunning;
    };
    audio.unplug("mic");
    int rawBlocks = 0;
    service->setRawSampleCallback([&](std::span<const float>, double) { ++rawBlocks; });
    audio.engine().calls.clear();
    audio.engine().changeConfiguration();
    EXPECT_THAT(audio.engine().calls, ElementsAre("stop"));
    EXPECT_TRUE(audio.engine().tap);
    EXPECT_TRUE(audio.engine().observer);
    EXPECT_TRUE(service->isRunning);
    loop.runFor(0.399);
    EXPECT_EQ(disconnections, 0);
    loop.runFor(0.001);
    EXPECT_EQ(disconnections, 1);
    EXPECT_THAT(audio.engine().calls, ElementsAre("stop", "removeTap", "stop"));
    EXPECT_FALSE(wasRunning);
    EXPECT_FALSE(service->isRunning);
    EXPECT_EQ(service->currentSPL, 0);
    EXPECT_EQ(service->currentDBC, 0);
    EXPECT_EQ(service->peakDBC, 0);
    EXPECT_EQ(service->peakDBA, 0);
    loop.runFor(10);
    EXPECT_EQ(disconnections, 1);
    EXPECT_EQ(manager->inputDevices.get().size(), 1U);
    manager->selectDevice("interface");
    service->start();
    deliver(noise(0.1, 1024));
    EXPECT_EQ(rawBlocks, 0);
}

TEST_F(AudioRecoveryTest, TheSystemDefaultNeverCountsAsDisconnected)
{
    manager->selectDevice("");
    service->start();
    audio.inputs.clear();
    audio.engine().changeConfiguration();
    loop.runFor(1);
    EXPECT_TRUE(service->isRunning);
    EXPECT_EQ(disconnections, 0);
}

TEST_F(AudioRecoveryTest, StopWithin04SecondsOfAConfigurationChangeLeavesNothingToRecover)
{
    service->start();
    audio.engine().changeConfiguration();
    loop.runFor(0.2);
    service->stop();
    audio.unplug("mic");
    loop.runFor(1);
    EXPECT_FALSE(service->isRunning);
    EXPECT_EQ(disconnections, 0);
    EXPECT_EQ(std::ranges::count(audio.engine().calls, "start"), 1);
    EXPECT_EQ(manager->inputDevices.get().size(), 2U);
}

TEST_F(AudioRecoveryTest, ARestartWithin04SecondsIsNotTouchedByTheRecoveryOfTheEngineBefore)
{
    service->start();
    audio.engine().changeConfiguration();
    service->stop();
    service->start();
    ASSERT_EQ(audio.engines.size(), 2U);
    loop.runFor(1);
    EXPECT_EQ(std::ranges::count(audio.engine().calls, "start"), 1);
    EXPECT_EQ(std::ranges::count(audio.engines.front()->calls, "start"), 1);
}

TEST_F(AudioRecoveryTest, ARecoveryAtTheSameRateGoesOnUndisturbed)
{
    const auto block = sine(1000, 0.5, 48000, 1024);
    service->start();
    deliver(block);
    audio.engine().calls.clear();
    lines();
    audio.engine().changeConfiguration();
    loop.runFor(0.4);
    EXPECT_THAT(audio.engine().calls, ElementsAre("stop", "setChannelMap", "start"));
    EXPECT_EQ(lines(), "[Velmor] setChannelMap: device channel 0 → bus channels 0..<2\n");
    deliver(block);

    BlockProcessor processor(94);
    processor.process(block.data(), block.size());
    processor.process(block.data(), block.size());
    EXPECT_EQ(service->currentSPL, processor.smoothedDBA());
}

TEST_F(AudioRecoveryTest, ARecoveryAtAnotherRateBeginsFromSilence)
{
    const auto block = sine(1000, 0.5, 96000, 1024);
    service->start();
    deliver(block);
    audio.engine().format = {96000, 2};
    audio.engine().changeConfiguration();
    loop.runFor(0.4);
    EXPECT_EQ(service->currentSampleRate(), 96000);
    deliver(block);

    BlockProcessor processor(94);
    processor.prepare(96000);
    processor.process(block.data(), block.size());
    EXPECT_EQ(service->currentSPL, processor.smoothedDBA());
}

TEST_F(AudioRecoveryTest, ARateOf0AfterARecoveryIsNotTaken)
{
    const auto block = sine(1000, 0.5, 48000, 1024);
    service->start();
    deliver(block);
    audio.engine().format = {0, 0};
    audio.engine().changeConfiguration();
    loop.runFor(0.4);
    EXPECT_TRUE(service->isRunning);
    EXPECT_EQ(service->currentSampleRate(), 48000);
    deliver(block);
    BlockProcessor processor(94);
    processor.process(block.data(), block.size());
    processor.process(block.data(), block.size());
    EXPECT_EQ(service->currentSPL, processor.smoothedDBA());
}

TEST_F(AudioRecoveryTest, AnEngineThatCantBeRestartedIsReplaced)
{
    service->start();
    const auto first = audio.engines.front();
    first->startErrors = {"still no luck"};
    lines();
    first->changeConfiguration();
    loop.runFor(0.4);
    EXPECT_TRUE(service->isRunning);
    EXPECT_EQ(audio.engines.size(), 2U);
    EXPECT_TRUE(audio.engine().isStarted);
    EXPECT_EQ(first->tap, nullptr);
    EXPECT_THAT(lines(),
                testing::HasSubstr("[Velmor] Engine restart after config change failed (still no luck) "
                                   "— doing full restart\n"));
}

TEST_F(AudioRecoveryTest, AChangeAfterStopIsIgnored)
{
    service->start();
    const auto observer = audio.engine().observer;
    service->stop();
    EXPECT_EQ(audio.engine().observer, nullptr);
    observer();
    loop.runFor(1);
    EXPECT_FALSE(service->isRunning);
}

TEST_F(AudioRecoveryTest, AServiceThatIsGoneLeavesNothingBehind)
{
    service->start();
    const auto engine = audio.engines.front();
    engine->changeConfiguration();
    engine->deliver(noise(0.1, 1024));
    service.reset();
    EXPECT_EQ(engine->tap, nullptr);
    EXPECT_FALSE(engine->isStarted);
    loop.runFor(1);
    EXPECT_EQ(std::ranges::count(engine->calls, "start"), 1);
}

} // namespace
} // namespace velmor
