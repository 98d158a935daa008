// SPDX-License-Identifier: GPL-3.0-or-later
// The program's own place on the desktop: its folders, its login item, the system's time zone.
#include <linux/AutostartLoginItem.h>
#include <linux/Directories.h>
#include <linux/PollMainLoop.h>
#include <linux/TimeZoneWatch.h>
#include <support/TemporaryFolder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

#include <sys/stat.h>
#include <unistd.h>

namespace velmor {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Sets variables of the environment for a test; an empty one is taken away.
class Environment
{
public:
    explicit Environment(const std::map<std::string, std::string>& variables)
    {
        for (const auto& [name, value] : variables) {
            const char* before = std::getenv(name.c_str());
            m_before[name] = before ? before : "";
            set(name, value);
        }
    }
    ~Environment()
    {
        for (const auto& [name, value] : m_before)
            set(name, value);
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    static void set(const std::string& name, const std::string& value)
    {
        if (value.empty())
            ::unsetenv(name.c_str());
        else
            ::setenv(name.c_str(), value.c_str(), 1);
    }
    std::map<std::string, std::string> m_before;
};

TEST(Directories, AreWhereTheEnvironmentSays)
{
    const Environment environment({{"HOME", "/home/me"},
                                   {"XDG_DATA_HOME", "/d"},
                                   {"XDG_CONFIG_HOME", "/c"},
                                   {"XDG_CACHE_HOME", "/k"},
                                   {"XDG_DATA_DIRS", "/one:relative::/two"}});
    const BaseFolders base = BaseFolders::current();
    EXPECT_THAT(base.allData(), ElementsAre("/d", "/one", "/two"));
    const ProgramFolders folders = ProgramFolders::in(base);
    EXPECT_EQ(folders.data, "/d/Velmor");
    EXPECT_EQ(folders.cache, "/k/Velmor");
    EXPECT_EQ(folders.defaults, "/c/Velmor");
}

TEST(Directories, AreBelowTheHomeFolderWhereItSaysNothingOfUse)
{
    const Environment environment({{"HOME", "/home/me"},
                                   {"XDG_DATA_HOME", "relative"},
                                   {"XDG_CONFIG_HOME", ""},
                                   {"XDG_CACHE_HOME", ""},
                                   {"XDG_DATA_DIRS", ""}});
    const BaseFolders base = BaseFolders::current();
    EXPECT_THAT(base.allData(), ElementsAre("/home/me/.local/share", "/usr/local/share", "/usr/share"));
    EXPECT_EQ(base.config, "/home/me/.config");
    EXPECT_EQ(base.cache, "/home/me/.cache");
}

TEST(Directories, AFolderIsMadeForItsUserAloneAndOneThatIsThereIsLeft)
{
    const test::TemporaryFolder folder;
    const auto rightsOf = [&](const char* name) {
        struct stat status = {};
        ::stat((folder / name).c_str(), &status);
        return status.st_mode & 07777U;
    };
    const mode_t mask = ::umask(0);
    EXPECT_FALSE(createFolder(folder / "a/b/c"));
    ::umask(mask);
    EXPECT_EQ(rightsOf("a"), 0700U);
    EXPECT_EQ(rightsOf("a/b/c"), 0700U);
    ::chmod((folder / "a").c_str(), 0755);
    EXPECT_FALSE(createFolder(folder / "a"));
    EXPECT_EQ(rightsOf("a"), 0755U);
}

TEST(Directories, AFileInTheWayIsAnError)
{
    const test::TemporaryFolder folder;
    test::writeFile(folder / "file", "");
    EXPECT_EQ(createFolder(folder / "file"), std::errc::file_exists);
    EXPECT_EQ(createFolder(folder / "file/below"), std::errc::not_a_directory);
}

class AutostartLoginItemTest : public testing::Test
{
protected:
    void writeEntry(const std::string& lines)
    {
        std::filesystem::create_directories(folder / "autostart");
        test::writeFile(file, "[Desktop Entry]\nType=Application\nExec=velmor\n" + lines);
    }

    test::TemporaryFolder folder;
    std::filesystem::path file = folder / "autostart/dev.brightfen.velmor.desktop";
    AutostartLoginItem item{folder.path(), "/opt/my \"tools\"/$1 100%/velmor\\x"};
};

TEST_F(AutostartLoginItemTest, IsOffUntilItIsRegisteredAndAgainWhenItIsNot)
{
    EXPECT_FALSE(item.isEnabled());
    EXPECT_TRUE(item.unregisterItem());
    EXPECT_TRUE(item.registerItem());
    EXPECT_TRUE(item.isEnabled());
    EXPECT_TRUE(item.registerItem());
    EXPECT_TRUE(item.unregisterItem());
    EXPECT_FALSE(item.isEnabled());
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(AutostartLoginItemTest, NamesTheProgramInTheFormOfDesktopFiles)
{
    item.registerItem();
    EXPECT_THAT(test::contentOf(file), HasSubstr(R"(Exec="/opt/my \\"tools\\"/\\$1 100%%/velmor\\\\x")"
                                                 "\n"));
}

TEST_F(AutostartLoginItemTest, TheDesktopsOwnSwitchesCount)
{
    writeEntry("");
    EXPECT_TRUE(item.isEnabled());
    writeEntry("Hidden=true\n");
    EXPECT_FALSE(item.isEnabled());
    writeEntry("X-GNOME-Autostart-enabled=false\n");
    EXPECT_FALSE(item.isEnabled());
    // The file stays for the switch to be found again.
    EXPECT_TRUE(item.unregisterItem());
    EXPECT_TRUE(std::filesystem::exists(file));
    EXPECT_TRUE(item.registerItem());
    EXPECT_TRUE(item.isEnabled());
    writeEntry("Hidden=maybe\n");
    EXPECT_TRUE(item.isEnabled());
    test::writeFile(file, "");
    EXPECT_FALSE(item.isEnabled());
    test::writeFile(file, "[Desktop Entry]\nType=Application\n");
    EXPECT_FALSE(item.isEnabled());
}

TEST_F(AutostartLoginItemTest, WhatTheUserHasAddedStays)
{
    item.registerItem();
    const std::string more = test::contentOf(file) + "X-GNOME-Autostart-Delay=10\n";
    test::writeFile(file, more);
    EXPECT_TRUE(item.registerItem());
    EXPECT_EQ(test::contentOf(file), more);
}

TEST_F(AutostartLoginItemTest, AWriteThatIsRefusedIsNoRegistration)
{
    test::writeFile(folder / "autostart", "a file in the way");
    EXPECT_FALSE(item.registerItem());
    EXPECT_FALSE(item.isEnabled());
}

TEST(TimeZoneWatch, TellsWhenTheZonesFileIsReplacedAndOfNoOtherFile)
{
    const test::TemporaryFolder folder;
    PollMainLoop loop;
    int changes = 0;
    const TimeZoneWatch watch(
        loop, [&] { ++changes; }, folder.path());
    const auto run = [&] {
        loop.after(0.05, [&] { loop.quit(); });
        loop.run();
    };
    test::writeFile(folder / "hosts", "x");
    run();
    EXPECT_EQ(changes, 0);
    std::filesystem::create_symlink("/usr/share/zoneinfo/Europe/Berlin", folder / "new");
    std::filesystem::rename(folder / "new", folder / "localtime");
    run();
    EXPECT_EQ(changes, 1);
    test::writeFile(folder / "timezone", "Asia/Tokyo\n");
    run();
    EXPECT_EQ(changes, 2);
}

TEST(TimeZoneWatch, AFolderThatIsNotThereIsNoTrouble)
{
    PollMainLoop loop;
    const TimeZoneWatch watch(
        loop, [] { ADD_FAILURE(); }, "/nonexistent");
    loop.after(0.01, [&] { loop.quit(); });
    loop.run();
}

} // namespace
} // namespace velmor
