// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/PollMainLoop.h>
#include <linux/ProcessWorkspace.h>
#include <support/FakeProcesses.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace velmor {
namespace {

using test::MadeUpProcess;
using test::scopeOf;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto reaper = "com.cockos.reaper";

/// Programs that can't run here, in a folder like /proc.
class ProcessWorkspaceTest : public testing::Test
{
protected:
    ProcessWorkspaceTest()
    {
        test::writeDesktopFile(data.path(), "ardour8", "Ardour 8", "ardour8 %U");
        test::writeDesktopFile(data.path(), "org.example.Terminal", "Terminal", "/usr/bin/terminal");
        test::writeDesktopFile(data.path(), "cockos-reaper", "REAPER", "\"/opt/REAPER/reaper\" %F");
        test::writeDesktopFile(data.path(), "waveform", "Waveform", "/usr/bin/Waveform12");
        test::writeDesktopFile(data.path(), "hidden", "Hidden", "hidden", "NoDisplay=true\n");
    }

    ProcessWorkspace& start()
    {
        m_workspace = std::make_unique<ProcessWorkspace>(loop, std::vector{data.path()}, processes.path());
        m_subscriptions.clear();
        m_subscriptions.push_back(m_workspace->onLaunch(
            [this](const Application& application) { events.push_back("launch " + application.bundleID); }));
        m_subscriptions.push_back(m_workspace->onTermination(
            [this](const Application& application) { events.push_back("end " + application.bundleID); }));
        return *m_workspace;
    }

    /// The events of the next scan.
    std::vector<std::string> scanned()
    {
        events.clear();
        m_workspace->scan();
        return events;
    }

    std::vector<std::string> running() const
    {
        std::vector<std::string> ids;
        for (const Application& application : m_workspace->runningApplications())
            ids.push_back(application.bundleID);
        return ids;
    }

    PollMainLoop loop;
    test::TemporaryFolder data;
    test::FakeProcesses processes;
    std::vector<std::string> events;

private:
    std::unique_ptr<ProcessWorkspace> m_workspace;
    std::vector<Subscription> m_subscriptions;
};

TEST_F(ProcessWorkspaceTest, WhatRunsAtTheStartIsListedAndNotAnnounced)
{
    processes.add({.id = 10, .executable = "/opt/REAPER/reaper"});
    processes.add({.id = 11, .executable = "/usr/bin/bash"});
    ProcessWorkspace& workspace = start();
    EXPECT_THAT(workspace.runningApplications(), ElementsAre(Application{reaper, "REAPER"}));
    EXPECT_THAT(scanned(), IsEmpty());
}

TEST_F(ProcessWorkspaceTest, AProgramIsAnnouncedWhenItComesAndWhenItGoes)
{
    start();
    processes.add({.id = 10, .executable = "/opt/bitwig-studio/bitwig-studio"});
    EXPECT_THAT(scanned(), ElementsAre("launch com.bitwig.studio"));
    EXPECT_THAT(scanned(), IsEmpty());
    processes.remove(10);
    EXPECT_THAT(scanned(), ElementsAre("end com.bitwig.studio"));
    EXPECT_THAT(running(), IsEmpty());
}

TEST_F(ProcessWorkspaceTest, TheWorkstationsOfThisDesktopAreKnownByTheirExecutables)
{
    start();
    int id = 10;
    for (const auto& [executable, bundleID] : std::vector<std::pair<std::string, std::string>>{
             {"/opt/REAPER/reaper", "com.cockos.reaper"},
             {"/home/user/bitwig-studio/BitwigStudio", "com.bitwig.studio"},
             {"/tmp/.mount_audacixyz/bin/audacity", "org.audacityteam.audacity"},
             {"/opt/resolve/bin/resolve", "com.blackmagic-design.DaVinciResolve"}}) {
        processes.add({.id = id, .executable = executable});
        EXPECT_THAT(scanned(), ElementsAre("launch " + bundleID)) << executable;
        processes.remove(id++);
        scanned();
    }
}

TEST_F(ProcessWorkspaceTest, ProgramsUnderWineAreKnownByTheirExe)
{
    start();
    int id = 10;
    for (const auto& [program, bundleID] : std::vector<std::pair<std::string, std::string>>{
             {R"(C:\ProgramData\Ableton\Live 12\Program\Ableton Live 12 Suite.exe)", "com.ableton.live"},
             {R"(C:\Program Files\Steinberg\Cubase 13\Cubase13.exe)", "com.steinberg.cubase"},
             {R"(C:\Program Files\Steinberg\Nuendo 12\Nuendo12.exe)", "com.steinberg.nuendo"},
             {R"(C:\Program Files\Image-Line\FL Studio 21\FL64.exe)", "com.image-line.flstudio"},
             {R"(Z:\home\me\Studio One 6\Studio One.exe)", "com.presonus.studioone"},
             {R"(C:\Program Files\Avid\Pro Tools\ProTools.exe)", "com.avid.ProTools"},
             {R"(C:\Program Files\Adobe\Adobe Audition.exe)", "com.adobe.audition"}}) {
        processes.add({.id = id, .executable = "/usr/lib/wine/wine64-preloader", .arguments = {program}});
        EXPECT_THAT(scanned(), ElementsAre("launch " + bundleID)) << program;
        processes.remove(id++);
        scanned();
    }
    // As Proton starts it.
    processes.add({.id = id,
                   .executable = "/home/me/Proton/files/bin/wine64-preloader",
                   .arguments = {"wine64", "/home/me/FL64.exe"}});
    EXPECT_THAT(scanned(), ElementsAre("launch com.image-line.flstudio"));
}

TEST_F(ProcessWorkspaceTest, WhatWineRunsBesideThemIsNoWorkstation)
{
    start();
    int id = 10;
    for (const char* program :
         {R"(C:\windows\system32\services.exe)", R"(C:\Program Files\Ableton\Ableton Plugin Scanner.exe)",
          R"(C:\Program Files\Steinberg\Cubase 13\Components\vstscanner.exe)",
          R"(C:\Program Files\Steinberg\Cubase Crash Reporter.exe)"})
        processes.add({.id = id++, .executable = "/usr/lib/wine/wine64-preloader", .arguments = {program}});
    EXPECT_THAT(scanned(), IsEmpty());
    // Any other program of the user's can be watched for under its own name.
    processes.add(
        {.id = id, .executable = "/usr/bin/wine-preloader", .arguments = {R"(C:\Mixbus\Mixbus9.exe)"}});
    EXPECT_THAT(scanned(), ElementsAre("launch mixbus9.exe"));
}

TEST_F(ProcessWorkspaceTest, AFlatpakIsNamedByItsSandbox)
{
    start();
    const std::string info = "[Application]\nname=com.bitwig.BitwigStudio\n\n[Instance]\ninstance-id=77\n";
    const std::string scope = scopeOf("app-flatpak-com.bitwig.BitwigStudio-42.scope");
    processes.add({.id = 10, .executable = "/usr/bin/bwrap", .cgroup = scope});
    processes.add(
        {.id = 11, .parent = 10, .executable = "/usr/bin/bwrap", .cgroup = scope, .flatpakInfo = info});
    processes.add({.id = 12,
                   .parent = 11,
                   .executable = "/app/extra/bitwig-studio",
                   .cgroup = scope,
                   .flatpakInfo = info});
    processes.add({.id = 13,
                   .parent = 12,
                   .executable = "/app/extra/bin/BitwigPluginHost-X64-SSE41",
                   .cgroup = scope,
                   .flatpakInfo = info});
    EXPECT_THAT(scanned(), ElementsAre("launch com.bitwig.studio"));
    EXPECT_THAT(scanned(), IsEmpty());
    processes.remove(12);
    EXPECT_THAT(scanned(), ElementsAre("end com.bitwig.studio"));
}

TEST_F(ProcessWorkspaceTest, AFlatpakWithoutAScopeIsNamedByItsSandboxToo)
{
    start();
    const std::string info = "[Application]\nname=org.ardour.Ardour\n\n[Instance]\ninstance-id=5\n";
    processes.add({.id = 10, .executable = "/usr/bin/bwrap", .flatpakInfo = info});
    processes.add(
        {.id = 11, .parent = 10, .executable = "/app/lib/ardour8/ardour-8.6.0", .flatpakInfo = info});
    EXPECT_THAT(running(), IsEmpty());
    EXPECT_EQ(scanned().front(), "launch org.ardour.Ardour");
}

TEST_F(ProcessWorkspaceTest, AScopesLeaderIsNamedByTheScope)
{
    start();
    const std::string scope = scopeOf("app-gnome-zrythm\\x2dbeta-4711.scope");
    processes.add(
        {.id = 10, .executable = "/bin/bash", .arguments = {"/bin/sh", "/opt/start"}, .cgroup = scope});
    processes.add({.id = 11, .parent = 10, .executable = "/opt/z/bin", .cgroup = scope});
    EXPECT_THAT(scanned(), ElementsAre("launch zrythm-beta"));
    processes.remove(11);
    EXPECT_THAT(scanned(), IsEmpty());
    processes.remove(10);
    EXPECT_THAT(scanned(), ElementsAre("end zrythm-beta"));
}

TEST_F(ProcessWorkspaceTest, AWorkstationRunsFromTheScriptThatStartsItToItsOwnEnd)
{
    start();
    const std::string scope = scopeOf("app-cockos\\x2dreaper-ab12.scope");
    processes.add(
        {.id = 10, .executable = "/bin/bash", .arguments = {"/bin/sh", "/opt/start"}, .cgroup = scope});
    EXPECT_THAT(scanned(), ElementsAre("launch com.cockos.reaper"));
    processes.add({.id = 11, .parent = 10, .executable = "/opt/REAPER/reaper", .cgroup = scope});
    EXPECT_THAT(scanned(), IsEmpty());
    // What the script does then is no work with it.
    processes.remove(11);
    EXPECT_THAT(scanned(), ElementsAre("end com.cockos.reaper"));
    EXPECT_THAT(scanned(), IsEmpty());
}

TEST_F(ProcessWorkspaceTest, AStarterThatEndsBeforeItsProgramEndsNothing)
{
    start();
    processes.add({.id = 10, .executable = "/opt/bitwig-studio/bitwig-studio"});
    processes.add({.id = 11, .parent = 10, .executable = "/opt/bitwig-studio/bin/BitwigStudio"});
    EXPECT_THAT(scanned(), ElementsAre("launch com.bitwig.studio"));
    processes.remove(10);
    EXPECT_THAT(scanned(), IsEmpty());
    processes.remove(11);
    EXPECT_THAT(scanned(), ElementsAre("end com.bitwig.studio"));
}

TEST_F(ProcessWorkspaceTest, AScriptThatBecomesAWorkstationIsThatWorkstation)
{
    test::writeDesktopFile(data.path(), "my-reaper", "My REAPER", "/home/me/my-reaper");
    start();
    processes.add({.id = 10, .executable = "/bin/bash", .arguments = {"/bin/sh", "/home/me/my-reaper"}});
    EXPECT_THAT(scanned(), ElementsAre("launch my-reaper"));
    processes.add({.id = 10, .executable = "/opt/REAPER/reaper"});
    EXPECT_THAT(scanned(), ElementsAre("end my-reaper", "launch com.cockos.reaper"));
    // And its own child is a helper.
    processes.add({.id = 11, .parent = 10, .executable = "/opt/REAPER/reaper"});
    EXPECT_THAT(scanned(), IsEmpty());
    processes.remove(10);
    EXPECT_THAT(scanned(), ElementsAre("end com.cockos.reaper"));
}

TEST_F(ProcessWorkspaceTest, AScriptThatBecomesSomethingWithoutANameStaysWhatItWas)
{
    start();
    processes.add({.id = 10, .executable = "/bin/bash", .arguments = {"/bin/sh", "/usr/bin/ardour8"}});
    EXPECT_THAT(scanned(), ElementsAre("launch ardour8"));
    processes.add({.id = 10, .executable = "/usr/lib/whatever/engine"});
    EXPECT_THAT(scanned(), IsEmpty());
    processes.remove(10);
    EXPECT_THAT(scanned(), ElementsAre("end ardour8"));
}

TEST_F(ProcessWorkspaceTest, AProcessThatItsLauncherMovesIntoAScopeGoesOn)
{
    start();
    processes.add({.id = 10, .executable = "/opt/REAPER/reaper"});
    EXPECT_THAT(scanned(), ElementsAre("launch com.cockos.reaper"));
    processes.add(
        {.id = 10, .executable = "/opt/REAPER/reaper", .cgroup = scopeOf("app-cockos\\x2dreaper-1.scope")});
    EXPECT_THAT(scanned(), IsEmpty());
}

TEST_F(ProcessWorkspaceTest, AProgramThatRestartsItselfIsFoundAgain)
{
    start();
    processes.add({.id = 10, .executable = "/opt/REAPER/reaper"});
    scanned();
    processes.add({.id = 11, .parent = 10, .executable = "/opt/REAPER/reaper"});
    EXPECT_THAT(scanned(), IsEmpty());
    processes.remove(10);
    EXPECT_THAT(scanned(), ElementsAre("end com.cockos.reaper"));
    for (int i = 0; i < 3; ++i)
        EXPECT_THAT(scanned(), IsEmpty()) << i;
    EXPECT_THAT(scanned(), ElementsAre("launch com.cockos.reaper"));
}

TEST_F(ProcessWorkspaceTest, AServiceThatIsStartedAgainIsLedByItsNewProcess)
{
    start();
    const std::string unit = scopeOf("app-lmms@autostart.service");
    for (const int id : {10, 11}) {
        processes.add({.id = id, .executable = "/opt/l", .cgroup = unit});
        EXPECT_THAT(scanned(), ElementsAre("launch lmms"));
        processes.remove(id);
        EXPECT_THAT(scanned(), ElementsAre("end lmms"));
    }
}

TEST_F(ProcessWorkspaceTest, AFlatpakThatIsStartedInATerminalIsNotTheTerminal)
{
    start();
    const std::string scope = scopeOf("app-org.example.Terminal-99.scope");
    const std::string info = "[Application]\nname=org.ardour.Ardour\n\n[Instance]\ninstance-id=5\n";
    processes.add({.id = 10, .executable = "/usr/bin/terminal", .cgroup = scope});
    processes.add(
        {.id = 11, .parent = 10, .executable = "/usr/bin/bwrap", .cgroup = scope, .flatpakInfo = info});
    EXPECT_THAT(scanned(), ElementsAre("launch org.example.Terminal", "launch org.ardour.Ardour"));
}

TEST_F(ProcessWorkspaceTest, AProgramThatIsStartedInATerminalIsNotTheTerminal)
{
    start();
    const std::string scope = scopeOf("app-org.example.Terminal-99.scope");
    processes.add({.id = 10, .executable = "/usr/bin/terminal", .cgroup = scope});
    processes.add({.id = 11, .parent = 10, .executable = "/bin/bash", .cgroup = scope});
    processes.add({.id = 12, .parent = 11, .executable = "/opt/REAPER/reaper", .cgroup = scope});
    processes.add({.id = 13, .parent = 11, .executable = "/usr/lib/ardour8/ardour-8.6.0", .cgroup = scope});
    EXPECT_THAT(scanned(),
                ElementsAre("launch org.example.Terminal", "launch com.cockos.reaper", "launch ardour8"));
    processes.remove(12);
    EXPECT_THAT(scanned(), ElementsAre("end com.cockos.reaper"));
}

TEST_F(ProcessWorkspaceTest, ThePluginScannerOfAWorkstationNeitherStartsNorKeepsIt)
{
    start();
    const std::string scope = scopeOf("app-cockos\\x2dreaper-1.scope");
    processes.add({.id = 10, .executable = "/opt/REAPER/reaper", .cgroup = scope});
    EXPECT_THAT(scanned(), ElementsAre("launch com.cockos.reaper"));
    processes.add(
        {.id = 11, .parent = 10, .executable = "/opt/REAPER/Plugins/reaper_host_x86_64", .cgroup = scope});
    processes.add({.id = 12, .parent = 10, .executable = "/opt/REAPER/reaper", .cgroup = scope});
    EXPECT_THAT(scanned(), IsEmpty());
    processes.remove(10);
    EXPECT_THAT(scanned(), ElementsAre("end com.cockos.reaper"));
    // Left behind, they are still none.
    processes.add(
        {.id = 11, .parent = 1, .executable = "/opt/REAPER/Plugins/reaper_host_x86_64", .cgroup = scope});
    EXPECT_THAT(scanned(), IsEmpty());
    EXPECT_THAT(scanned(), IsEmpty());
}

TEST_F(ProcessWorkspaceTest, AProgramThatRunsItselfAsAScannerIsItsOwnHelper)
{
    processes.add({.id = 10, .executable = "/usr/bin/Waveform12"});
    processes.add({.id = 11,
                   .parent = 1,
                   .executable = "/usr/bin/Waveform12",
                   .arguments = {"/usr/bin/Waveform12", "--PluginScan:4711"}});
    processes.add({.id = 12, .parent = 10, .executable = "/usr/bin/Waveform12"});
    start();
    EXPECT_THAT(running(), ElementsAre("waveform"));
    processes.remove(10);
    EXPECT_THAT(scanned(), ElementsAre("end waveform"));
}

TEST_F(ProcessWorkspaceTest, ACrashHandlerThatOutlivesItsProgramDoesNotKeepIt)
{
    start();
    const std::string scope = scopeOf("app-com.bitwig.BitwigStudio-7.scope");
    processes.add({.id = 10, .executable = "/opt/bitwig-studio/bitwig-studio", .cgroup = scope});
    processes.add(
        {.id = 11, .parent = 1, .executable = "/opt/bitwig-studio/crashpad_handler", .cgroup = scope});
    EXPECT_THAT(scanned(), ElementsAre("launch com.bitwig.studio"));
    processes.remove(10);
    EXPECT_THAT(scanned(), ElementsAre("end com.bitwig.studio"));
    EXPECT_THAT(running(), IsEmpty());
    // Nor does it look like one to somebody who comes later.
    start();
    EXPECT_THAT(running(), IsEmpty());
}

TEST_F(ProcessWorkspaceTest, AHelperWhoseNumberIsLowerThanItsParentsIsOneAllTheSame)
{
    processes.add({.id = 4, .parent = 32000, .executable = "/opt/REAPER/reaper"});
    processes.add({.id = 32000, .executable = "/opt/REAPER/reaper"});
    start();
    scanned();
    processes.remove(32000);
    EXPECT_THAT(scanned(), ElementsAre("end com.cockos.reaper"));
}

TEST_F(ProcessWorkspaceTest, AProcessOfWhichNothingIsLeftToBeReadHasEnded)
{
    start();
    processes.add({.id = 10, .executable = "/opt/REAPER/reaper"});
    scanned();
    processes.addEnded(10);
    EXPECT_THAT(scanned(), ElementsAre("end com.cockos.reaper"));
}

TEST_F(ProcessWorkspaceTest, TheStarterOfAGameIsNoWorkstation)
{
    start();
    processes.add(
        {.id = 10,
         .executable = "/home/me/.local/share/Steam/ubuntu12_32/reaper",
         .arguments = {"/home/me/.local/share/Steam/ubuntu12_32/reaper", "SteamLaunch", "AppId=1"}});
    EXPECT_THAT(scanned(), IsEmpty());
}

TEST_F(ProcessWorkspaceTest, AForkThatBecomesAProgramLaterIsCaughtWithinThreeScans)
{
    start();
    processes.add({.id = 10, .executable = "/bin/bash"});
    EXPECT_THAT(scanned(), IsEmpty());
    EXPECT_THAT(scanned(), IsEmpty());
    processes.add({.id = 10, .executable = "/opt/REAPER/reaper"});
    EXPECT_THAT(scanned(), ElementsAre("launch com.cockos.reaper"));
}

TEST_F(ProcessWorkspaceTest, AnOldProcessIsNotLookedIntoAgain)
{
    start();
    processes.add({.id = 10, .executable = "/bin/bash"});
    for (int i = 0; i < 3; ++i)
        scanned();
    processes.add({.id = 10, .executable = "/opt/REAPER/reaper"});
    EXPECT_THAT(scanned(), IsEmpty());
}

TEST_F(ProcessWorkspaceTest, AProgramRunsFromItsFirstProcessToItsLast)
{
    start();
    processes.add({.id = 10, .executable = "/opt/REAPER/reaper"});
    EXPECT_THAT(scanned(), ElementsAre("launch com.cockos.reaper"));
    // A second start, which hands its file over to the first and ends.
    processes.add({.id = 11, .executable = "/opt/REAPER/reaper"});
    EXPECT_THAT(scanned(), IsEmpty());
    processes.remove(11);
    EXPECT_THAT(scanned(), IsEmpty());
    EXPECT_THAT(running(), ElementsAre(reaper));
    processes.remove(10);
    EXPECT_THAT(scanned(), ElementsAre("end com.cockos.reaper"));
}

TEST_F(ProcessWorkspaceTest, AScriptIsNamedByItself)
{
    start();
    processes.add({.id = 10, .executable = "/usr/bin/bash", .arguments = {"/bin/sh", "/usr/bin/ardour8"}});
    EXPECT_THAT(scanned(), ElementsAre("launch ardour8"));
    processes.add({.id = 10, .executable = "/usr/lib/ardour8/ardour-8.6.0"});
    EXPECT_THAT(scanned(), IsEmpty());
    EXPECT_THAT(running(), ElementsAre("ardour8"));
}

TEST_F(ProcessWorkspaceTest, AProgramThatIsInstalledLaterIsFoundToo)
{
    start();
    test::writeDesktopFile(data.path(), "lmms", "LMMS", "lmms %f");
    processes.add({.id = 10, .executable = "/usr/bin/lmms"});
    EXPECT_THAT(scanned(), ElementsAre("launch lmms"));
}

TEST_F(ProcessWorkspaceTest, TheInstalledProgramsAreListedByName)
{
    const ProcessWorkspace& workspace = start();
    EXPECT_THAT(workspace.installedApplications(),
                ElementsAre(Application{"ardour8", "Ardour 8"}, Application{reaper, "REAPER"},
                            Application{"org.example.Terminal", "Terminal"},
                            Application{"waveform", "Waveform"}));
}

TEST_F(ProcessWorkspaceTest, AProgramsIconIsThatOfItsDesktopFile)
{
    const ProcessWorkspace& workspace = start();
    const auto location = workspace.applicationLocation(reaper);
    ASSERT_TRUE(location);
    EXPECT_EQ(*location, data / "applications/cockos-reaper.desktop");
    EXPECT_EQ(workspace.icon(*location), ApplicationIcon{"cockos-reaper"});
    EXPECT_EQ(workspace.applicationLocation("ardour8"), data / "applications/ardour8.desktop");
    EXPECT_EQ(workspace.applicationLocation("com.apple.logic10"), std::nullopt);
    EXPECT_EQ(workspace.icon("/nowhere"), std::nullopt);
}

TEST_F(ProcessWorkspaceTest, AFolderThatIsNoProcListsNothing)
{
    ProcessWorkspace workspace(loop, {data.path()}, "/nonexistent");
    workspace.scan();
    EXPECT_THAT(workspace.runningApplications(), IsEmpty());
}

} // namespace
} // namespace velmor
