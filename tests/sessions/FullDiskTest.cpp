// SPDX-License-Identifier: GPL-3.0-or-later
// Real full and read-only disks: small file systems of the tests' own.
#include <sessions/SessionFormat.h>
#include <support/CapturedOutput.h>
#include <support/SessionWorld.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace velmor {
namespace {

using test::contentOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;

void writeToProc(const char* file, const std::string& text)
{
    std::ofstream(file) << text;
}

/// A view of the file systems for this process alone, in which it may mount. \return why not.
std::string enterMountNamespace()
{
    const auto user = ::getuid();
    const auto group = ::getgid();
    const int flags = CLONE_NEWNS | (user == 0 ? 0 : CLONE_NEWUSER);
    if (::unshare(flags) != 0)
        return std::string("unshare: ") + std::strerror(errno);
    if (user != 0) {
        writeToProc("/proc/self/setgroups", "deny");
        writeToProc("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
        writeToProc("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
    }
    if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return std::string("mount: ") + std::strerror(errno);
    return "";
}

class SmallDisk : public testing::Test
{
protected:
    void SetUp() override
    {
        static const std::string problem = enterMountNamespace();
        disk = world.folder / "disk";
        std::filesystem::create_directory(disk);
        const bool isMounted = problem.empty() && ::mount("none", disk.c_str(), "tmpfs", 0, "size=128k") == 0;
        if (!isMounted)
            GTEST_SKIP() << "no file system of its own: " << problem;
        m_isMounted = true;
    }
    ~SmallDisk() override
    {
        if (m_isMounted)
            ::umount2(disk.c_str(), MNT_DETACH);
    }

    void fill() const
    {
        std::ofstream filler(disk / "filler", std::ios::binary);
        const std::string block(4096, 'x');
        while (filler.write(block.data(), static_cast<std::streamsize>(block.size())).flush()) {
        }
    }

    void setReadOnly(bool isReadOnly) const
    {
        const unsigned long flags = isReadOnly ? MS_REMOUNT | MS_RDONLY : MS_REMOUNT;
        ASSERT_EQ(::mount("none", disk.c_str(), "tmpfs", flags, "size=128k"), 0);
    }

    test::CapturedOutput output;
    test::SessionWorld world;
    std::filesystem::path disk;

private:
    bool m_isMounted = false;
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
    setReadOnly(true);
    world.runSession(*manager, "first");
    world.runSession(*manager, "second");
    EXPECT_THAT(manager->sessionHistory.get(), SizeIs(3));
    EXPECT_THAT(world.notifications.identifiers(), ElementsAre("velmor.session.savefail"));
    EXPECT_THAT(decodedHistory(contentOf(disk / "sessions.json")), SizeIs(1));
    setReadOnly(false);
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
