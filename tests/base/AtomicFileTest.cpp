// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/AtomicFile.h>
#include <support/TemporaryFolder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstring>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Which call of which kind is to fail, and how.
struct Fault
{
    const char* call = nullptr;
    int countdown = 0; ///< Fails when it reaches 0.
    int error = 0;
    int seen = 0; ///< Calls of that kind so far.
};

Fault fault;
bool writesShort = false;
int interruptions = 0; ///< This many writes and syncs are interrupted first.

bool fails(const char* call)
{
    if (!fault.call || std::strcmp(call, fault.call) != 0)
        return false;
    ++fault.seen;
    if (fault.countdown-- != 0)
        return false;
    errno = fault.error;
    return true;
}

bool isInterrupted()
{
    if (interruptions == 0)
        return false;
    --interruptions;
    errno = EINTR;
    return true;
}

} // namespace

// The linker leads the calls of the code under test through these (--wrap).
extern "C" {
int __real_open(const char* path, int flags, ...);
int __real_openat(int folder, const char* path, int flags, ...);
ssize_t __real_write(int file, const void* data, size_t size);
int __real_fsync(int file);
int __real_renameat(int oldFolder, const char* oldPath, int newFolder, const char* newPath);
int __real_close(int file);

int __wrap_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...)
{
    return fails("open") ? -1 : __real_open(path, flags);
}

int __wrap_openat(int folder, const char* path, int flags, ...);
int __wrap_openat(int folder, const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, mode_t);
    va_end(arguments);
    return fails("openat") ? -1 : __real_openat(folder, path, flags, mode);
}

ssize_t __wrap_write(int file, const void* data, size_t size);
ssize_t __wrap_write(int file, const void* data, size_t size)
{
    if (isInterrupted() || fails("write"))
        return -1;
    return __real_write(file, data, writesShort && size > 1 ? size / 2 : size);
}

int __wrap_fsync(int file);
int __wrap_fsync(int file)
{
    return isInterrupted() || fails("fsync") ? -1 : __real_fsync(file);
}

int __wrap_renameat(int oldFolder, const char* oldPath, int newFolder, const char* newPath);
int __wrap_renameat(int oldFolder, const char* oldPath, int newFolder, const char* newPath)
{
    return fails("renameat") ? -1 : __real_renameat(oldFolder, oldPath, newFolder, newPath);
}

int __wrap_close(int file);
int __wrap_close(int file)
{
    // A close that fails has closed the file all the same.
    const bool hasFailed = fails("close");
    const int result = __real_close(file);
    if (hasFailed)
        errno = fault.error;
    return hasFailed ? -1 : result;
}
}

namespace velmor {
namespace {

using test::contentOf;
using test::TemporaryFolder;
using test::writeFile;
using testing::ElementsAre;

class AtomicFileTest : public testing::Test
{
protected:
    void TearDown() override
    {
        fault = Fault();
        writesShort = false;
        interruptions = 0;
    }

    TemporaryFolder folder;
    const std::filesystem::path target = folder / "target";
    const std::string oldContent = "old";
    const std::string newContent = std::string(200000, 'n') + "end";

    bool replace()
    {
        AtomicFile file(target);
        for (std::size_t i = 0; i < newContent.size(); i += 1000)
            file.write(std::string_view(newContent).substr(i, 1000));
        return file.commit();
    }
};

TEST_F(AtomicFileTest, ReplacesTheFileWholeAndForItsOwnerAlone)
{
    writeFile(target, oldContent);
    ::chmod(target.c_str(), 0644);
    EXPECT_TRUE(replace());
    EXPECT_EQ(contentOf(target), newContent);
    EXPECT_THAT(folder.names(), ElementsAre("target"));
    EXPECT_EQ(std::filesystem::status(target).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(AtomicFileTest, CreatesAFileThatWasNotThere)
{
    EXPECT_TRUE(replace());
    EXPECT_EQ(contentOf(target), newContent);
}

TEST_F(AtomicFileTest, WithoutCommitTheTargetStaysAndNothingIsLeft)
{
    writeFile(target, oldContent);
    {
        AtomicFile file(target);
        file.write(newContent);
    }
    EXPECT_EQ(contentOf(target), oldContent);
    EXPECT_THAT(folder.names(), ElementsAre("target"));
}

TEST_F(AtomicFileTest, ALinkAtTheTargetIsReplacedAndNotFollowed)
{
    writeFile(folder / "elsewhere", oldContent);
    std::filesystem::create_symlink("elsewhere", target);
    EXPECT_TRUE(replace());
    EXPECT_FALSE(std::filesystem::is_symlink(target));
    EXPECT_EQ(contentOf(target), newContent);
    EXPECT_EQ(contentOf(folder / "elsewhere"), oldContent);
}

TEST_F(AtomicFileTest, WhatMustNotBeReplacedIsRefusedAtOnce)
{
    std::filesystem::create_directory(target);
    EXPECT_EQ(AtomicFile(target).error(), std::errc::is_a_directory);
    EXPECT_EQ(AtomicFile(folder / "").error(), std::errc::is_a_directory);
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(AtomicFile(folder / "pipe").error(), std::errc::invalid_argument);
    EXPECT_EQ(AtomicFile("/dev/null").error(), std::errc::invalid_argument);
    EXPECT_EQ(AtomicFile(folder / "no such folder/target").error(), std::errc::no_such_file_or_directory);
    EXPECT_THAT(folder.names(), ElementsAre("pipe", "target"));
}

TEST_F(AtomicFileTest, ShortAndInterruptedWritesGoOn)
{
    writesShort = true;
    interruptions = 3;
    EXPECT_TRUE(replace());
    EXPECT_EQ(contentOf(target), newContent);
}

// Every call of each kind fails in turn, until none is left that could.
TEST_F(AtomicFileTest, AfterAFailureOfAnyCallTheFileIsTheOldOrTheNewOneWhole)
{
    for (const char* call : {"open", "openat", "write", "fsync", "renameat", "close"}) {
        int failures = 0;
        while (true) {
            writeFile(target, oldContent);
            fault = {call, failures, std::strcmp(call, "write") == 0 ? ENOSPC : EIO, 0};
            const bool isCommitted = replace();
            const bool hasFailed = fault.countdown < 0;
            fault.call = nullptr;
            if (!hasFailed)
                break;
            // Closing the folder, the last call of all, tells nothing that would matter any more.
            const bool matters = !(std::strcmp(call, "close") == 0 && failures > 0);
            EXPECT_EQ(isCommitted, !matters) << call << " " << failures;
            const std::string content = contentOf(target);
            EXPECT_TRUE(content == oldContent || content == newContent) << call << " " << failures;
            EXPECT_THAT(folder.names(), ElementsAre("target")) << call << " " << failures;
            ++failures;
        }
        EXPECT_GE(failures, 1) << call;
    }
}

TEST_F(AtomicFileTest, OnlyTheSyncOfTheFolderComesAfterTheReplacement)
{
    writeFile(target, oldContent);
    fault = {"fsync", 0, EIO, 0};
    EXPECT_FALSE(replace());
    EXPECT_EQ(contentOf(target), oldContent);
    fault = {"fsync", 1, EIO, 0};
    EXPECT_FALSE(replace());
    EXPECT_EQ(contentOf(target), newContent);
}

TEST_F(AtomicFileTest, AFolderThatCantBeSyncedIsNoFailure)
{
    fault = {"fsync", 1, EINVAL, 0};
    EXPECT_TRUE(replace());
}

TEST_F(AtomicFileTest, TheFirstErrorIsKept)
{
    fault = {"write", 0, ENOSPC, 0};
    AtomicFile file(target);
    file.write(newContent);
    EXPECT_EQ(file.error(), std::errc::no_space_on_device);
    file.write(newContent);
    EXPECT_FALSE(file.commit());
    EXPECT_EQ(file.error(), std::errc::no_space_on_device);
    EXPECT_THAT(folder.names(), ElementsAre());
}

TEST_F(AtomicFileTest, WhatAKilledWriterLeftIsRemovedAfterAnHour)
{
    const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::minutes(61);
    for (const char* name : {".velmor-0123abcd.tmp", ".velmor-89abcdef.tmp", ".velmor-other", "mine.tmp"})
        test::writeFile(folder / name, "x");
    for (const char* name : {".velmor-0123abcd.tmp", ".velmor-other", "mine.tmp"})
        std::filesystem::last_write_time(folder / name, old);
    AtomicFile::removeLeftovers(folder.path());
    EXPECT_THAT(folder.names(), ElementsAre(".velmor-89abcdef.tmp", ".velmor-other", "mine.tmp"));
    AtomicFile::removeLeftovers(folder / "missing");
}

TEST_F(AtomicFileTest, WhatTheUserTakesAwayIsReadableAsUsualAndStaysAsItWas)
{
    const mode_t umask = ::umask(027);
    const auto write = [this](const char* name) {
        AtomicFile file(folder / name, AtomicFile::Readers::asUsual);
        file.write("new");
        EXPECT_TRUE(file.commit());
    };
    const auto mode = [this](const char* name) {
        struct stat status = {};
        ::lstat((folder / name).c_str(), &status);
        return status.st_mode & 07777;
    };
    write("fresh");
    EXPECT_EQ(mode("fresh"), 0640U);
    test::writeFile(folder / "secret", "old");
    ::chmod((folder / "secret").c_str(), 0600);
    write("secret");
    EXPECT_EQ(mode("secret"), 0600U);
    std::filesystem::create_directory(folder / "synchronised");
    test::writeFile(folder / "synchronised/report", "old");
    std::filesystem::create_symlink("synchronised/report", folder / "link");
    write("link");
    std::filesystem::create_symlink("synchronised/later", folder / "early");
    write("early");
    std::filesystem::create_symlink("loop", folder / "loop");
    write("loop");
    EXPECT_EQ(mode("loop"), 0640U);
    ::umask(umask);
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "early"));
    EXPECT_EQ(test::contentOf(folder / "synchronised/later"), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
    EXPECT_EQ(test::contentOf(folder / "synchronised/report"), "new");
}

} // namespace
} // namespace velmor
