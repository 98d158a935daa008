// SPDX-License-Identifier: GPL-3.0-or-later
// Real full and read-only disks: small file systems of the tests' own.
#include <sessions/SessionFormat.h>
#include <support/CapturedOutput.h>
#include <support/SessionWorld.h>
#include <support/SmallDisk.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

namespace velmor {
namespace {

using test::contentOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;

class SmallDisk : public testing::Test
{
protected:
    void SetUp() override
    {
        disk = world.folder / "disk";
        std::filesystem::create_directory(disk);
        fileSystem.emplace(disk, "128k");
        // Not every container lets its processes mount, not even in a view of their own.
        if (!fileSystem->problem().empty())
            GTEST_SKIP() << "no file system of its own: " << fileSystem->problem();
    }

    void fill() const
    {
        std::ofstream filler(disk / "filler", std::ios::binary);
        const std::string block(4096, 'x');
        while (filler.write(block.data(), static_cast<std::streamsize>(block.size())).flush()) {
        }
    }

    test::CapturedOutput output;
    test::SessionWorld world;
    std::filesystem::path disk;
    std::optional<test::SmallDisk> fileSystem;
};

TEST_F(SmallDisk, AFullDiskCostsNothingAndTheNextSaveWithSpaceSucceeds)
{
    const auto manager = world.manager(SessionStorage::inFolder(disk));
    world.runSession(*manager, "before");
    const std::string onDisk = contentOf(disk / "sessions.json");
    fill();
    world.runSession(*manager, "first");
    world.runSession(*manager, "second");
    EXPECT_THAT(manager->sessionHistory.get(), SizeIs(3));
    EXPECT_EQ(contentOf(disk / "sessions.json"), onDisk);
    EXPECT_THAT(world.notifications.identifiers(), ElementsAre("velmor.session.savefail"));
    EXPECT_THAT(world.notifications.requests[0].body,
                EndsWith("Check disk space and Velmor's container permissions. No space left on device"));

    std::filesystem::remove(disk / "filler");
    world.runSession(*manager, "after");
    EXPECT_EQ(decodedHistory(contentOf(disk / "sessions.json")), manager->sessionHistory.get());
    EXPECT_THAT(manager->sessionHistory.get(), SizeIs(4));
    EXPECT_FALSE(manager->hasUnsavedSessions());
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(disk), std::filesystem::directory_iterator()),
              1);
    EXPECT_EQ(output.text(),
              "[Velmor] The running session's journal can't be written: No space left on device\n"
              "Failed to save session history: No space left on device\n"
              "Failed to save session history: No space left on device\n");
}

TEST_F(SmallDisk, AReadOnlyFolderCostsNothingAndTheNextSaveSucceeds)
{
    const auto manager = world.manager(SessionStorage::inFolder(disk));
    world.runSession(*manager, "before");
    ASSERT_TRUE(fileSystem->setReadOnly(true));
    world.runSession(*manager, "first");
    world.runSession(*manager, "second");
    EXPECT_THAT(manager->sessionHistory.get(), SizeIs(3));
    EXPECT_THAT(world.notifications.identifiers(), ElementsAre("velmor.session.savefail"));
    EXPECT_THAT(decodedHistory(contentOf(disk / "sessions.json")), SizeIs(1));
    ASSERT_TRUE(fileSystem->setReadOnly(false));
    manager->saveHistory();
    EXPECT_EQ(decodedHistory(contentOf(disk / "sessions.json")), manager->sessionHistory.get());
    EXPECT_THAT(output.text(), HasSubstr("Failed to save session history: Read-only file system\n"));
}

TEST_F(SmallDisk, ADamagedHistoryIsNotOverwrittenWhileThereIsNoRoomForItsCopy)
{
    test::writeFile(disk / "sessions.json", "damaged" + std::string(20'000, ' '));
    const std::string damaged = contentOf(disk / "sessions.json");
    fill();
    auto manager = world.manager(SessionStorage::inFolder(disk));
    EXPECT_TRUE(manager->sessionHistory.get().empty());
    std::filesystem::resize_file(disk / "filler", std::filesystem::file_size(disk / "filler") - 12'288);
    world.runSession(*manager, "REAPER"); // there is room for it, but not for the copy
    EXPECT_EQ(contentOf(disk / "sessions.json"), damaged);
    std::filesystem::remove(disk / "filler");
    manager->saveHistory();
    EXPECT_EQ(decodedHistory(contentOf(disk / "sessions.json")), manager->sessionHistory.get());
    EXPECT_EQ(contentOf(disk / "sessions.damaged-2026-03-02T090100Z.json"), damaged);
    EXPECT_THAT(output.text(), HasSubstr("Failed to save session history: the damaged history could not be "
                                         "copied aside (No space left on device)\n"));
}

} // namespace
} // namespace velmor
