// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/UrlHandlers.h>
#include <support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

namespace velmor {
namespace {

/// Folders are looked for once in a process: this is the only test here.
TEST(UrlHandlers, AProgramIsThereOnceItIsRegisteredForTheScheme)
{
    const test::TemporaryFolder folder;
    ::setenv("XDG_DATA_HOME", (folder.path() / "data").c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (folder.path() / "config").c_str(), 1);
    ::setenv("XDG_DATA_DIRS", (folder.path() / "system").c_str(), 1);
    ::setenv("XDG_CONFIG_DIRS", (folder.path() / "etc").c_str(), 1);
    const auto applications = folder.path() / "data/applications";
    std::filesystem::create_directories(applications);
    EXPECT_FALSE(hasUrlHandler("vesk://reference/1"));
    EXPECT_FALSE(hasUrlHandler("no url"));
    EXPECT_FALSE(hasUrlHandler(""));
    std::ofstream(applications / "slots.desktop")
        << "[Desktop Entry]\nType=Application\nName=Slots\nExec=true %u\nMimeType=x-scheme-handler/vesk;\n";
    std::ofstream(applications / "mimeinfo.cache") << "[MIME Cache]\nx-scheme-handler/vesk=slots.desktop;\n";
    // The system tells of what has been installed meanwhile.
    for (int i = 0; i < 100 && !hasUrlHandler("vesk://reference/1"); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_TRUE(hasUrlHandler("vesk://reference/1"));
    EXPECT_TRUE(hasUrlHandler("VESK:anything"));
    EXPECT_FALSE(hasUrlHandler("other://reference/1"));
}

} // namespace
} // namespace velmor
