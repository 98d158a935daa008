// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/DesktopEntries.h>
#include <support/TemporaryFolder.h>

#include <gtest/gtest.h>

namespace velmor {
namespace {

std::optional<DesktopEntry> read(const std::string& lines)
{
    return desktopEntryFromText("[Desktop Entry]\n" + lines, "id", "/file");
}

TEST(DesktopEntry, SaysWhatAProgramIs)
{
    const auto entry = read("Type=Application\nName=A Program\nExec=\"/opt/a b/program\" --new %U\nIcon=x\n");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->id, "id");
    EXPECT_EQ(entry->name, "A Program");
    EXPECT_EQ(entry->program, "program");
    EXPECT_EQ(entry->icon, "x");
    EXPECT_TRUE(entry->isShown);
}

TEST(DesktopEntry, IsAbsentForWhatIsNoProgram)
{
    EXPECT_FALSE(read("Type=Link\nName=x\nURL=y\n"));
    EXPECT_FALSE(read("Type=Application\nName=x\nHidden=true\n"));
    EXPECT_FALSE(read("no key\n"));
    EXPECT_FALSE(desktopEntryFromText("", "id", "/file"));
    EXPECT_FALSE(desktopEntryFromText("[Other]\nType=Application\n", "id", "/file"));
}

TEST(DesktopEntry, WithoutACommandThatCanBeReadIsThereAllTheSame)
{
    for (const char* command :
         {"", "Exec=\n", "Exec=\"unbalanced\n", "Exec=%U\n", "Exec=flatpak run a.b.C\n"}) {
        const auto entry = read("Type=Application\n" + std::string(command));
        ASSERT_TRUE(entry) << command;
        EXPECT_EQ(entry->name, "id");
        EXPECT_EQ(entry->program, "") << command;
    }
}

TEST(DesktopEntries, TheUsersOwnHideTheSystems)
{
    const test::TemporaryFolder folder;
    for (const char* name : {"own/applications/deep", "system/applications"})
        std::filesystem::create_directories(folder / name);
    const auto write = [&](const char* file, const std::string& lines) {
        test::writeFile(folder / file, "[Desktop Entry]\nType=Application\n" + lines);
    };
    write("system/applications/a.desktop", "Name=System's\nExec=a7\n");
    write("own/applications/a.desktop", "Name=Own\nExec=a7\n");
    write("system/applications/gone.desktop", "Name=Gone\nExec=gone\n");
    write("own/applications/gone.desktop", "Hidden=true\n");
    write("own/applications/deep/b.desktop", "Name=Deep\nExec=bee\n");
    write("own/applications/no.txt", "Name=No\nExec=no\n");

    DesktopEntries entries({folder / "own", folder / "system", folder / "missing"});
    EXPECT_EQ(entries.all().size(), 2U);
    ASSERT_TRUE(entries.withID("a"));
    EXPECT_EQ(entries.withID("a")->name, "Own");
    ASSERT_TRUE(entries.withID("deep-b"));
    EXPECT_EQ(entries.ofProgram("bee"), entries.withID("deep-b"));
    EXPECT_EQ(entries.ofProgram("gone"), nullptr);
    // A single letter without its version is like too many others.
    EXPECT_EQ(entries.ofProgram("a8"), nullptr);

    write("own/applications/ardour7.desktop", "Name=Ardour 7\nExec=ardour7\n");
    write("own/applications/ardour8.desktop", "Name=Ardour 8\nExec=ardour8\n");
    entries.refresh();
    EXPECT_EQ(entries.ofProgram("ardour-8.6.0"), entries.withID("ardour8"));
    EXPECT_EQ(entries.ofProgram("ardour-7.5.0"), entries.withID("ardour7"));
    EXPECT_NE(entries.ofProgram("ardour-9.0"), nullptr);

    std::filesystem::create_directories(folder / "missing/applications");
    write("missing/applications/c.desktop", "Name=New\nExec=sea-1.2\n");
    entries.refresh();
    EXPECT_EQ(entries.ofProgram("sea-1.3"), entries.withID("c"));
    EXPECT_NE(entries.withID("c"), nullptr);
}

} // namespace
} // namespace velmor
