// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/ChannelName.h>

#include <gtest/gtest.h>

namespace velmor {
namespace {

TEST(ChannelName, SaysPositionsInPlainWords)
{
    EXPECT_EQ(channelName("FL"), "Front Left");
    EXPECT_EQ(channelName("FR"), "Front Right");
    EXPECT_EQ(channelName("MONO"), "Mono");
    EXPECT_EQ(channelName("TRC"), "Top Rear Center");
    EXPECT_EQ(channelName("AUX0"), "AUX 0");
    EXPECT_EQ(channelName("AUX63"), "AUX 63");
}

TEST(ChannelName, SaysNothingOfPositionsThatSayNothing)
{
    for (const char* position : {"UNK", "NA", "", "fl", "AUX", "AUXa", "AUX-1", "FL ", "Front Left"})
        EXPECT_EQ(channelName(position), std::nullopt) << position;
}

} // namespace
} // namespace velmor
