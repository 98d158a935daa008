// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/DesktopDay.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace velmor {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class AutomationProgramTest : public test::DesktopDay
{
protected:
    void SetUp() override
    {
        DesktopDay::SetUp();
        if (!IsSkipped())
            startProgram();
    }

    static test::Outcome client(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), test::programPath("velmorctl"));
        return test::run(arguments);
    }

    /// A call as any program may make it.
    static test::Outcome call(const std::string& path, const std::string& method,
                              std::vector<std::string> arguments = {})
    {
        std::vector<std::string> command = {
            "gdbus",         "call", "--session", "--dest", "dev.brightfen.velmor",
            "--object-path", path,   "--method",  method};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return test::run(command);
    }

    static test::Outcome callIntent(const std::string& method, const std::vector<std::string>& arguments = {})
    {
        return call("/dev/brightfen/velmor", "dev.brightfen.velmor.Intents1." + method, arguments);
    }

    std::size_t linesIn(const char* file) const
    {
        const std::string content = test::contentOf(session / file);
        return static_cast<std::size_t>(std::ranges::count(content, '\n'));
    }
};

TEST_F(AutomationProgramTest, TheObjectDescribesItself)
{
    const auto description = test::run(
        {"busctl", "--user", "--no-pager", "introspect", "dev.brightfen.velmor", "/dev/brightfen/velmor"});
    EXPECT_EQ(description.status, 0) << description.error;
    for (const char* line :
         {"dev.brightfen.velmor.Intents1 ", ".GetCurrentSPL ", ".GetTodaysDose ", ".GetMonitoringStats ",
          ".StartMixingSession ", ".EndMixingSession ", ".PauseMonitoring ", ".ResumeMonitoring ",
          ".ListShortcuts ", ".ListIntents ", "dev.brightfen.velmor.FocusFilter1 ", ".Perform ",
          "dev.brightfen.velmor.Live1 ", ".Subscribe ", ".Levels ", "dev.brightfen.velmor.Widgets1 ",
          ".ReloadAllTimelines ", "org.freedesktop.Application ", ".ActivateAction "})
        EXPECT_THAT(description.output, HasSubstr(line));
    EXPECT_THAT(
        call("/dev/brightfen/velmor", "org.freedesktop.DBus.Introspectable.Introspect").output,
        HasSubstr("<method name=\"PauseMonitoring\">\\n      <arg name=\"durationMinutes\" type=\"x\" "
                  "direction=\"in\"/>\\n      <arg name=\"id\" type=\"s\" direction=\"out\"/>"));
}

TEST_F(AutomationProgramTest, IntentsAreCalledFromOutside)
{
    EXPECT_EQ(callIntent("StartMixingSession", {"Logic"}).output, "('Started Velmor session for Logic.',)\n");
    EXPECT_THAT(
        callIntent("StartMixingSession", {""}).error,
        HasSubstr("dev.brightfen.velmor.Error.SessionAlreadyActive: A session is already running. End it "
                  "first, or use the active session."));
    EXPECT_THAT(callIntent("PauseMonitoring", {"15"}).output,
                HasSubstr("true, [int64 900], 'Paused for 15 min', '', 'Paused for 15 min')"));
    EXPECT_THAT(callIntent("ResumeMonitoring").output,
                HasSubstr("false, @ax [], 'Monitoring', '', 'Resumed Velmor monitoring.')"));
    EXPECT_THAT(callIntent("EndMixingSession").output, HasSubstr("'Session ended (Logic)'"));
    EXPECT_THAT(callIntent("ListShortcuts").output,
                HasSubstr("'phrases': <[\"What's the SPL in Velmor\", 'Get the SPL from Velmor']>"));
    EXPECT_TRUE(waitForHistory(1));
    EXPECT_EQ(history()[0].dawName, "Logic");
}

TEST_F(AutomationProgramTest, CallsWithWrongTypesOrAbsurdNumbersAreErrors)
{
    const auto busctl = [](const std::vector<std::string>& rest) {
        std::vector<std::string> command = {"busctl",
                                            "--user",
                                            "call",
                                            "--",
                                            "dev.brightfen.velmor",
                                            "/dev/brightfen/velmor",
                                            "dev.brightfen.velmor.Intents1"};
        command.insert(command.end(), rest.begin(), rest.end());
        return test::run(command).error;
    };
    EXPECT_THAT(busctl({"PauseMonitoring", "s", "15"}), HasSubstr("PauseMonitoring takes (x), not (s)"));
    EXPECT_THAT(busctl({"PauseMonitoring"}), HasSubstr("PauseMonitoring takes (x), not ()"));
    EXPECT_THAT(busctl({"PauseMonitoring", "xx", "1", "2"}), HasSubstr("takes (x), not (xx)"));
    EXPECT_THAT(busctl({"StartMixingSession", "as", "0"}), HasSubstr("takes (s), not (as)"));
    EXPECT_THAT(busctl({"GetCurrentSPL", "d", "1"}), HasSubstr("takes (), not (d)"));
    EXPECT_THAT(busctl({"PauseMonitoring", "x", "9223372036854775807"}),
                HasSubstr("Pause duration must be at most 1440 minutes (24 hours)."));
    EXPECT_EQ(busctl({"PauseMonitoring", "x", "-9223372036854775808"}), "");
    EXPECT_THAT(busctl({"NoSuchMethod"}), Not(HasSubstr("takes")));
    EXPECT_NE(test::run({"busctl", "--user", "call", "dev.brightfen.velmor", "/dev/brightfen/velmor",
                         "org.freedesktop.Application", "Open", "as", "0"})
                  .status,
              0);
    EXPECT_TRUE(isOnTheBus());
}

TEST_F(AutomationProgramTest, TheClientSaysWhatTheProgramSays)
{
    EXPECT_EQ(client({"dose"}).output, "0.0% (safe), 100.0% remaining today\n");
    EXPECT_EQ(client({"stats"}).output, "Streak: 0 days, Today 0.0%, weekly avg 0.0%\n");
    EXPECT_EQ(client({"session", "start", "My Mix"}).output, "Started Velmor session for My Mix.\n");
    EXPECT_EQ(client({"pause", "15"}).output, "Paused for 15 min\n");
    EXPECT_EQ(client({"pause"}).output, "Paused (indefinite)\n");
    EXPECT_EQ(client({"resume"}).output, "Resumed Velmor monitoring.\n");
    EXPECT_THAT(client({"session", "end"}).output,
                StartsWith("Session ended (My Mix), 0.0% dose over 0 min"));
    EXPECT_THAT(client({"shortcuts"}).output,
                StartsWith("Get Current SPL: What's the SPL in Velmor / Get the SPL from Velmor\n"));
    EXPECT_EQ(client({"focus"}).output, "off, Session: Manual\n");
    EXPECT_EQ(client({"focus", "on", "Focus"}).output, "on, Session: Focus\n");
    EXPECT_EQ(client({"focus", "off"}).output, "off, Session: Focus\n");
    EXPECT_EQ(client({"focus", "on"}).output, "on, Session: Focus\n");
    EXPECT_EQ(client({"focus", "on", ""}).output, "on, Session: Manual\n");
}

TEST_F(AutomationProgramTest, TheClientsJsonHasTheNamesOfTheInterface)
{
    const std::string dose = client({"dose", "--json"}).output;
    EXPECT_THAT(dose, AllOf(StartsWith("{"), HasSubstr("\"dosePercent\":0,"),
                            HasSubstr("\"remainingPercent\":100,"), HasSubstr("\"doseLevel\":\"safe\""),
                            HasSubstr("\"peakCount115DBA\":0"),
                            HasSubstr("\"dialog\":\"0.0% (safe), 100.0% remaining today\"")));
    EXPECT_THAT(client({"--json", "pause", "1"}).output, HasSubstr("\"resumeInSeconds\":[60]"));
    EXPECT_THAT(client({"shortcuts", "--json"}).output,
                HasSubstr("\"phrases\":[\"Pause Velmor\",\"Pause monitoring in Velmor\"]"));
}

TEST_F(AutomationProgramTest, TheClientsStatusTellsTheError)
{
    const auto spl = client({"spl"});
    EXPECT_EQ(spl.status, 4);
    EXPECT_EQ(spl.error, "velmorctl: Velmor's audio engine isn't running. Open Velmor and check the input "
                         "device in Settings.\n");
    EXPECT_EQ(client({"session", "end"}).status, 6);
    EXPECT_EQ(client({"session", "start"}).status, 0);
    EXPECT_EQ(client({"session", "start"}).status, 5);
    EXPECT_EQ(client({"pause", "1441"}).status, 2);
    EXPECT_EQ(client({"pause", "soon"}).status, 2);
    EXPECT_EQ(client({"session"}).status, 2);
    EXPECT_EQ(client({}).status, 2);
    EXPECT_EQ(client({"--help"}).status, 0);
    // What can't be told is no success.
    const auto full = test::run({"sh", "-c", test::programPath("velmorctl") + " dose > /dev/full"});
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(full.error, "velmorctl: No space left on device\n");
    EXPECT_EQ(test::run({"sh", "-c", test::programPath("velmorctl") + " dose >&-"}).status, 0);
    EXPECT_EQ(test::run({"sh", "-c", "{ " + test::programPath("velmorctl") + " watch; echo $? >&2; } | true"})
                  .error,
              "0\n");
    endProgram();
    ASSERT_TRUE(session.waitUntil([] { return !isOnTheBus(); }));
    const auto gone = client({"dose"});
    EXPECT_EQ(gone.status, 3);
    EXPECT_EQ(gone.error, "velmorctl: Velmor isn't running.\n");
    EXPECT_EQ(client({"watch"}).status, 3);
    test::writeFile(session / "services/dev.brightfen.velmor.service",
                    "[D-BUS Service]\nName=dev.brightfen.velmor\nExec=/bin/false\n");
    EXPECT_TRUE(
        session.waitUntil([] { return client({"dose"}).error.find("isn't running") == std::string::npos; }));
    EXPECT_EQ(client({"dose"}).status, 3);
    session.endBus();
    EXPECT_EQ(client({"dose"}).status, 3);
    EXPECT_EQ(client({"watch"}).status, 3);
}

TEST_F(AutomationProgramTest, TheClientFollowsTheLevelsOfAMicrophone)
{
    set("calibrationOffset", 100.0);
    endProgram();
    startProgram();
    auto watch = std::make_unique<test::Companion>(
        std::vector<std::string>{test::programPath("velmorctl"), "watch"}, session / "watched");
    ASSERT_TRUE(session.waitUntil([&] { return linesIn("watched") >= 1; }));
    EXPECT_EQ(test::contentOf(session / "watched"),
              "— dBA, — dBC, peak — dBA, — dBC, dose 0.0% (safe), not measuring\n");
    ASSERT_EQ(client({"session", "start", "Test"}).status, 0);
    ASSERT_TRUE(session.waitUntil([this] { return isCapturing(); }));
    const auto player = session.playInto(microphone, tone(0.1, 20));
    // 1 kHz at -20 dBFS peak: 100 - 23.01 dB.
    EXPECT_TRUE(session.waitUntil([&] {
        return test::contentOf(session / "watched").find("\n77.0 dBA, 77.0 dBC, peak ") != std::string::npos;
    })) << test::contentOf(session / "watched");
    EXPECT_THAT(test::contentOf(session / "watched"), HasSubstr(", onTarget\n"));
    // Ten a second at most, and one at the edge.
    const auto begin = std::chrono::steady_clock::now();
    const std::size_t before = linesIn("watched");
    std::this_thread::sleep_for(std::chrono::seconds(2));
    const std::size_t lines = linesIn("watched") - before;
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(lines, 10U);
    EXPECT_LE(static_cast<double>(lines), 10 * taken.count() + 1);
    endProgram();
    EXPECT_EQ(watch->waitForEnd(), 3);
}

TEST_F(AutomationProgramTest, NothingIsSentOnceNobodyFollows)
{
    const auto monitor = std::make_unique<test::Companion>(
        std::vector<std::string>{"dbus-monitor", "--session", "--profile",
                                 "interface='dev.brightfen.velmor.Live1',member='Levels'"},
        session / "signals");
    const auto sent = [&] {
        const std::string seen = test::contentOf(session / "signals");
        return static_cast<int>(std::ranges::count(seen, '\n')) - 3; // What the monitor says of itself.
    };
    ASSERT_EQ(client({"session", "start"}).status, 0);
    {
        const test::Companion watch({test::programPath("velmorctl"), "watch"}, session / "watched");
        ASSERT_TRUE(session.waitUntil([&] { return linesIn("watched") >= 1; }));
        ASSERT_TRUE(session.waitUntil(
            [&] { return test::contentOf(session / "signals").find("Levels") != std::string::npos; }));
    }
    // The subscriber has ended without a word.
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const int before = sent();
    client({"pause"});
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    client({"resume"});
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    EXPECT_EQ(sent(), before);
}

TEST_F(AutomationProgramTest, TheShellsSearchAnswersAPhrase)
{
    const std::string provider = "org.gnome.Shell.SearchProvider2.";
    EXPECT_EQ(call("/dev/brightfen/velmor/search", provider + "GetInitialResultSet",
                   {"['What\\'s', 'the', 'SPL', 'in', 'Velmor']"})
                  .output,
              "(['GetCurrentSPL'],)\n");
    EXPECT_EQ(call("/dev/brightfen/velmor/search", provider + "GetSubsearchResultSet", {"['x']", "['paus']"})
                  .output,
              "(['PauseMonitoring'],)\n");
    ASSERT_EQ(client({"session", "start", "Test"}).status, 0);
    const auto metas = call("/dev/brightfen/velmor/search", provider + "GetResultMetas",
                            {"['GetCurrentSPL', 'Nonsense', 'EndMixingSession']"})
                           .output;
    EXPECT_THAT(metas, AllOf(HasSubstr("'description': <'Get Current SPL'>"), HasSubstr(" dBC, peak "),
                             HasSubstr("'name': <'End Mixing Session'>"), Not(HasSubstr("Nonsense"))));
    EXPECT_EQ(
        call("/dev/brightfen/velmor/search", provider + "ActivateResult", {"EndMixingSession", "[]", "1"})
            .status,
        0);
    EXPECT_TRUE(waitForHistory(1));
    EXPECT_TRUE(waitForSummary("End Mixing Session"));
}

TEST_F(AutomationProgramTest, TheRunnerAnswersAPhrase)
{
    const auto matches =
        call("/dev/brightfen/velmor/runner", "org.kde.krunner1.Match", {"What's my dose in Velmor"});
    EXPECT_EQ(matches.output,
              "([('GetTodaysDose', '0.0% (safe), 100.0% remaining today', 'dev.brightfen.velmor', 100, 1.0, "
              "{'subtext': <\"Get Today's Dose\">})],)\n");
    EXPECT_EQ(call("/dev/brightfen/velmor/runner", "org.kde.krunner1.Actions").output, "(@a(sss) [],)\n");
    EXPECT_EQ(call("/dev/brightfen/velmor/runner", "org.kde.krunner1.Match", {"xyz"}).output,
              "(@a(sssida{sv}) [],)\n");
    EXPECT_EQ(call("/dev/brightfen/velmor/runner", "org.kde.krunner1.Run", {"PauseMonitoring", ""}).status,
              0);
    EXPECT_TRUE(waitForSummary("Pause Monitoring"));
}

class DoNotDisturbProgramTest : public AutomationProgramTest
{
protected:
    static void setPaused(bool isPaused)
    {
        test::run({"dunstctl", "set-paused", isPaused ? "true" : "false"});
    }
};

TEST_F(DoNotDisturbProgramTest, ItStartsAndEndsASessionOnceThatIsWanted)
{
    setPaused(true);
    setPaused(false);
    ASSERT_EQ(client({"focus", "on", "Focus"}).status, 0);
    EXPECT_EQ(client({"session", "end"}).status, 6);
    setPaused(true);
    EXPECT_TRUE(session.waitUntil([this] { return isCapturing(); }));
    setPaused(false);
    ASSERT_TRUE(waitForHistory(1));
    EXPECT_EQ(history()[0].dawName, "Focus");
}

TEST_F(DoNotDisturbProgramTest, OneFromBeforeTheStartBeginsNothing)
{
    ASSERT_EQ(client({"focus", "on"}).status, 0);
    endProgram();
    setPaused(true);
    startProgram();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    EXPECT_EQ(client({"session", "end"}).status, 6);
    setPaused(false);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    EXPECT_EQ(client({"session", "end"}).status, 6);
    // The next one is followed.
    setPaused(true);
    EXPECT_TRUE(session.waitUntil([this] { return isCapturing(); }));
}

TEST_F(DoNotDisturbProgramTest, AServerThatGoesAwayEndsNoSession)
{
    ASSERT_EQ(client({"focus", "on", "Focus"}).status, 0);
    setPaused(true);
    ASSERT_TRUE(session.waitUntil([this] { return isCapturing(); }));
    daemon->kill();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    EXPECT_TRUE(history().empty());
    EXPECT_TRUE(isCapturing());
    // The next server says that it disturbs.
    daemon->start();
    EXPECT_TRUE(waitForHistory(1));
}

TEST_F(AutomationProgramTest, TheWidgetShowsTheRecordAndFollowsIt)
{
    // Answered, it has started.
    client({"dose"});
    const test::Companion widget({test::programPath("velmor-widget"), "--watch"}, session / "shown");
    const auto shows = [&](const std::string& line) {
        return session.waitUntil(
            [&] { return test::contentOf(session / "shown").ends_with("\n" + line + "\n"); });
    };
    ASSERT_TRUE(session.waitUntil([&] { return linesIn("shown") >= 1; }));
    EXPECT_THAT(test::contentOf(session / "shown"), testing::EndsWith("0.0% safe · —\n"));
    ASSERT_EQ(client({"session", "start"}).status, 0);
    EXPECT_TRUE(shows("0.0% safe · 0.0 dBA · Silent"));
    ASSERT_EQ(client({"pause"}).status, 0);
    EXPECT_TRUE(shows("0.0% safe · —"));
    EXPECT_THAT(test::run({test::programPath("velmor-widget"), "--json"}).output,
                HasSubstr("\"class\":[\"safe\",\"idle\"]"));
    EXPECT_EQ(test::run({"sh", "-c", test::programPath("velmor-widget") + " > /dev/full"}).status, 1);
    // The end of the program is told too.
    ASSERT_EQ(client({"resume"}).status, 0);
    EXPECT_TRUE(shows("0.0% safe · 0.0 dBA · Silent"));
    endProgram();
    EXPECT_TRUE(shows("0.0% safe · —"));
}

TEST_F(AutomationProgramTest, TheSharedSuiteIsItsUsersAlone)
{
    const auto suite = session / "config/Velmor/QX7R2M4K9T.com.brightfen.Velmor.sqlite";
    ASSERT_TRUE(session.waitUntil([&] { return std::filesystem::exists(suite); }));
    EXPECT_EQ(std::filesystem::status(suite).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(AutomationProgramTest, CallsWhileTheProgramEndsAreNotAnsweredWithASuccessThatIsNone)
{
    // A notification that a server doesn't take keeps the program for its last second.
    daemon->freeze();
    callIntent("StartMixingSession", {"Logic"});
    call("/dev/brightfen/velmor", "org.freedesktop.Application.ActivateAction",
         {"GetTodaysDose", "[]", "{}"});
    const auto owner = test::run({"busctl", "--user", "call", "org.freedesktop.DBus", "/",
                                  "org.freedesktop.DBus", "GetNameOwner", "s", "dev.brightfen.velmor"})
                           .output;
    const std::string uniqueName = owner.substr(3, owner.size() - 5);
    ::kill(program->process(), SIGTERM);
    ASSERT_TRUE(session.waitUntil([] { return !isOnTheBus(); }));
    const auto late = test::run({"gdbus", "call", "--session", "--dest", uniqueName, "--object-path",
                                 "/dev/brightfen/velmor", "--method",
                                 "dev.brightfen.velmor.Intents1.StartMixingSession", "Late"});
    EXPECT_THAT(late.error,
                testing::AnyOf(HasSubstr("AppNotReady"), HasSubstr("ServiceUnknown"), HasSubstr("NoReply")));
    EXPECT_EQ(program->waitForEnd(), 0);
    ASSERT_EQ(history().size(), 1U);
    EXPECT_EQ(history()[0].dawName, "Logic");
}

TEST_F(AutomationProgramTest, TheShellCompletesCommands)
{
    const auto completed = [](const std::string& words, int word) {
        return test::run({"bash", "-c",
                          "source " VELMOR_DATA "/completions/velmorctl.bash; COMP_WORDS=(" + words +
                              "); COMP_CWORD=" + std::to_string(word) + "; _velmorctl; echo ${COMPREPLY[@]}"})
            .output;
    };
    EXPECT_EQ(completed("velmorctl se", 1), "session\n");
    EXPECT_EQ(completed("velmorctl session ''", 2), "start end\n");
    EXPECT_EQ(completed("velmorctl focus o", 2), "on off\n");
}

} // namespace
} // namespace velmor
