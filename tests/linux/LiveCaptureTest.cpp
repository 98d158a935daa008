// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/AudioDeviceManager.h>
#include <level/AudioMeasurementService.h>
#include <linux/PipeWireCapture.h>
#include <linux/PipeWireGraph.h>
#include <platform/MemoryDefaultsStore.h>
#include <support/LiveLoop.h>
#include <support/PrivateAudioSession.h>
#include <support/Sound.h>
#include <support/WriteSound.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

namespace velmor {
namespace {

using test::levelOfSine;
using test::PrivateAudioSession;

/// Everything real but the microphone: a private PipeWire with a virtual one.
class LiveCaptureTest : public testing::Test, protected test::LiveLoop
{
protected:
    void SetUp() override
    {
        if (!session.problem().empty()) {
            ASSERT_FALSE(test::packagesMustBeThere()) << "no PipeWire: " << session.problem();
            // Without its packages there is nothing real to test against; where CI runs they are installed.
            GTEST_SKIP() << "no PipeWire can be started here: " << session.problem();
        }
        // 1 kHz reads the same in both weightings; 4 kHz reads 1.26 dB more in A, 0.53 dB less in C.
        test::writeSound(session / "tones.wav",
                         {test::sine(1000, 0.5, 48000, 60 * 48000), test::sine(4000, 0.2, 48000, 60 * 48000)},
                         48000);
        session.createMicrophone("testmic");
        player = session.playInto("testmic", session / "tones.wav");

        graph = std::make_unique<PipeWireGraph>(loop);
        ASSERT_TRUE(graph->isConnected());
        capture = std::make_unique<PipeWireCapture>(loop, *graph);
        manager = std::make_unique<AudioDeviceManager>(loop, *graph, defaults);
        service = std::make_unique<AudioMeasurementService>(loop, *capture, *manager, 94);
        service->onDeviceDisconnected = [this] { ++disconnections; };
    }

    void TearDown() override
    {
        service.reset();
        manager.reset();
        capture.reset();
        graph.reset();
        player.reset();
    }

    /// Parts the stream from its microphone, as a patch bay does.
    static void unlink()
    {
        for (const std::string channel : {"FL", "FR"})
            test::run({"pw-link", "-d", "testmic:capture_" + channel, "velmor:input_" + channel});
    }

    PrivateAudioSession session;
    std::unique_ptr<test::Companion> player;
    std::unique_ptr<PipeWireGraph> graph;
    std::unique_ptr<PipeWireCapture> capture;
    MemoryDefaultsStore defaults;
    std::unique_ptr<AudioDeviceManager> manager;
    std::unique_ptr<AudioMeasurementService> service;
    int disconnections = 0;
};

TEST_F(LiveCaptureTest, ListsTheMicrophoneWithItsChannels)
{
    const auto devices = graph->inputDevices();
    const auto found = std::ranges::find(devices, "testmic", &AudioDevice::uid);
    ASSERT_NE(found, devices.end());
    EXPECT_EQ(found->name, "Test Microphone");
    EXPECT_EQ(found->displayName(), "Test Microphone");
    EXPECT_TRUE(found->hasInput);
    EXPECT_EQ(graph->inputChannelCount(found->id), 2);
    EXPECT_EQ(graph->inputChannelCount(found->id + 1000), 0);
    EXPECT_EQ(graph->inputChannelName(found->id, 0), "Front Left");
    EXPECT_EQ(graph->inputChannelName(found->id, 1), "Front Right");
    EXPECT_EQ(graph->inputChannelName(found->id, 2), std::nullopt);
    EXPECT_EQ(graph->inputChannelName(found->id, -1), std::nullopt);
    EXPECT_EQ(graph->inputChannelName(found->id + 1000, 0), std::nullopt);
}

TEST_F(LiveCaptureTest, NamesTheChannelsInPlainWordsAndNumbersTheOthers)
{
    session.createNode("manymic", "Audio/Source/Virtual", "FC AUX3 UNK");
    manager->selectDevice("manymic");
    ASSERT_TRUE(runUntil([this] { return manager->availableInputChannels.get().size() == 3; }));
    EXPECT_EQ(manager->availableInputChannels.get()[0].name, "Front Center");
    EXPECT_EQ(manager->availableInputChannels.get()[1].name, "AUX 3");
    EXPECT_EQ(manager->availableInputChannels.get()[2].name, "Channel 3");
}

TEST_F(LiveCaptureTest, ADeviceThatDoesNotTellItsNameHasItsNumberInDecimalForAUID)
{
    test::run({"pw-cli", "create-node", "adapter",
               "{ factory.name=support.null-audio-sink media.class=Audio/Source/Virtual object.linger=true "
               "audio.position=[FL FR] }"});
    ASSERT_TRUE(runUntil([this] { return manager->inputDevices.get().size() == 2; }));
    const AudioDevice device = manager->inputDevices.get()[1];
    EXPECT_EQ(device.uid, std::to_string(device.id));
    EXPECT_EQ(device.name, "Unknown Device");
    EXPECT_EQ(device.manufacturer, "Unknown");
}

TEST_F(LiveCaptureTest, TheManagerFollowsDevicesThatComeAndGo)
{
    const auto uids = [](const std::vector<AudioDevice>& devices) {
        std::vector<std::string> names;
        for (const AudioDevice& device : devices)
            names.push_back(device.uid);
        return names;
    };
    const std::vector<std::string> before = {"testmic"};
    const std::vector<std::string> with = {"testmic", "another", "both"};
    const std::vector<std::string> outputs = {"both", "speakers"};
    EXPECT_EQ(uids(manager->inputDevices), before);
    session.createNode("another", "Audio/Source/Virtual", "MONO", "device.vendor.name=\"Acme Audio\"");
    session.createNode("both", "Audio/Duplex", "FL FR");
    session.createNode("speakers", "Audio/Sink", "FL FR");
    ASSERT_TRUE(runUntil([&] { return uids(manager->inputDevices) == with; }));
    ASSERT_TRUE(runUntil([&] { return uids(manager->outputDevices) == outputs; }));
    EXPECT_EQ(manager->inputDevices.get()[1].displayName(), "Test Microphone (Acme Audio)");
    EXPECT_EQ(manager->inputDevices.get()[2].id, manager->outputDevices.get()[0].id);
    EXPECT_TRUE(manager->inputDevices.get()[2].hasInput);
    EXPECT_FALSE(manager->outputDevices.get()[0].hasInput);
    for (const char* name : {"another", "both", "speakers"})
        session.removeMicrophone(name);
    ASSERT_TRUE(runUntil([&] { return uids(manager->inputDevices) == before; }));
    EXPECT_TRUE(runUntil([&] { return manager->outputDevices.get().empty(); }));
}

TEST_F(LiveCaptureTest, ADeviceThatAlsoPlaysIsMeasuredLikeAnyOther)
{
    session.createNode("both", "Audio/Duplex", "FL FR");
    // What it plays is what it captures; the other microphone is there, 20 dB louder.
    test::writeSound(session / "soft.wav",
                     {test::sine(1000, 0.05, 48000, 60 * 48000), test::sine(1000, 0.02, 48000, 60 * 48000)},
                     48000);
    const auto softPlayer = session.playInto("both", session / "soft.wav", "playback");
    ASSERT_TRUE(runUntil([this] { return manager->inputDevices.get().size() == 2; }));
    manager->selectDevice("both");
    for (const auto& [channel, amplitude] : {std::pair(0, 0.05), std::pair(1, 0.02)}) {
        manager->selectedChannelIndex = channel;
        service->start();
        ASSERT_TRUE(service->isRunning);
        runFor(2);
        EXPECT_NEAR(service->currentSPL, levelOfSine(amplitude, 94), 0.2) << channel;
        service->stop();
    }
}

TEST_F(LiveCaptureTest, AServerThatComesBackIsConnectedToAndMeasuredAgain)
{
    manager->selectDevice("testmic");
    for (int round = 0; round < 3; ++round) {
        player.reset();
        session.killPipeWire();
        ASSERT_TRUE(runUntil([this] { return manager->inputDevices.get().empty(); }));
        EXPECT_FALSE(graph->isConnected());
        EXPECT_EQ(manager->selectedDeviceUID.get(), "testmic");
        session.startPipeWire();
        session.createMicrophone("testmic");
        player = session.playInto("testmic", session / "tones.wav");
        ASSERT_TRUE(runUntil([this] { return manager->selectedDeviceID().has_value(); }));
        service->start();
        ASSERT_TRUE(service->isRunning);
        runFor(2);
        EXPECT_NEAR(service->currentSPL, levelOfSine(0.5, 94), 0.2);
        service->stop();
    }
}

TEST_F(LiveCaptureTest, AServerThatComesAfterTheProgramIsFound)
{
    player.reset();
    session.killPipeWire();
    PipeWireGraph early(loop);
    EXPECT_FALSE(early.isConnected());
    session.startPipeWire();
    session.createMicrophone("testmic");
    EXPECT_TRUE(runUntil([&] { return early.inputDevices().size() == 1; }));
    EXPECT_TRUE(early.isConnected());
}

TEST_F(LiveCaptureTest, MeasuresTheChannelThatIsChosenAndNoOther)
{
    ASSERT_TRUE(service->hasPermission);
    manager->selectDevice("testmic");
    service->start();
    ASSERT_TRUE(service->isRunning);
    runFor(2);
    EXPECT_NEAR(service->currentSPL, levelOfSine(0.5, 94), 0.2);
    EXPECT_NEAR(service->currentDBC, levelOfSine(0.5, 94), 0.2);
    EXPECT_NEAR(service->peakDBA, levelOfSine(0.5, 94) + 3.01, 0.2);
    EXPECT_EQ(service->currentSampleRate(), 48000);

    manager->selectedChannelIndex = 1;
    service->switchDevice();
    runFor(2);
    ASSERT_TRUE(service->isRunning);
    EXPECT_NEAR(service->currentSPL, levelOfSine(0.2, 94) + 1.26, 0.2);
    EXPECT_NEAR(service->currentDBC, levelOfSine(0.2, 94) - 0.53, 0.2);
    EXPECT_EQ(service->droppedBlocks(), 0U);
    service->stop();
    EXPECT_EQ(service->currentSPL, 0);
}

TEST_F(LiveCaptureTest, TheSystemDefaultIsMeasuredWithoutASelection)
{
    ASSERT_TRUE(runUntil([this] { return graph->defaultSource().has_value(); }));
    service->start();
    ASSERT_TRUE(service->isRunning);
    runFor(2);
    EXPECT_NEAR(service->currentSPL, levelOfSine(0.5, 94), 0.2);
}

TEST_F(LiveCaptureTest, ADeviceThatIsRemovedEndsCaptureAndOneThatComesBackCanBeStartedAgain)
{
    // Another microphone stands by, much louder: it must not be taken in silence.
    session.createMicrophone("othermic");
    test::writeSound(session / "loud.wav",
                     {test::sine(1000, 1, 48000, 60 * 48000), test::sine(1000, 1, 48000, 60 * 48000)}, 48000);
    const auto otherPlayer = session.playInto("othermic", session / "loud.wav");
    ASSERT_TRUE(runUntil([this] { return graph->inputDevices().size() == 2; }));
    manager->refreshDevices();
    manager->selectDevice("testmic");
    service->start();
    ASSERT_TRUE(runUntil([this] { return service->currentSPL > 80; }));

    double highestPeak = 0;
    const Subscription peaks =
        service->peakDBC.subscribe([&](double peak) { highestPeak = std::max(highestPeak, peak); });
    session.removeMicrophone("testmic");
    // While the main thread is busy nothing but the stream's own properties keeps it from the other.
    std::this_thread::sleep_for(std::chrono::seconds(1));
    ASSERT_TRUE(runUntil([this] { return disconnections == 1; }));
    EXPECT_FALSE(service->isRunning);
    EXPECT_EQ(service->currentSPL, 0);
    EXPECT_EQ(service->peakDBC, 0);
    EXPECT_EQ(manager->selectedDeviceID(), std::nullopt);
    EXPECT_EQ(manager->selectedDeviceUID.get(), "testmic");
    runFor(1);
    EXPECT_EQ(disconnections, 1);
    EXPECT_FALSE(service->isRunning);
    EXPECT_LT(highestPeak, levelOfSine(0.5, 94) + 3.5);

    player.reset();
    session.createMicrophone("testmic");
    player = session.playInto("testmic", session / "tones.wav");
    ASSERT_TRUE(runUntil([this] {
        manager->refreshDevices();
        return manager->selectedDeviceID().has_value();
    }));
    service->start();
    ASSERT_TRUE(service->isRunning);
    runFor(2);
    EXPECT_NEAR(service->currentSPL, levelOfSine(0.5, 94), 0.2);
    EXPECT_EQ(disconnections, 1);
}

TEST_F(LiveCaptureTest, StartingAndStoppingManyTimesWorksEachTime)
{
    manager->selectDevice("testmic");
    for (int i = 0; i < 20; ++i) {
        service->start();
        ASSERT_TRUE(service->isRunning);
        ASSERT_TRUE(runUntil([this] { return service->currentSPL > 0; })) << i;
        service->stop();
        ASSERT_EQ(service->currentSPL, 0);
    }
}

TEST_F(LiveCaptureTest, AnotherDefaultIsFollowedAndAnotherMicrophoneIsNot)
{
    session.createMicrophone("othermic");
    test::writeSound(session / "loud.wav",
                     {test::sine(1000, 1, 48000, 60 * 48000), test::sine(1000, 1, 48000, 60 * 48000)}, 48000);
    const auto otherPlayer = session.playInto("othermic", session / "loud.wav");
    const auto makeDefault = [&](const std::string& name) {
        test::run({"pw-metadata", "0", "default.configured.audio.source", "{ \"name\": \"" + name + "\" }",
                   "Spa:String:JSON"});
        return runUntil([this, name] {
            const auto source = graph->defaultSource();
            return source && source->name == name;
        });
    };
    ASSERT_TRUE(makeDefault("testmic"));
    service->start();
    ASSERT_TRUE(service->isRunning);
    runFor(2);
    EXPECT_NEAR(service->currentSPL, levelOfSine(0.5, 94), 0.2);
    ASSERT_TRUE(makeDefault("othermic"));
    runFor(2);
    EXPECT_TRUE(service->isRunning);
    EXPECT_NEAR(service->currentSPL, levelOfSine(1, 94), 0.2);
    EXPECT_EQ(disconnections, 0);
}

TEST_F(LiveCaptureTest, TheGraphsRateIsFollowedButNotBelow44100Hertz)
{
    manager->selectDevice("testmic");
    service->start();
    ASSERT_TRUE(runUntil([this] { return service->currentSPL > 80; }));
    for (const auto& [graphRate, captureRate] : {std::pair("44100", 44100.0), std::pair("96000", 96000.0),
                                                 std::pair("32000", 44100.0), std::pair("48000", 48000.0)}) {
        test::run({"pw-metadata", "-n", "settings", "0", "clock.force-rate", graphRate});
        ASSERT_TRUE(runUntil([this, rate = captureRate] { return service->currentSampleRate() == rate; }))
            << graphRate;
        runFor(1.5);
        EXPECT_TRUE(service->isRunning);
        EXPECT_NEAR(service->currentSPL, levelOfSine(0.5, 94), 0.2) << graphRate;
    }
    EXPECT_EQ(disconnections, 0);
}

TEST_F(LiveCaptureTest, AStreamThatSomebodyElseDestroysIsMadeAgain)
{
    manager->selectDevice("testmic");
    service->start();
    ASSERT_TRUE(runUntil([this] { return service->currentSPL > 80; }));
    test::run({"pw-cli", "destroy", "velmor"});
    // The recovery begins from silence only at another rate; the level itself must move again.
    runFor(0.3);
    int updates = 0;
    const Subscription levels = service->currentSPL.subscribe([&](double) { ++updates; });
    EXPECT_TRUE(runUntil([&] { return updates > 100; }));
    EXPECT_TRUE(service->isRunning);
    EXPECT_NEAR(service->currentSPL, levelOfSine(0.5, 94), 0.2);
}

TEST_F(LiveCaptureTest, ALinkThatSomebodyTakesAwayIsMadeAgain)
{
    manager->selectDevice("testmic");
    service->start();
    ASSERT_TRUE(runUntil([this] { return service->currentSPL > 80; }));
    unlink();
    runFor(1);
    int updates = 0;
    const Subscription levels = service->currentSPL.subscribe([&](double) { ++updates; });
    EXPECT_TRUE(runUntil([&] { return updates > 100; }));
    EXPECT_TRUE(service->isRunning);
    EXPECT_NEAR(service->currentSPL, levelOfSine(0.5, 94), 0.2);
}

TEST_F(LiveCaptureTest, ALevelDoesNotStandWhenNothingIsDeliveredAnyMore)
{
    manager->selectDevice("testmic");
    service->start();
    ASSERT_TRUE(runUntil([this] { return service->currentSPL > 80; }));
    session.endSessionManager();
    unlink();
    EXPECT_TRUE(runUntil([this] { return service->currentSPL == 0; }));
    EXPECT_EQ(service->peakDBC, 0);
    runFor(3);
    EXPECT_EQ(service->currentSPL, 0);
}

TEST_F(LiveCaptureTest, AVolumeThatAMixerGivesTheStreamDoesNotShiftTheLevel)
{
    manager->selectDevice("testmic");
    for (int round = 0; round < 2; ++round) {
        service->start();
        ASSERT_TRUE(runUntil([this] { return service->currentSPL > 80; })) << round;
        test::run({"pw-cli", "set-param", "velmor", "Props", "{ channelVolumes: [ 0.1, 0.1 ], mute: true }"});
        runFor(1.5);
        EXPECT_NEAR(service->currentSPL, levelOfSine(0.5, 94), 0.2) << round;
        service->stop();
        // Time for the session manager to write down what it would bring back the next time.
        runFor(1.5);
    }
}

TEST_F(LiveCaptureTest, AServerThatDiesEndsTheCapture)
{
    manager->selectDevice("testmic");
    service->start();
    ASSERT_TRUE(runUntil([this] { return service->currentSPL > 80; }));
    session.killPipeWire();
    ASSERT_TRUE(runUntil([this] { return disconnections == 1; }));
    EXPECT_FALSE(service->isRunning);
    EXPECT_EQ(service->currentSPL, 0);
    EXPECT_FALSE(graph->isConnected());
    EXPECT_TRUE(graph->inputDevices().empty());
    service->start();
    EXPECT_FALSE(service->isRunning);
}

TEST_F(LiveCaptureTest, AChannelThatTheDeviceDoesNotHaveFallsBackToItsFirst)
{
    manager->selectDevice("testmic");
    manager->selectedChannelIndex = 7;
    testing::internal::CaptureStdout();
    service->start();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[Velmor] setChannelMap: failed (-22) — falling back to default mapping\n");
    ASSERT_TRUE(service->isRunning);
    runFor(2);
    EXPECT_NEAR(service->currentSPL, levelOfSine(0.5, 94), 0.2);
}

} // namespace
} // namespace velmor
