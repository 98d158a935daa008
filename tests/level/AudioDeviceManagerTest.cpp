// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/VirtualMainLoop.h>
#include <level/AudioDeviceManager.h>
#include <platform/MemoryDefaultsStore.h>
#include <support/FakeAudio.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace velmor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class AudioDeviceManagerTest : public testing::Test
{
protected:
    AudioDeviceManager& start()
    {
        m_manager = std::make_unique<AudioDeviceManager>(loop, audio, defaults);
        return *m_manager;
    }

    std::optional<std::int64_t> storedChannel() const
    {
        return defaults.get<std::int64_t>("selectedChannelIndex");
    }

    VirtualMainLoop loop{dateFromIsoText("2026-03-02T09:00:00Z").value()};
    test::FakeAudio audio;
    MemoryDefaultsStore defaults;

private:
    std::unique_ptr<AudioDeviceManager> m_manager;
};

TEST_F(AudioDeviceManagerTest, ListsWhatTheHardwareGivesInItsOrder)
{
    AudioDeviceManager& manager = start();
    EXPECT_EQ(manager.inputDevices.get(), audio.inputs);
    EXPECT_EQ(manager.outputDevices.get(), audio.outputs);
}

TEST_F(AudioDeviceManagerTest, FindsTheSelectedDeviceByItsUID)
{
    AudioDeviceManager& manager = start();
    EXPECT_EQ(manager.selectedDeviceID(), std::nullopt);
    manager.selectDevice("interface");
    EXPECT_EQ(manager.selectedDeviceID(), 12U);
    manager.selectDevice("not there");
    EXPECT_EQ(manager.selectedDeviceID(), std::nullopt);
    EXPECT_EQ(manager.selectedDeviceUID.get(), "not there");
}

TEST_F(AudioDeviceManagerTest, OfTwoDevicesWithOneUIDTheFirstIsMeant)
{
    audio.inputs.push_back({13, "Twin", "", "mic", true});
    AudioDeviceManager& manager = start();
    manager.selectDevice("mic");
    EXPECT_EQ(manager.selectedDeviceID(), 11U);
}

TEST_F(AudioDeviceManagerTest, SelectingThePresentDeviceKeepsTheChannelAndAnotherGoesBackToTheFirst)
{
    audio.channelCounts[11] = 8;
    AudioDeviceManager& manager = start();
    manager.selectDevice("interface");
    manager.selectedChannelIndex = 5;
    manager.selectDevice("interface");
    EXPECT_EQ(manager.selectedChannelIndex, 5);
    manager.selectDevice("mic");
    EXPECT_EQ(manager.selectedChannelIndex, 0);
    EXPECT_EQ(storedChannel(), 0);
}

TEST_F(AudioDeviceManagerTest, WithoutASelectionTheOneChannelIsNamedDefault)
{
    AudioDeviceManager& manager = start();
    EXPECT_THAT(manager.availableInputChannels.get(), ElementsAre(AudioChannel{0, "Default"}));
    manager.selectedChannelIndex = 3;
    manager.updateAvailableChannels();
    EXPECT_EQ(manager.selectedChannelIndex, 3);
}

TEST_F(AudioDeviceManagerTest, ChannelsWithoutNamesAreNumberedFromOne)
{
    AudioDeviceManager& manager = start();
    manager.selectDevice("mic");
    EXPECT_THAT(manager.availableInputChannels.get(),
                ElementsAre(AudioChannel{0, "Channel 1"}, AudioChannel{1, "Channel 2"}));
}

TEST_F(AudioDeviceManagerTest, ChannelsWithNamesShowThem)
{
    audio.channelNames[{11, 1}] = "Front Right";
    AudioDeviceManager& manager = start();
    manager.selectDevice("mic");
    EXPECT_THAT(manager.availableInputChannels.get(),
                ElementsAre(AudioChannel{0, "Channel 1"}, AudioChannel{1, "Front Right"}));
}

TEST_F(AudioDeviceManagerTest, TheChannelIsWrittenWithEachAssignmentAndReadAtTheStart)
{
    {
        AudioDeviceManager& manager = start();
        EXPECT_EQ(storedChannel(), 0);
        manager.selectedChannelIndex = 4;
        EXPECT_EQ(storedChannel(), 4);
    }
    EXPECT_EQ(start().selectedChannelIndex, 4);
    defaults.set("selectedChannelIndex", std::string("4"));
    EXPECT_EQ(start().selectedChannelIndex, 0);
    EXPECT_EQ(storedChannel(), 0);
}

TEST_F(AudioDeviceManagerTest, ASavedChannelBeyondADevicesIsResetWhenThatDeviceIsSeenNotByTheConstructor)
{
    defaults.set("selectedChannelIndex", std::int64_t(5));
    AudioDeviceManager& manager = start();
    EXPECT_EQ(manager.selectedChannelIndex, 5);
    EXPECT_EQ(storedChannel(), 5);
    // The device is there under the selection, without a call that selects it.
    manager.selectedDeviceUID = "mic";
    EXPECT_EQ(manager.selectedChannelIndex, 5);
    manager.updateAvailableChannels();
    EXPECT_EQ(manager.selectedChannelIndex, 0);
    EXPECT_EQ(storedChannel(), 0);
}

TEST_F(AudioDeviceManagerTest, AnIndexBeyondTheChannelsBecomesTheFirstButNotWhileTheDeviceIsAway)
{
    AudioDeviceManager& manager = start();
    manager.selectDevice("interface");
    manager.selectedChannelIndex = 5;
    const auto devices = audio.inputs;
    audio.unplug("interface");
    manager.refreshDevices();
    EXPECT_EQ(manager.selectedChannelIndex, 5);
    EXPECT_EQ(manager.selectedDeviceUID.get(), "interface");
    EXPECT_THAT(manager.availableInputChannels.get(), ElementsAre(AudioChannel{0, "Default"}));

    audio.inputs = devices;
    audio.channelCounts[12] = 2;
    manager.refreshDevices();
    EXPECT_EQ(manager.selectedChannelIndex, 0);
}

TEST_F(AudioDeviceManagerTest, AChangeOfTheHardwareIsListedInALaterTurnOfTheLoop)
{
    AudioDeviceManager& manager = start();
    audio.inputs.clear();
    audio.outputs.clear();
    audio.changed();
    EXPECT_EQ(manager.inputDevices.get().size(), 2U);
    loop.runPosted();
    EXPECT_THAT(manager.inputDevices.get(), IsEmpty());
    EXPECT_THAT(manager.outputDevices.get(), IsEmpty());
}

TEST_F(AudioDeviceManagerTest, AChangeThatIsUnderWayWhenTheManagerEndsDoesNothing)
{
    {
        AudioDeviceManager manager(loop, audio, defaults);
        audio.changed();
    }
    audio.changed();
    loop.runPosted();
}

TEST_F(AudioDeviceManagerTest, ADeviceWithInputsAndOutputsStandsInBothListsAsUnequalRecords)
{
    AudioDeviceManager& manager = start();
    const AudioDevice& input = manager.inputDevices.get()[1];
    const AudioDevice& output = manager.outputDevices.get()[0];
    EXPECT_EQ(input.uid, output.uid);
    EXPECT_TRUE(input.hasInput);
    EXPECT_FALSE(output.hasInput);
    EXPECT_FALSE(input == output);
}

TEST(AudioDevice, ShowsAManufacturerThatIsKnown)
{
    EXPECT_EQ((AudioDevice{1, "Mic", "Acme", "m", true}.displayName()), "Mic (Acme)");
    EXPECT_EQ((AudioDevice{1, "Mic", "Unknown", "m", true}.displayName()), "Mic");
    EXPECT_EQ((AudioDevice{1, "Mic", "", "m", true}.displayName()), "Mic");
}

} // namespace
} // namespace velmor
