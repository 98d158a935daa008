// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/ProcessInfo.h>
#include <linux/ProgramName.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

namespace velmor {
namespace {

TEST(ProcessInfo, TheParentStandsBehindANameThatMayHoldAnything)
{
    EXPECT_EQ(parentFromStat("17 (reaper) S 4 17 17 0 -1"), 4);
    EXPECT_EQ(parentFromStat("17 (a) S 9 (b)) R 4711 17"), 4711);
    for (const char* text : {"", "17", "17 (reaper", "17 (reaper)", "17 (reaper) S", "17 (reaper) S x"})
        EXPECT_EQ(parentFromStat(text), std::nullopt) << text;
}

TEST(ProcessInfo, AScopeHasTheProgramsIdentifier)
{
    const auto idIn = [](const std::string& unit) {
        const auto scope = scopeFromCgroup("0::/user.slice/" + unit + "\n");
        return scope ? scope->applicationID : "";
    };
    EXPECT_EQ(idIn("app-gnome-org.ardour.Ardour-4711.scope"), "org.ardour.Ardour");
    EXPECT_EQ(idIn("app-org.kde.konsole-9f3c.scope"), "org.kde.konsole");
    EXPECT_EQ(idIn("app-cockos\\x2dreaper-9f3c.scope"), "cockos-reaper");
    EXPECT_EQ(idIn("app-cockos\\x2dreaper@9f3c.service"), "cockos-reaper");
    EXPECT_EQ(idIn("app-gnome-lmms@autostart.service"), "lmms");
    EXPECT_EQ(idIn("app-flatpak-com.bitwig.BitwigStudio-1.scope"), "com.bitwig.BitwigStudio");
    EXPECT_EQ(idIn("app.slice/app-a\\xzz-1.scope/child"), "a\\xzz");
    for (const char* unit : {"", "session-2.scope", "vte-spawn-1234.scope", "app-1.scope", "app-.scope",
                             "app.slice", "dbus.service", "app-x-1.slice"})
        EXPECT_EQ(idIn(unit), "") << unit;
}

TEST(ProcessInfo, AScopesPathEndsWithTheScope)
{
    const auto scope = scopeFromCgroup("12:cpu:/x\n0::/user.slice/app-lmms-1.scope/sub/app-other-2.scope\n");
    ASSERT_TRUE(scope);
    EXPECT_EQ(scope->path, "/user.slice/app-lmms-1.scope");
    EXPECT_EQ(scopeFromCgroup("1:name=systemd:/app-lmms-1.scope\n"), std::nullopt);
    EXPECT_EQ(scopeFromCgroup(""), std::nullopt);
}

TEST(ProcessInfo, AFlatpakTellsItsNameAndItsInstance)
{
    const auto sandbox = scopeFromFlatpakInfo("[Application]\nname=a.b.C\n[Instance]\ninstance-id=12\n");
    EXPECT_EQ(sandbox, (ApplicationScope{"flatpak:12", "a.b.C"}));
    EXPECT_EQ(scopeFromFlatpakInfo("[Application]\nname=a.b.C\n"),
              (ApplicationScope{"flatpak:a.b.C", "a.b.C"}));
    for (const char* text : {"", "name=a.b.C\n", "[Application]\n", "[Application]\nname=\n", "\x01\xff"})
        EXPECT_EQ(scopeFromFlatpakInfo(text), std::nullopt) << text;
}

TEST(ProcessInfo, TheOwnerIsTheEffectiveUser)
{
    EXPECT_EQ(ownerFromStatus("Name:\tx\nUid:\t1000\t1001\t0\t0\n"), 1001U);
    for (const char* text : {"", "Uid:\t1\t2", "\nUid:\t1", "\nUid:\t1\tx"})
        EXPECT_EQ(ownerFromStatus(text), std::nullopt) << text;
}

TEST(ProcessInfo, ReadsARealProcess)
{
    const int processes = ::open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const auto self = readProcess(processes, ::getpid());
    ASSERT_TRUE(self);
    EXPECT_EQ(self->parent, ::getppid());
    EXPECT_TRUE(self->executable.ends_with("/linux_test")) << self->executable;
    ASSERT_FALSE(self->arguments.empty());
    EXPECT_NE(self->arguments[0].find("linux_test"), std::string::npos);
    EXPECT_EQ(readProcess(processes, 0), std::nullopt);
    ::close(processes);
}

TEST(ProgramName, IsTheExecutableOrWhatAnInterpreterRuns)
{
    using Words = std::vector<std::string>;
    EXPECT_EQ(programName("/opt/REAPER/reaper", Words{"reaper", "song.rpp"}), "reaper");
    EXPECT_EQ(programName("", Words{"/usr/bin/lmms", "%f"}), "lmms");
    EXPECT_EQ(programName("", Words{"env", "LANG=C", "QT_SCALE=1", "/opt/x/qtractor"}), "qtractor");
    EXPECT_EQ(programName("/usr/bin/env", Words{"env", "lmms"}), "lmms");
    EXPECT_EQ(programName("/bin/bash", Words{"/bin/sh", "-e", "/usr/bin/ardour8"}), "ardour8");
    EXPECT_EQ(programName("/usr/bin/python3.11", Words{"python3", "/usr/bin/carla"}), "carla");
    EXPECT_EQ(programName("/usr/lib/wine/wine64", Words{"wine64", R"(C:\A B\FL64.EXE)"}), "fl64.exe");
    EXPECT_EQ(programName("", Words{"env", "WINEPREFIX=/home/me/.wine", "wine", R"(C:\A\FL64.exe)"}),
              "fl64.exe");
    EXPECT_EQ(programName("/usr/bin/bash", Words{"bash"}), "");
    // A text that is to be run is no name, whatever it ends with.
    for (const Words& words : {Words{"sh", "-c", "rsync -a . /backup/reaper"},
                               Words{"bash", "-ec", "/reaper"}, Words{"bash", "--norc", "-c", "reaper"}})
        EXPECT_EQ(programName("/usr/bin/bash", words), "") << words[1];
    EXPECT_EQ(programName("/usr/bin/python3", Words{"python3", "-c", "reaper"}), "");
    EXPECT_EQ(programName("/usr/bin/perl", Words{"perl", "-e", "reaper"}), "");
    EXPECT_EQ(programName("/usr/bin/java", Words{"java", "-cp", "a:/b/reaper", "Main"}), "");
    EXPECT_EQ(programName("/usr/bin/java", Words{"java", "-jar", "/opt/x.jar"}), "x.jar");
    EXPECT_EQ(programName("/usr/bin/bash", Words{}), "");
    EXPECT_EQ(programName("", Words{}), "");
    EXPECT_EQ(programName("", Words{"flatpak", "run", "a.b.C"}), "");
    EXPECT_EQ(programName("/usr/bin/wine", Words{"wine", "notepad"}), "");
}

TEST(ProgramName, AVersionAtTheEndIsNoPartOfTheName)
{
    EXPECT_EQ(withoutVersion("ardour-8.6.0"), "ardour");
    EXPECT_EQ(withoutVersion("ardour8"), "ardour");
    EXPECT_EQ(withoutVersion("lmms"), "lmms");
    EXPECT_EQ(withoutVersion("2048"), "2048");
    EXPECT_EQ(withoutVersion(""), "");
}

} // namespace
} // namespace velmor
