// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/DesktopDay.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <map>

#include <sys/stat.h>

namespace velmor {
namespace {

using testing::HasSubstr;

class VelmorProgramTest : public test::DesktopDay
{
protected:
    static unsigned rightsOf(const std::filesystem::path& path)
    {
        struct stat status = {};
        return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0U;
    }
};

TEST_F(VelmorProgramTest, ASecondStartActivatesTheFirstAndEnds)
{
    startProgram();
    const auto second = test::run({test::programPath("velmor")});
    EXPECT_EQ(second.status, 0) << second.error;
    EXPECT_EQ(second.output, "");
    EXPECT_TRUE(session.waitUntil([&] { return printed().ends_with("\n[Velmor] activated\n"); }))
        << printed();
    EXPECT_TRUE(isOnTheBus());
}

TEST_F(VelmorProgramTest, OneThatHasNoScreenSaysSoWhenSomebodyWantsToSeeIt)
{
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        ::unsetenv(name);
    startProgram();
    const std::string process = std::to_string(program->process());
    EXPECT_EQ(test::run({test::programPath("velmor")}).status, 0);
    EXPECT_TRUE(waitForSummary("Velmor runs without windows"));
    EXPECT_THAT(daemon->received().back().body, HasSubstr("End process " + process + " and start it again."));
}

TEST_F(VelmorProgramTest, OneWhoseScreenCannotBeReachedRunsWithoutWindows)
{
    ::setenv("DISPLAY", ":9999", 1);
    startProgram();
    EXPECT_TRUE(session.waitUntil([&] {
        return printed().find("the screen cannot be reached\n") != std::string::npos;
    })) << printed();
    startWorkstation();
    EXPECT_EQ(program->endBy(SIGTERM), 0);
    EXPECT_EQ(history().size(), 1U);
}

TEST_F(VelmorProgramTest, ASecondStartBesideOneThatHangsSaysSo)
{
    startProgram();
    ::kill(program->process(), SIGSTOP);
    const auto second = test::run({test::programPath("velmor")});
    EXPECT_EQ(second.status, 1);
    EXPECT_EQ(second.output, "[Velmor] another instance is running and does not answer\n");
}

TEST_F(VelmorProgramTest, ItsFoldersAreItsUsersAlone)
{
    std::filesystem::remove_all(session / "config/Velmor");
    startProgram();
    EXPECT_TRUE(session.waitUntil([&] { return rightsOf(defaultsFile()) == 0600U; }));
    for (const char* folder : {"data/Velmor", "cache/Velmor", "config/Velmor"})
        EXPECT_EQ(rightsOf(session / folder), 0700U) << folder;
}

TEST_F(VelmorProgramTest, EachSignalToEndKeepsTheRunningSession)
{
    std::size_t sessions = 0;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        startProgram();
        startWorkstation();
        EXPECT_EQ(program->endBy(signal), 0) << signal;
        ASSERT_EQ(history().size(), ++sessions) << printed();
        EXPECT_TRUE(history()[0].endDate);
        EXPECT_EQ(history()[0].dawName, "REAPER");
        workstation.reset();
        program.reset();
    }
    // No journal of a session that was never ended stays behind.
    for (const auto& entry : std::filesystem::directory_iterator(session / "data/Velmor"))
        EXPECT_EQ(entry.path().filename(), "sessions.json");
}

TEST_F(VelmorProgramTest, ASessionThatWasKilledIsInTheHistoryAfterTheNextStart)
{
    startProgram();
    startWorkstation();
    EXPECT_EQ(program->endBy(SIGKILL), -SIGKILL);
    EXPECT_TRUE(history().empty());
    workstation.reset();
    program.reset();
    startProgram();
    ASSERT_TRUE(waitForHistory(1));
    EXPECT_EQ(history()[0].dawName, "REAPER");
}

TEST_F(VelmorProgramTest, AWorkstationThatRunsAlreadyBeginsASession)
{
    workstation =
        std::make_unique<test::Companion>(std::vector<std::string>{(session / "reaper").native(), "1000"});
    startProgram();
    EXPECT_TRUE(session.waitUntil([&] { return isCapturing(); }));
    workstation.reset();
    EXPECT_TRUE(waitForHistory(1));
}

TEST_F(VelmorProgramTest, WithoutPipeWireItRunsAndMeasuresOnceThereIsOne)
{
    session.killPipeWire();
    startProgram();
    workstation =
        std::make_unique<test::Companion>(std::vector<std::string>{(session / "reaper").native(), "1000"});
    std::this_thread::sleep_for(std::chrono::seconds(2));
    session.startPipeWire();
    session.createMicrophone(microphone);
    EXPECT_TRUE(session.waitUntil([&] { return isCapturing(); })) << printed();
    workstation.reset();
    EXPECT_TRUE(waitForHistory(1));
}

TEST_F(VelmorProgramTest, WithoutASessionBusItRunsAllTheSame)
{
    const std::string address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    program = std::make_unique<test::Companion>(std::vector<std::string>{test::programPath("velmor")},
                                                (session / "velmor.log").native());
    startWorkstation();
    workstation.reset();
    EXPECT_TRUE(waitForHistory(1));
    EXPECT_EQ(program->endBy(SIGTERM), 0);
    ::setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
}

TEST_F(VelmorProgramTest, TheEndOfTheDesktopsSessionKeepsTheRunningSession)
{
    startProgram();
    startWorkstation();
    // It has started whole once it answers.
    ASSERT_EQ(test::run({test::programPath("velmor")}).status, 0);
    session.endBus();
    EXPECT_EQ(program->waitForEnd(), 0) << printed();
    ASSERT_EQ(history().size(), 1U);
    EXPECT_TRUE(history()[0].endDate);
}

TEST_F(VelmorProgramTest, ABusThatEndsWhileItStartsLosesNoSession)
{
    startProgram();
    startWorkstation();
    session.endBus();
    constexpr int patienceSeconds = 15;
    const int status = program->waitForEnd(patienceSeconds);
    EXPECT_GE(status, 0) << printed();
    workstation.reset();
    if (status != 0) {
        program = std::make_unique<test::Companion>(std::vector<std::string>{test::programPath("velmor")});
        ASSERT_TRUE(waitForHistory(1));
    }
    ASSERT_EQ(history().size(), 1U) << printed();
    EXPECT_TRUE(history()[0].endDate);
}

TEST_F(VelmorProgramTest, ASessionThatEndsWithTheScreenIsInTheHistoryAfterTheNextStart)
{
    startProgram();
    startWorkstation();
    daemon->endScreen();
    // X's library ends a program that has lost its server.
    EXPECT_EQ(program->waitForEnd(), 1) << printed();
    workstation.reset();
    startProgram();
    EXPECT_TRUE(waitForHistory(1)) << printed();
}

TEST_F(VelmorProgramTest, SeveralSignalsAtOnceEndItOnce)
{
    startProgram();
    startWorkstation();
    for (const int signal : {SIGHUP, SIGTERM, SIGINT})
        ::kill(program->process(), signal);
    EXPECT_EQ(program->waitForEnd(), 0);
    EXPECT_EQ(history().size(), 1U);
}

TEST_F(VelmorProgramTest, TheRecapOfASessionThatEndsWithTheProgramIsSent)
{
    set("calibrationOffset", 130.0);
    startProgram();
    startWorkstation();
    const auto player = session.playInto(microphone, tone(0.5, 20));
    ASSERT_TRUE(waitForSummary("⚠️ Hearing Dose: Caution (40%)"));
    EXPECT_EQ(program->endBy(SIGTERM), 0);
    EXPECT_TRUE(waitForSummary("Session complete"));
}

TEST_F(VelmorProgramTest, TheLoginItemIsWhatTheDesktopHas)
{
    const auto entry = session / "config/autostart/dev.brightfen.velmor.desktop";
    const auto startAndEnd = [this] {
        startProgram();
        // A program that is asked to end while it starts does so after its start.
        endProgram();
    };
    startAndEnd();
    EXPECT_EQ(stored<bool>("launchAtLogin"), false);
    EXPECT_FALSE(std::filesystem::exists(entry));
    std::filesystem::create_directories(entry.parent_path());
    test::writeFile(entry, "[Desktop Entry]\nType=Application\nName=Velmor\nExec=somewhere-else\n");
    startAndEnd();
    EXPECT_EQ(stored<bool>("launchAtLogin"), true);
    // Registered anew with the program that runs now.
    EXPECT_THAT(test::contentOf(entry), HasSubstr(test::programPath("velmor")));
}

} // namespace
} // namespace velmor
