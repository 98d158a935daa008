// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/FileText.h>
#include <support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>

#include <sys/stat.h>

namespace velmor {
namespace {

TEST(FileText, IsTheWholeFile)
{
    const test::TemporaryFolder folder;
    std::string text(3 << 20, 'x');
    text[1 << 20] = '\0';
    test::writeFile(folder / "file", text);
    std::error_code error = std::make_error_code(std::errc::io_error);
    const std::string read = fileText(folder / "file", error, 64);
    EXPECT_FALSE(error);
    EXPECT_EQ(read, text);
    EXPECT_GE(read.capacity(), read.size() + 64);
    test::writeFile(folder / "empty", "");
    EXPECT_EQ(fileText(folder / "empty", error), "");
    EXPECT_FALSE(error);
}

TEST(FileText, WhatIsNoFileIsAnErrorAndDoesNotBlock)
{
    const test::TemporaryFolder folder;
    std::error_code error;
    EXPECT_EQ(fileText(folder / "missing", error), "");
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    EXPECT_EQ(fileText(folder.path(), error), "");
    EXPECT_EQ(error, std::errc::is_a_directory);
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(fileText(folder / "pipe", error), "");
    EXPECT_EQ(error, std::errc::invalid_argument);
}

TEST(FileText, AFileThatIsTooLargeForTheMemoryIsAnError)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    // Their allocators abort where the ordinary one throws.
    GTEST_SKIP() << "a sanitizer ends the program that asks for so much memory";
#endif
    const test::TemporaryFolder folder;
    test::writeFile(folder / "sparse", "");
    std::error_code error;
    std::filesystem::resize_file(folder / "sparse", std::uintmax_t(1) << 43, error);
    // Some file systems have a lower limit, even for a file that takes no room.
    if (error)
        GTEST_SKIP() << "no file of 8 TiB here: " << error.message();
    EXPECT_EQ(fileText(folder / "sparse", error), "");
    EXPECT_EQ(error, std::errc::file_too_large);
}

} // namespace
} // namespace velmor
