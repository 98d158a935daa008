// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/PipeWireText.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(PipeWireText, PositionsComeInSeveralFormsOfAList)
{
    EXPECT_THAT(listEntries("FL,FR"), ElementsAre("FL", "FR"));
    EXPECT_THAT(listEntries("[ FL FR ]"), ElementsAre("FL", "FR"));
    EXPECT_THAT(listEntries("[\"AUX0\", \"AUX1\"]"), ElementsAre("AUX0", "AUX1"));
    EXPECT_THAT(listEntries(" [ ] "), IsEmpty());
    EXPECT_THAT(listEntries(""), IsEmpty());
}

TEST(PipeWireText, ANumberIsOneOnlyAsAWhole)
{
    EXPECT_EQ(wholeNumber("48000"), 48000U);
    for (const char* text : {"", " 1", "1 ", "-1", "0x10", "4294967296"})
        EXPECT_EQ(wholeNumber(text), std::nullopt) << text;
}

TEST(PipeWireText, TheDefaultsNameStandsInAnObject)
{
    EXPECT_EQ(nameInMetadata(R"({"name":"alsa_input.usb"})"), "alsa_input.usb");
    EXPECT_EQ(nameInMetadata(R"({ "other": "x", "name": "mic" })"), "mic");
    for (const char* text : {"", "null", "[]", "{}", R"({"other":"x"})", R"({"name":)", "name"})
        EXPECT_EQ(nameInMetadata(text), "") << text;
}

} // namespace
} // namespace velmor
