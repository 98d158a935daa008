// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/Meter.h>
#include <support/PrivateAudioSession.h>
#include <support/Sound.h>
#include <support/WriteSound.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace velmor {
namespace {

using test::JsonObject;
using test::levelOfSine;
using test::meter;
using testing::HasSubstr;

class LiveMeterTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!session.problem().empty()) {
            ASSERT_FALSE(test::packagesMustBeThere()) << "no PipeWire: " << session.problem();
            // Without its packages there is nothing real to test against; where CI runs they are installed.
            GTEST_SKIP() << "no PipeWire can be started here: " << session.problem();
        }
        test::writeSound(session / "tones.wav",
                         {test::sine(1000, 0.5, 48000, 60 * 48000), test::sine(4000, 0.2, 48000, 60 * 48000)},
                         48000);
        session.createMicrophone("testmic");
        player = session.playInto("testmic", session / "tones.wav");
    }

    test::PrivateAudioSession session;
    std::unique_ptr<test::Companion> player;
};

TEST_F(LiveMeterTest, ListsTheDevices)
{
    const auto people = meter({"--list-devices"});
    EXPECT_EQ(people.status, 0);
    EXPECT_EQ(people.output, "* testmic\n    Test Microphone, 2 channels\n\n* the system's default\n");
    const auto json = meter({"--list-devices", "--json"});
    EXPECT_EQ(json.output, "[\n  {\n    \"uid\": \"testmic\",\n    \"name\": \"Test Microphone\",\n"
                           "    \"manufacturer\": \"Unknown\",\n    \"channelCount\": 2,\n"
                           "    \"isDefault\": true\n  }\n]\n");
}

TEST_F(LiveMeterTest, MeasuresTheRightChannelInRealTime)
{
    const std::string ticks = session / "ticks.ndjson";
    const std::string blocks = session / "blocks.ndjson";
    const auto outcome = meter({"--live", "--device", "testmic", "--channel", "2", "--seconds", "3", "--json",
                                "--ticks", ticks, "--blocks", blocks});
    ASSERT_EQ(outcome.status, 0) << outcome.error;
    const JsonObject json(outcome.output);
    EXPECT_EQ(json.texts.at("device"), "testmic");
    EXPECT_EQ(json["channel"], 2);
    EXPECT_NEAR(json["currentSPL"], levelOfSine(0.2, 94) + 1.26, 0.2);
    EXPECT_NEAR(json["currentDBC"], levelOfSine(0.2, 94) - 0.53, 0.2);
    EXPECT_EQ(json["droppedBlocks"], 0);
    const auto tickLines = test::jsonLines(test::contentOf(ticks));
    EXPECT_NEAR(static_cast<double>(tickLines.size()), 30, 2);
    const auto blockLines = test::jsonLines(test::contentOf(blocks));
    EXPECT_EQ(json["blocks"], static_cast<double>(blockLines.size()));
    // Three seconds less the time that the graph takes to begin.
    EXPECT_GT(blockLines.size(), 90U);
    EXPECT_LE(blockLines.size(), 145U);
}

TEST_F(LiveMeterTest, ADeviceOrChannelThatDoesNotExistIsRefused)
{
    const auto device = meter({"--live", "--device", "nomic", "--seconds", "1"});
    EXPECT_EQ(device.status, 2);
    EXPECT_EQ(device.error, "velmor-meter: nomic: no such input device (see --list-devices)\n");
    const auto channel = meter({"--live", "--device", "testmic", "--channel", "3", "--seconds", "1"});
    EXPECT_EQ(channel.status, 2);
    EXPECT_EQ(channel.error, "velmor-meter: testmic: no channel 3, the device has 2\n");
}

TEST_F(LiveMeterTest, ADeviceThatIsLostEndsTheMeasurementWithoutAFile)
{
    const std::string blocks = session / "blocks.ndjson";
    const std::string errors = session / "errors";
    const pid_t process =
        test::spawn({test::programPath("velmor-meter"), "--live", "--device", "testmic", "--blocks", blocks},
                    "/dev/null", errors);
    // It measures once its stream is linked.
    ASSERT_TRUE(session.waitUntil([] {
        return test::run({"pw-link", "-l"}).output.find("velmor:input_FL") != std::string::npos;
    }));
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    session.removeMicrophone("testmic");
    int status = 0;
    ::waitpid(process, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 2);
    EXPECT_THAT(test::contentOf(errors),
                HasSubstr("velmor-meter: testmic: the input device was disconnected\n"));
    EXPECT_FALSE(std::filesystem::exists(blocks));
}

TEST(LiveMeter, WithoutPipeWireThereIsAClearLine)
{
    const test::TemporaryFolder folder;
    ::setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
    ::setenv("PIPEWIRE_RUNTIME_DIR", folder.path().c_str(), 1);
    for (const auto& command : {std::vector<std::string>{"--list-devices"}, {"--live", "--seconds", "1"}}) {
        const auto outcome = meter(command);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.error, "velmor-meter: no connection to PipeWire: is it running in this session?\n");
    }
}

} // namespace
} // namespace velmor
