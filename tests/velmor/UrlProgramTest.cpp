// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/DesktopDay.h>
#include <support/PublishedPrograms.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace velmor {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

class UrlProgramTest : public test::DesktopDay
{
protected:
    void SetUp() override
    {
        DesktopDay::SetUp();
        if (!IsSkipped())
            published = std::make_unique<test::PublishedPrograms>(session);
    }

    void TearDown() override
    {
        endActivated();
        DesktopDay::TearDown();
    }

    /// Ends a program that the bus has started.
    void endActivated()
    {
        if (program || !isOnTheBus())
            return;
        const auto owner =
            test::run({"busctl", "--user", "call", "org.freedesktop.DBus", "/", "org.freedesktop.DBus",
                       "GetConnectionUnixProcessID", "s", "dev.brightfen.velmor"});
        ::kill(std::stoi(owner.output.substr(2)), SIGTERM);
        session.waitUntil([] { return !isOnTheBus(); });
    }

    test::Outcome open(const std::string& url) const { return test::run({"xdg-open", url}); }

    bool waitForOpened(std::size_t lines) const
    {
        return session.waitUntil([&] {
            const std::string opened = published->opened();
            return static_cast<std::size_t>(std::ranges::count(opened, '\n')) == lines;
        });
    }

    std::unique_ptr<test::PublishedPrograms> published;
};

constexpr auto startURL = "velmor://session/start?daw=Test&x-success=testapp%3A%2F%2Fdone";
constexpr auto startReply =
    "testapp://"
    "done\\?active=true&daw=Test&dba_mean=0.0&dba_peak=0.0&dbc_peak=0.0&elapsed_seconds=0&result=ok&"
    "session_dose_percent=0.0&start_iso8601=[0-9]+-[0-9]+-[0-9]+T[0-9]+:[0-9]+:[0-9]+Z\n";

TEST_F(UrlProgramTest, TheDesktopOpensAUrlWithTheRunningProgram)
{
    startProgram();
    EXPECT_EQ(open(startURL).status, 0);
    ASSERT_TRUE(waitForOpened(1)) << printed();
    EXPECT_THAT(published->opened(), MatchesRegex(startReply));
    EXPECT_TRUE(session.waitUntil([this] { return isCapturing(); }));
    EXPECT_THAT(printed(), HasSubstr("[Velmor] URL: session/start\n"));
}

TEST_F(UrlProgramTest, TheDesktopStartsTheProgramForAUrl)
{
    ASSERT_FALSE(isOnTheBus());
    EXPECT_EQ(open(startURL).status, 0);
    ASSERT_TRUE(waitForOpened(1));
    EXPECT_THAT(published->opened(), MatchesRegex(startReply));
    EXPECT_TRUE(isOnTheBus());
    EXPECT_TRUE(session.waitUntil([this] { return isCapturing(); }));
}

TEST_F(UrlProgramTest, WithoutAnEntryOnTheBusTheClientStartsTheProgram)
{
    std::filesystem::remove(session / "services/dev.brightfen.velmor.service");
    ASSERT_TRUE(session.waitUntil([] {
        return test::run({"busctl", "--user", "call", "org.freedesktop.DBus", "/", "org.freedesktop.DBus",
                          "ListActivatableNames"})
                   .output.find("velmor") == std::string::npos;
    }));
    const auto client = test::run({test::programPath("velmor"), startURL});
    EXPECT_EQ(client.status, 0) << client.output;
    EXPECT_TRUE(waitForOpened(1));
    EXPECT_TRUE(isOnTheBus());
}

TEST_F(UrlProgramTest, TenUrlsInABurstAreAnsweredInTheirOrder)
{
    startProgram();
    std::vector<std::string> command = {test::programPath("velmor")};
    std::string expected;
    for (int i = 0; i < 10; ++i) {
        command.push_back("velmor://session?x-success=testapp:" + std::to_string(i));
        expected += "testapp:" + std::to_string(i) + "?active=false&result=ok\n";
    }
    EXPECT_EQ(test::run(command).status, 0);
    ASSERT_TRUE(waitForOpened(10)) << published->opened();
    EXPECT_EQ(published->opened(), expected);
}

TEST_F(UrlProgramTest, ABurstAtAProgramThatIsNotRunningIsAnsweredInItsOrder)
{
    std::string expected;
    for (int i = 0; i < 10; ++i) {
        // Each by itself, as a desktop does it.
        EXPECT_EQ(open("velmor://session?x-success=testapp:" + std::to_string(i)).status, 0);
        expected += "testapp:" + std::to_string(i) + "?active=false&result=ok\n";
    }
    ASSERT_TRUE(waitForOpened(10)) << published->opened();
    EXPECT_EQ(published->opened(), expected);
}

TEST_F(UrlProgramTest, AUrlThatMeetsTheEndOfTheProgramIsDoneAllTheSame)
{
    for (std::size_t i = 0; i < 6; ++i) {
        startProgram();
        ::kill(program->process(), SIGTERM);
        std::this_thread::sleep_for(std::chrono::milliseconds(4 * i));
        const auto client =
            test::run({test::programPath("velmor"),
                       "velmor://session/start?daw=" + std::to_string(i) + "&x-success=testapp:x"});
        EXPECT_EQ(client.status, 0) << client.output;
        EXPECT_EQ(program->waitForEnd(), 0);
        program.reset();
        EXPECT_TRUE(waitForOpened(i + 1)) << published->opened();
        endActivated();
        ASSERT_TRUE(waitForHistory(i + 1));
        EXPECT_EQ(history()[0].dawName, std::to_string(i));
    }
}

TEST_F(UrlProgramTest, ADecodedSpaceOfTheDesktopIsTakenForItsCode)
{
    startProgram();
    EXPECT_EQ(
        test::run({test::programPath("velmor"), "velmor://session/start?daw=Logic Pro&x-success=testapp:x"})
            .status,
        0);
    ASSERT_TRUE(waitForOpened(1));
    EXPECT_THAT(published->opened(), HasSubstr("daw=Logic%20Pro&"));
}

TEST_F(UrlProgramTest, HostileUrlsOpenNothingAndEndNothing)
{
    startProgram();
    const auto marker = session / "marker";
    for (const std::string& url :
         {"velmor://session?x-success=file://" + (session / "testapp").native(),
          std::string("velmor://session?x-success=JavaScript:alert(1)"),
          std::string("velmor://session?x-success=%20%09testapp:x"),
          std::string("velmor://%zz?x-success=testapp:x"), std::string("velmor:session?x-success=testapp:x"),
          "velmor://" + std::string(10000, 'a'), std::string("velmor://a b\nc"), std::string("not a url"),
          std::string("velmor://[::1]:99999999/x?y"), std::string("velmor://session?x-success=testapp")})
        test::run({test::programPath("velmor"), url});
    // One that may be opened shows that all before it were dealt with, and that no shell has seen it.
    test::run({test::programPath("velmor"),
               "velmor://session?x-success=testapp:$(touch%2520" + marker.native() + ");'x'"});
    ASSERT_TRUE(waitForOpened(1)) << published->opened();
    EXPECT_THAT(published->opened(), HasSubstr("testapp:$(touch%20"));
    EXPECT_FALSE(std::filesystem::exists(marker));
    EXPECT_TRUE(isOnTheBus());
}

TEST_F(UrlProgramTest, AnActionOfTheDesktopEntryIsAnsweredByANotification)
{
    startProgram();
    EXPECT_EQ(test::run({test::programPath("velmor"), "--action", "GetTodaysDose"}).status, 0);
    EXPECT_TRUE(waitForSummary("Get Today's Dose"));
    EXPECT_EQ(daemon->received().back().body, "0.0% (safe), 100.0% remaining today");
}

TEST_F(UrlProgramTest, WithoutASessionBusTheClientSaysSo)
{
    const std::string address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    const auto client = test::run({test::programPath("velmor"), startURL});
    ::setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    EXPECT_EQ(client.status, 1);
    EXPECT_THAT(client.output, testing::StartsWith("[Velmor] no session bus: "));
}

TEST_F(UrlProgramTest, TheDesktopEntriesAreValid)
{
    const auto entry = session / "data/applications/dev.brightfen.velmor.desktop";
    const auto validated = test::run({"desktop-file-validate", entry});
    EXPECT_EQ(validated.status, 0) << validated.output;
    EXPECT_EQ(validated.output, "");
}

} // namespace
} // namespace velmor
