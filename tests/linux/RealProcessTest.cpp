// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/PollMainLoop.h>
#include <linux/ProcessWorkspace.h>
#include <support/FakeProcesses.h>
#include <support/RunProgram.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include <unistd.h>

namespace velmor {
namespace {

using testing::ElementsAre;

/// Real processes of this machine.
class RealProcessTest : public testing::Test
{
protected:
    RealProcessTest()
    {
        test::writeDesktopFile(data.path(), name, "Test", name);
        std::filesystem::copy_file("/bin/sleep", data / name);
    }

    /// Other tests may run beside this one.
    const std::string name = "velmor-test-program-" + std::to_string(::getpid()) + "x";

    PollMainLoop loop;
    test::TemporaryFolder data;
    std::vector<std::string> events;

    std::vector<Subscription> follow(ProcessWorkspace& workspace)
    {
        std::vector<Subscription> subscriptions;
        subscriptions.push_back(workspace.onLaunch([this](const Application& a) { note("launch", a); }));
        subscriptions.push_back(workspace.onTermination([this](const Application& a) { note("end", a); }));
        return subscriptions;
    }

    /// Lets the loop run until there are so many events.
    void runUntil(std::size_t count)
    {
        const Timer check = loop.every(0.005, [&] {
            if (events.size() >= count)
                loop.quit();
        });
        loop.after(10, [&] { loop.quit(); });
        loop.run();
    }

private:
    void note(const char* event, const Application& application)
    {
        if (application.bundleID == name)
            events.emplace_back(event);
    }
};

TEST_F(RealProcessTest, AProgramIsNoticedByTheNextScanAndItsEndWithoutOne)
{
    ProcessWorkspace workspace(loop, {data.path()});
    const auto subscriptions = follow(workspace);
    const pid_t process = test::spawn({data / name, "60"});
    runUntil(1);
    ASSERT_THAT(events, ElementsAre("launch"));

    ::kill(process, SIGKILL);
    runUntil(2);
    // Its parent, which is this test, has not asked for it: until then it stays in the list of processes,
    // and only the watch of its end can have told.
    EXPECT_THAT(events, ElementsAre("launch", "end"));
    ::waitpid(process, nullptr, 0);
    EXPECT_THAT(workspace.runningApplications(), testing::Not(testing::Contains(Application{name, "Test"})));
}

TEST_F(RealProcessTest, OneThatRunsAtTheStartIsListedAndItsEndIsNoticed)
{
    const pid_t process = test::spawn({data / name, "60"});
    // The program runs when spawn() returns.
    ProcessWorkspace workspace(loop, {data.path()});
    const auto subscriptions = follow(workspace);
    EXPECT_THAT(workspace.runningApplications(), testing::Contains(Application{name, "Test"}));
    ::kill(process, SIGKILL);
    runUntil(1);
    EXPECT_THAT(events, ElementsAre("end"));
    ::waitpid(process, nullptr, 0);
}

} // namespace
} // namespace velmor
