// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/VeskIntegration.h>
#include <platform/MemoryDefaultsStore.h>
#include <support/FakeWorkspace.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace velmor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class VeskIntegrationTest : public testing::Test
{
protected:
    test::FakeWorkspace workspace;
    MemoryDefaultsStore defaults;
    VeskIntegration vesk{workspace, defaults};

    VeskIntegrationTest() { workspace.openedSchemes = {"vesk"}; }
};

TEST_F(VeskIntegrationTest, IsInstalledWhereAProgramOpensItsUrls)
{
    EXPECT_TRUE(vesk.isInstalled());
    workspace.openedSchemes = {"velmor", "https"};
    EXPECT_FALSE(vesk.isInstalled());
    EXPECT_THAT(workspace.opened, IsEmpty());
}

TEST_F(VeskIntegrationTest, AReferenceIsSavedByOneUrl)
{
    EXPECT_TRUE(vesk.saveReference(2, "K-14", 79.2));
    EXPECT_THAT(workspace.opened, ElementsAre("vesk://reference/2/save?name=K-14&dBSPL=79.2"));
}

TEST_F(VeskIntegrationTest, SlotsBelowOneAndAboveThreeOpenNothing)
{
    EXPECT_FALSE(vesk.saveReference(0, "K-14", 79));
    EXPECT_FALSE(vesk.saveReference(4, "K-14", 79));
    EXPECT_FALSE(vesk.saveReference(-1, "K-14", 79));
    EXPECT_THAT(workspace.opened, IsEmpty());
    EXPECT_TRUE(vesk.saveReference(1, "K-14", 79));
    EXPECT_TRUE(vesk.saveReference(3, "K-14", 79));
}

TEST_F(VeskIntegrationTest, LevelsGoUpToAHundredAndForty)
{
    for (const double level : {140.1, -0.1, std::nan(""), std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity()})
        EXPECT_FALSE(vesk.saveReference(1, "Mix", level)) << level;
    EXPECT_THAT(workspace.opened, IsEmpty());
    EXPECT_TRUE(vesk.saveReference(1, "Mix", 140.0));
    EXPECT_TRUE(vesk.saveReference(1, "Mix", 0.0));
    EXPECT_THAT(workspace.opened, ElementsAre("vesk://reference/1/save?name=Mix&dBSPL=140.0",
                                              "vesk://reference/1/save?name=Mix&dBSPL=0.0"));
}

TEST_F(VeskIntegrationTest, NamesArriveEncoded)
{
    EXPECT_TRUE(vesk.saveReference(3, "Late & quiet 100%", 68.04));
    EXPECT_THAT(workspace.opened,
                ElementsAre("vesk://reference/3/save?name=Late%20%26%20quiet%20100%25&dBSPL=68.0"));
}

TEST_F(VeskIntegrationTest, WithoutAProgramNothingIsSaved)
{
    workspace.openedSchemes.clear();
    EXPECT_FALSE(vesk.saveReference(2, "K-14", 79.2));
    EXPECT_THAT(workspace.opened, IsEmpty());
}

TEST_F(VeskIntegrationTest, TheFirstSlotIsTheLastOneOrTheSecond)
{
    EXPECT_EQ(vesk.initialSlot(), 2);
    for (const int slot : {1, 2, 3}) {
        vesk.setLastUsedSlot(slot);
        EXPECT_EQ(vesk.initialSlot(), slot);
        EXPECT_EQ(defaults.get<std::int64_t>("VeskIntegration.lastSlot"), slot);
    }
    for (const std::int64_t slot :
         {std::int64_t(0), std::int64_t(7), std::int64_t(-1), std::int64_t(1) << 32}) {
        defaults.set("VeskIntegration.lastSlot", slot);
        EXPECT_EQ(vesk.initialSlot(), 2) << slot;
    }
    defaults.set("VeskIntegration.lastSlot", "1");
    EXPECT_EQ(vesk.initialSlot(), 2);
}

TEST_F(VeskIntegrationTest, NamesAreSuggestedByTheRoundedTarget)
{
    EXPECT_EQ(VeskIntegration::suggestedName(73), "Mastering");
    EXPECT_EQ(VeskIntegration::suggestedName(79), "K-14");
    EXPECT_EQ(VeskIntegration::suggestedName(79.4), "K-14");
    EXPECT_EQ(VeskIntegration::suggestedName(78.5), "K-14");
    EXPECT_EQ(VeskIntegration::suggestedName(79.6), "Mix");
    EXPECT_EQ(VeskIntegration::suggestedName(83), "K-12");
    EXPECT_EQ(VeskIntegration::suggestedName(85), "K-20");
    EXPECT_EQ(VeskIntegration::suggestedName(0), "Mix");
}

} // namespace
} // namespace velmor
