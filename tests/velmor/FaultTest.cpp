// SPDX-License-Identifier: GPL-3.0-or-later
// What goes wrong around the running program: what the user is told, and that nothing is lost beyond what
// docs/reliability.md says.
#include <support/DesktopDay.h>
#include <support/SmallDisk.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace velmor {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::SizeIs;

class FaultTest : public test::DesktopDay
{
protected:
    void SetUp() override
    {
        DesktopDay::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        set("selectedDeviceUID", std::string(microphone));
    }

    void TearDown() override
    {
        DesktopDay::TearDown();
        disk.reset();
    }

    /// Puts the folder of the sessions on a small disk of its own.
    void useSmallDisk()
    {
        std::filesystem::create_directories(session / "data");
        disk = std::make_unique<test::SmallDisk>((session / "data").native(), "128k");
        if (!disk->problem().empty()) {
            // The container's own rights decide that, not a package.
            GTEST_SKIP() << "no small disk can be mounted here: " << disk->problem();
        }
    }

    void runSession()
    {
        startWorkstation();
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        workstation.reset();
    }

    bool isWritable(const std::filesystem::path& file) const
    {
        std::ofstream stream(file, std::ios::app);
        return stream.is_open();
    }

    std::unique_ptr<test::SmallDisk> disk;
};

constexpr auto saveFailed = "Velmor couldn't save session history";

TEST_F(FaultTest, AFullDiskIsToldAndTheSessionsAreKeptUntilThereIsRoom)
{
    useSmallDisk();
    if (IsSkipped())
        return;
    startProgram();
    const auto filler = session / "data/filler";
    {
        std::ofstream stream(filler, std::ios::binary);
        while (stream.write("full of something else, and of more of it. ", 43).flush()) {
        }
    }
    runSession();
    ASSERT_TRUE(waitForSummary(saveFailed)) << printed();
    runSession();
    EXPECT_TRUE(isOnTheBus());
    std::filesystem::remove(filler);
    runSession();
    ASSERT_TRUE(waitForHistory(3)) << printed();
    endProgram();
    EXPECT_THAT(history(), SizeIs(3));
}

TEST_F(FaultTest, AFolderThatTurnsReadOnlyIsToldAndTheSessionsAreKeptUntilItIsWritable)
{
    useSmallDisk();
    if (IsSkipped())
        return;
    startProgram();
    runSession();
    ASSERT_TRUE(waitForHistory(1));
    ASSERT_TRUE(disk->setReadOnly(true));
    ASSERT_FALSE(isWritable(session / "data/probe"));
    runSession();
    ASSERT_TRUE(waitForSummary(saveFailed)) << printed();
    ASSERT_TRUE(disk->setReadOnly(false));
    runSession();
    ASSERT_TRUE(waitForHistory(3)) << printed();
}

TEST_F(FaultTest, WhatIsDamagedIsSetAsideWhereverItLies)
{
    const std::string garbage = "\x01\xFF{[\"no file of any kind";
    const auto data = session / "data/Velmor";
    const auto config = session / "config/Velmor";
    std::filesystem::create_directories(data);
    const std::vector<std::filesystem::path> damaged = {
        data / "sessions.json", data / "session-0123ABCD-EF45-4789-8ABC-DEF012345678.journal",
        config / "defaults.sqlite", config / "QX7R2M4K9T.com.brightfen.Velmor.sqlite"};
    for (const auto& file : damaged)
        test::writeFile(file, garbage);
    startProgram();
    runSession();
    ASSERT_TRUE(waitForHistory(1)) << printed();
    endProgram();
    EXPECT_THAT(printed(), HasSubstr("Failed to load session history: "));
    // Every byte that was there is still there, under another name.
    int kept = 0;
    for (const auto& folder : {data, config}) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            if (!entry.is_regular_file() || test::contentOf(entry.path()) != garbage)
                continue;
            EXPECT_THAT(entry.path().filename().native(), HasSubstr("damaged"));
            ++kept;
        }
    }
    EXPECT_EQ(kept, static_cast<int>(damaged.size())) << printed();
    // And it goes on with what it has written since.
    startProgram();
    runSession();
    EXPECT_TRUE(waitForHistory(2));
}

TEST_F(FaultTest, ANotificationDaemonThatIsKilledCostsWhatItShouldHaveShown)
{
    // Loud enough for a recap.
    set("calibrationOffset", 120.0);
    startProgram();
    const auto player = session.playInto(microphone, tone(0.5, 60));
    daemon->kill();
    runSession();
    ASSERT_TRUE(waitForHistory(1));
    EXPECT_TRUE(isOnTheBus());
    daemon->start();
    ASSERT_TRUE(daemon->problem().empty()) << daemon->problem();
    runSession();
    EXPECT_TRUE(waitForSummary("Session complete")) << printed();
    EXPECT_TRUE(waitForHistory(2));
}

TEST_F(FaultTest, AProgramThatStoodStillMeasuresOn)
{
    startProgram();
    startWorkstation();
    const auto player = session.playInto(microphone, tone(0.2, 60));
    std::this_thread::sleep_for(std::chrono::seconds(2));
    // As in a machine that is suspended: nothing of it runs.
    ::kill(program->process(), SIGSTOP);
    std::this_thread::sleep_for(std::chrono::seconds(4));
    ::kill(program->process(), SIGCONT);
    const auto measures = [] {
        return test::run({test::programPath("velmorctl"), "spl"}).output.find("dBA") != std::string::npos;
    };
    ASSERT_TRUE(session.waitUntil(measures));
    std::this_thread::sleep_for(std::chrono::seconds(8));
    workstation.reset();
    ASSERT_TRUE(waitForHistory(1));
    const Session kept = history()[0];
    EXPECT_NEAR(kept.duration({}), 14.5, 3);
    // One reading at ten seconds, whatever came late.
    EXPECT_THAT(kept.readings, SizeIs(1));
}

} // namespace
} // namespace velmor
