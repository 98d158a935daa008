// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/AppState.h>
#include <linux/PipeWireCapture.h>
#include <linux/PipeWireGraph.h>
#include <linux/PipeWirePlayback.h>
#include <platform/LoginItem.h>
#include <platform/MemoryDefaultsStore.h>
#include <platform/Workspace.h>
#include <support/CapturedOutput.h>
#include <support/FakeNotificationCenter.h>
#include <support/LiveLoop.h>
#include <support/PrivateAudioSession.h>
#include <support/Sound.h>
#include <support/VirtualRoom.h>
#include <support/WriteSound.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace velmor {
namespace {

using namespace MicCalibration;

/// Everything real but the loudspeaker, the room and the microphone: what is played on "monitors" is heard by
/// "testmic".
class LiveCalibrationTest : public testing::Test, protected test::LiveLoop
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
        ASSERT_TRUE(runUntil([this] { return graph->defaultSink() && graph->defaultSource(); }));
        capture = std::make_unique<PipeWireCapture>(loop, *graph);
        playback = std::make_unique<PipeWirePlayback>(loop, *graph);
        hub =
            std::make_unique<AppState>(Host{loop, *capture, *graph, *playback, defaults, calendar,
                                            notifications, loginItem, workspace, SessionStorage::nowhere()});
        hub->settings.selectedDeviceUID = "testmic";
        hub->settings.selectedOutputDeviceUID = "monitors";
    }

    void TearDown() override
    {
        hub.reset();
        playback.reset();
        capture.reset();
        graph.reset();
    }

    void linkThroughRoom() { room.linkThroughRoom(); }
    void linkDirectly() { room.linkDirectly(); }

    MicCalibrationState state() const { return hub->micResponseService.state.get(); }

    template <typename State>
    bool reaches(double limitSeconds = 12)
    {
        return runUntil([this] { return std::holds_alternative<State>(state()); }, limitSeconds);
    }

    /// Runs the measurement up to the named state.
    void measureUntil(const std::string& name)
    {
        hub->measureMicResponse();
        if (name == "settling") {
            ASSERT_TRUE(reaches<Settling>());
        } else if (name == "measuring") {
            ASSERT_TRUE(runUntil([this] {
                const auto now = state();
                const auto* measuring = std::get_if<Measuring>(&now);
                return measuring && measuring->progress > 0.1;
            }));
        } else {
            ASSERT_TRUE(runUntilComputing());
        }
    }

    /// The state lasts for some milliseconds only.
    bool runUntilComputing()
    {
        bool isComputing = false;
        const Subscription subscription = hub->micResponseService.state.subscribe([&](const auto& now) {
            if (std::holds_alternative<Computing>(now) && !isComputing) {
                isComputing = true;
                loop.quit();
            }
        });
        const Timer limit = loop.every(12, [this] { loop.quit(); });
        loop.run();
        return isComputing;
    }

    /// Begins the calibration of the monitor controller and lets its level settle. \return dBA.
    double levelOfTargetNoise()
    {
        EXPECT_TRUE(hub->startTargetCalibration());
        EXPECT_TRUE(runUntil([this] { return hub->audioService.isRunning.get(); }));
        runFor(2);
        return hub->audioService.currentSPL;
    }

    static bool nodeExists(const std::string& name)
    {
        return test::run({"pw-cli", "ls", "Node"}).output.find("node.name = \"" + name + "\"") !=
               std::string::npos;
    }

    /// Neither noise nor capture is left in the graph.
    void expectSilence()
    {
        EXPECT_FALSE(hub->pinkNoisePlayer.isPlaying);
        EXPECT_TRUE(runUntil([] { return !nodeExists("velmor-noise"); }));
    }
    void expectCapture(bool isOn)
    {
        EXPECT_EQ(hub->audioService.isRunning, isOn);
        EXPECT_TRUE(runUntil([isOn] { return nodeExists("velmor") == isOn; }));
    }

    test::PrivateAudioSession session;
    const test::QuietLines quietLines;
    test::VirtualRoom room{session};
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

TEST_F(LiveCalibrationTest, MeasuresTheInverseOfAKnownRoomSavesItAndTurnsItOn)
{
    linkThroughRoom();
    hub->measureMicResponse();
    ASSERT_TRUE(reaches<Done>());
    EXPECT_TRUE(hub->micFreqCorrection.isEnabled);
    ASSERT_TRUE(hub->micFreqCorrection.profile.get());
    const MicCorrectionProfile profile = *hub->micFreqCorrection.profile.get();
    EXPECT_EQ(profile.sampleRate, 48000);
    EXPECT_TRUE(defaults.get<DefaultsData>("micCorrectionProfile"));
    EXPECT_EQ(defaults.get<bool>("micFreqCorrectionEnabled"), true);

    int compared = 0;
    for (const FrequencyCurvePoint& point : profile.correctionCurve) {
        const double frequency = static_cast<double>(point.frequency);
        if (frequency < 400 || frequency > 12000)
            continue;
        EXPECT_NEAR(static_cast<double>(point.gainDB), test::VirtualRoom::correctionDB(frequency, 48000), 1.0)
            << frequency << " Hz";
        ++compared;
    }
    EXPECT_GT(compared, 35);
    expectSilence();
    expectCapture(false);
}

TEST_F(LiveCalibrationTest, CancellingInAnyStateEndsTheNoiseAndLeavesTheCaptureAsItWas)
{
    linkDirectly();
    for (const char* name : {"settling", "measuring", "computing"}) {
        SCOPED_TRACE(name);
        measureUntil(name);
        hub->micResponseService.cancel();
        ASSERT_TRUE(reaches<Idle>());
        expectSilence();
        expectCapture(false);
        EXPECT_EQ(hub->micFreqCorrection.profile.get(), std::nullopt);
    }
    hub->manualStartSession();
    expectCapture(true);
    for (const char* name : {"settling", "measuring", "computing"}) {
        SCOPED_TRACE(name);
        measureUntil(name);
        hub->micResponseService.cancel();
        ASSERT_TRUE(reaches<Idle>());
        expectSilence();
        expectCapture(true);
    }
    hub->endSession();
}

TEST_F(LiveCalibrationTest, ASessionInAnyStateWinsOverTheMeasurement)
{
    linkDirectly();
    for (const char* name : {"settling", "measuring", "computing"}) {
        SCOPED_TRACE(name);
        measureUntil(name);
        hub->startSession("REAPER");
        ASSERT_TRUE(reaches<Idle>());
        expectSilence();
        expectCapture(true);
        runFor(0.5);
        EXPECT_EQ(state(), MicCalibrationState(Idle()));
        EXPECT_EQ(hub->micFreqCorrection.profile.get(), std::nullopt);
        hub->endSession();
        expectCapture(false);
    }
}

// It measures until it is cancelled: nothing comes any more that could be taken for the noise.
TEST_F(LiveCalibrationTest, ALostOutputEndsTheNoiseAndTheCapture)
{
    for (const char* name : {"settling", "measuring"}) {
        SCOPED_TRACE(name);
        linkDirectly();
        measureUntil(name);
        session.removeMicrophone("monitors");
        ASSERT_TRUE(runUntil([this] { return !hub->pinkNoisePlayer.isPlaying; }));
        expectSilence();
        expectCapture(false);
        ASSERT_TRUE(reaches<Measuring>());
        runFor(0.5);
        EXPECT_TRUE(std::holds_alternative<Measuring>(state()));
        hub->micResponseService.cancel();
        ASSERT_TRUE(reaches<Idle>());
        EXPECT_EQ(hub->micFreqCorrection.profile.get(), std::nullopt);
        session.createNode("monitors", "Audio/Sink", "FL FR");
        ASSERT_TRUE(runUntil([this] { return graph->defaultSink().has_value(); }));
    }
}

TEST_F(LiveCalibrationTest, ALostInputEndsTheCaptureAndTheNoisePlaysUntilTheMeasurementIsCancelled)
{
    for (const char* name : {"settling", "measuring"}) {
        SCOPED_TRACE(name);
        linkDirectly();
        measureUntil(name);
        session.removeMicrophone("testmic");
        ASSERT_TRUE(runUntil([this] { return !hub->audioService.isRunning; }));
        ASSERT_TRUE(reaches<Measuring>());
        EXPECT_TRUE(hub->pinkNoisePlayer.isPlaying);
        hub->micResponseService.cancel();
        ASSERT_TRUE(reaches<Idle>());
        expectSilence();
        expectCapture(false);
        session.createMicrophone("testmic");
        ASSERT_TRUE(runUntil([this] { return hub->deviceManager.selectedDeviceID().has_value(); }));
    }
}

TEST_F(LiveCalibrationTest, WhatIsLostWhileComputingIsNotMissed)
{
    linkDirectly();
    measureUntil("computing");
    session.removeMicrophone("monitors");
    session.removeMicrophone("testmic");
    ASSERT_TRUE(reaches<Done>());
    EXPECT_TRUE(hub->micFreqCorrection.isEnabled);
    expectSilence();
    expectCapture(false);
}

TEST_F(LiveCalibrationTest, TheTargetIsCapturedAtTheLevelOfTheNoise)
{
    linkDirectly();
    const double level = levelOfTargetNoise();
    EXPECT_GT(level, 60);
    EXPECT_LT(level, 94);
    hub->captureTarget();
    hub->saveTargetCalibration("dot at 11");
    EXPECT_NEAR(hub->targetCalibrationStore.record("monitors")->measuredDBA, level, 0.001);
    expectSilence();
    expectCapture(false);
}

TEST_F(LiveCalibrationTest, TheNoisePlaysOnTheChosenOutputAndOnTheDefaultForOneThatIsUnknown)
{
    session.createNode("phones", "Audio/Sink", "FL FR");
    ASSERT_TRUE(runUntil([this] {
        return std::ranges::any_of(graph->outputDevices(),
                                   [](const AudioDevice& device) { return device.uid == "phones"; });
    }));
    const auto playsOn = [this](const std::string& sink) {
        return runUntil([&] {
            const std::string links = test::run({"pw-link", "-l", "velmor-noise:output_FL"}).output;
            return links.find(sink + ":playback_FL") != std::string::npos;
        });
    };
    ASSERT_TRUE(hub->pinkNoisePlayer.start("phones"));
    EXPECT_TRUE(playsOn("phones"));
    hub->pinkNoisePlayer.stop();
    expectSilence();
    const std::string standard = graph->defaultSink()->name;
    ASSERT_TRUE(hub->pinkNoisePlayer.start("nothing"));
    EXPECT_TRUE(playsOn(standard));
    hub->pinkNoisePlayer.stop();
    ASSERT_TRUE(hub->pinkNoisePlayer.start(std::nullopt));
    EXPECT_TRUE(playsOn(standard));
}

TEST_F(LiveCalibrationTest, AnotherDefaultEndsTheNoiseOnTheDefault)
{
    session.createNode("phones", "Audio/Sink", "FL FR");
    ASSERT_TRUE(runUntil([this] { return graph->outputDevices().size() == 2; }));
    const std::string standard = graph->defaultSink()->name;
    ASSERT_TRUE(hub->pinkNoisePlayer.start(std::nullopt));
    runFor(0.3);
    EXPECT_TRUE(hub->pinkNoisePlayer.isPlaying);
    const std::string other = standard == "phones" ? "monitors" : "phones";
    test::run({"pw-metadata", "0", "default.configured.audio.sink", "{ \"name\": \"" + other + "\" }",
               "Spa:String:JSON"});
    EXPECT_TRUE(runUntil([this] { return !hub->pinkNoisePlayer.isPlaying; }));
    expectSilence();
}

TEST_F(LiveCalibrationTest, WithoutAnyOutputTheNoiseCannotStart)
{
    session.removeMicrophone("monitors");
    ASSERT_TRUE(runUntil([this] { return graph->outputDevices().empty(); }));
    EXPECT_FALSE(hub->pinkNoisePlayer.start(std::nullopt));
    hub->measureMicResponse();
    ASSERT_TRUE(runUntil(
        [this] { return state() == MicCalibrationState(Failed{"Could not start pink noise playback"}); }));
}

TEST_F(LiveCalibrationTest, AMixersVolumeOnTheNoiseIsPutBack)
{
    linkDirectly();
    const double level = levelOfTargetNoise();
    test::run({"pw-cli", "set-param", "velmor-noise", "Props", "{ channelVolumes: [ 0.1, 0.1 ] }"});
    runFor(2);
    EXPECT_NEAR(hub->audioService.currentSPL, level, 1);
}

TEST_F(LiveCalibrationTest, AVolumeThatIsChangedInTheMixerIsToldInTheTrust)
{
    hub->settings.calibrationOffset = 100;
    ASSERT_TRUE(runUntil([this] { return hub->calibrationTrust.trust.get().concerns.empty(); }));
    test::run({"pw-cli", "set-param", "testmic", "Props", "{ channelVolumes: [ 0.5, 0.5 ] }"});
    EXPECT_TRUE(runUntil([this] {
        return hub->calibrationTrust.trust.get().concerns ==
               std::vector<std::string>{"input volume changed by -6.0 dB since calibration"};
    }));
    test::run({"pw-cli", "set-param", "testmic", "Props", "{ channelVolumes: [ 1.0, 1.0 ] mute: true }"});
    EXPECT_TRUE(runUntil([this] {
        return hub->calibrationTrust.trust.get().concerns == std::vector<std::string>{"input is muted"};
    }));
}

} // namespace
} // namespace velmor
