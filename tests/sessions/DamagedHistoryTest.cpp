// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/AtomicFile.h>
#include <sessions/DamagedHistory.h>
#include <support/CapturedOutput.h>
#include <support/SampleSessions.h>
#include <support/SessionWorld.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#include <sys/stat.h>

namespace velmor {
namespace {

using test::contentOf;
using test::moment;
using test::writeFile;
using testing::ElementsAre;

class DamagedHistoryTest : public testing::Test
{
protected:
    test::QuietLines quietLines;
    test::SessionWorld world;
    const std::string firstCopy = "sessions.damaged-2026-03-02T090000Z.json";
};

TEST_F(DamagedHistoryTest, IsCopiedAsideOnce)
{
    writeFile(world.historyFile(), "damaged");
    auto manager = world.manager();
    EXPECT_THAT(world.folder.names(), ElementsAre(firstCopy, "sessions.json"));
    EXPECT_EQ(contentOf(world.folder / firstCopy), "damaged");
    world.loop.runFor(60);
    manager->loadHistory();
    manager = world.manager();
    EXPECT_THAT(world.folder.names(), ElementsAre(firstCopy, "sessions.json"));
}

TEST_F(DamagedHistoryTest, SurvivesTheNextSave)
{
    writeFile(world.historyFile(), "damaged");
    const auto manager = world.manager();
    world.runSession(*manager, "REAPER");
    EXPECT_EQ(contentOf(world.folder / firstCopy), "damaged");
    EXPECT_EQ(world.manager()->sessionHistory.get().size(), 1U);
}

TEST_F(DamagedHistoryTest, OtherDamageGetsACopyOfItsOwn)
{
    writeFile(world.historyFile(), "damaged");
    (void)world.manager();
    writeFile(world.historyFile(), "DAMAGED");
    (void)world.manager();
    EXPECT_THAT(world.folder.names(),
                ElementsAre("sessions.damaged-2026-03-02T090000Z-2.json", firstCopy, "sessions.json"));
    EXPECT_EQ(contentOf(world.folder / "sessions.damaged-2026-03-02T090000Z-2.json"), "DAMAGED");
}

TEST_F(DamagedHistoryTest, WhatCanNotBeCopiedIsNotOverwritten)
{
    // 200 characters of name leave no room for a longer one of the copy.
    const auto file = world.folder / (std::string(230, 'x') + ".json");
    writeFile(file, "damaged");
    EXPECT_TRUE(setDamagedHistoryAside(file, world.loop.now()));
    EXPECT_EQ(contentOf(file), "damaged");
}

TEST_F(DamagedHistoryTest, AFolderNeedsNoCopy)
{
    std::filesystem::create_directory(world.historyFile());
    EXPECT_FALSE(setDamagedHistoryAside(world.historyFile(), world.loop.now()));
    EXPECT_THAT(world.folder.names(), ElementsAre("sessions.json"));
}

} // namespace
} // namespace velmor
