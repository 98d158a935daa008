// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/AudioDeviceManager.h>
#include <support/FakeAudio.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmor {
namespace {

using test::FakeAudio;
using testing::ElementsAre;

TEST(AudioDeviceManager, FindsTheSelectedDeviceByItsUID)
{
    const FakeAudio audio;
    AudioDeviceManager manager(audio);
    EXPECT_EQ(manager.selectedDeviceID(), std::nullopt);
    manager.selectDevice("interface");
    EXPECT_EQ(manager.selectedDeviceID(), 12U);
    manager.selectDevice("not there");
    EXPECT_EQ(manager.selectedDeviceID(), std::nullopt);
    EXPECT_EQ(manager.selectedDeviceUID.get(), "not there");
}

TEST(AudioDeviceManager, SelectingThePresentDeviceKeepsTheChannelAndAnotherGoesBackToTheFirst)
{
    FakeAudio audio;
    audio.channelCounts[11] = 8;
    AudioDeviceManager manager(audio);
    manager.selectDevice("interface");
    manager.selectedChannelIndex = 5;
    manager.selectDevice("interface");
    EXPECT_EQ(manager.selectedChannelIndex, 5);
    manager.selectDevice("mic");
    EXPECT_EQ(manager.selectedChannelIndex, 0);
}

TEST(AudioDeviceManager, TheChannelsAreNumberedFromOneAndTheDefaultsIsOne)
{
    const FakeAudio audio;
    AudioDeviceManager manager(audio);
    EXPECT_THAT(manager.availableInputChannels.get(), ElementsAre(AudioChannel{0, "Default"}));
    manager.selectDevice("mic");
    EXPECT_THAT(manager.availableInputChannels.get(),
                ElementsAre(AudioChannel{0, "Channel 1"}, AudioChannel{1, "Channel 2"}));
}

TEST(AudioDeviceManager, AnIndexBeyondTheChannelsBecomesTheFirstButNotWhileTheDeviceIsAway)
{
    FakeAudio audio;
    AudioDeviceManager manager(audio);
    manager.selectDevice("interface");
    manager.selectedChannelIndex = 5;
    const auto devices = audio.inputs;
    audio.unplug("interface");
    manager.refreshDevices();
    EXPECT_EQ(manager.selectedChannelIndex, 5);
    EXPECT_THAT(manager.availableInputChannels.get(), ElementsAre(AudioChannel{0, "Default"}));

    audio.inputs = devices;
    audio.channelCounts[12] = 2;
    manager.refreshDevices();
    EXPECT_EQ(manager.selectedChannelIndex, 0);
}

TEST(AudioDevice, ShowsAManufacturerThatIsKnown)
{
    EXPECT_EQ((AudioDevice{1, "Mic", "Acme", "m", true}.displayName()), "Mic (Acme)");
    EXPECT_EQ((AudioDevice{1, "Mic", "Unknown", "m", true}.displayName()), "Mic");
    EXPECT_EQ((AudioDevice{1, "Mic", "", "m", true}.displayName()), "Mic");
}

} // namespace
} // namespace velmor
