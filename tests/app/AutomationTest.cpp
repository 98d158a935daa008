// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/AutomationInterfaces.h>
#include <app/IntentActions.h>
#include <app/ShortcutSearch.h>
#include <support/CapturedOutput.h>
#include <support/HubHost.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace velmor {
namespace {

using testing::ElementsAre;

struct SilentLog final : SystemLog
{
    void log(std::string_view, std::string_view, std::string_view) override {}
};

class AutomationTest : public testing::Test
{
protected:
    AutomationTest() { support.registerAppState(*hub); }

    BusValues call(const std::string& name, const BusValues& arguments = {})
    {
        for (const BusInterface& interface : {intents, focusFilter}) {
            const auto method = std::ranges::find(interface.methods, name, &BusMethod::name);
            if (method == interface.methods.end())
                continue;
            const BusValues results = method->call(arguments);
            EXPECT_EQ(results.size(), method->out.size());
            return results;
        }
        throw std::runtime_error("no method " + name);
    }

    std::string errorOf(const std::string& name, const BusValues& arguments = {})
    {
        try {
            call(name, arguments);
        } catch (const BusError& error) {
            return error.name() + ": " + error.what();
        }
        return "none";
    }

    std::vector<std::string> titles(const std::string& typed) const
    {
        std::vector<std::string> found;
        for (const SearchResult& result : search.find(typed))
            found.push_back(result.title);
        return found;
    }

    test::QuietLines quietLines;
    test::HubHost host;
    std::unique_ptr<AppState> hub = std::make_unique<AppState>(host.host());
    VelmorIntentSupport support;
    SilentLog log;
    VelmorSessionFocusFilter filter{support, log};
    IntentActions actions{support, host.notifications};
    ShortcutSearch search{support, actions};
    BusInterface intents = AutomationInterfaces::intents(support);
    BusInterface focusFilter = AutomationInterfaces::focusFilter(support, filter);
};

TEST_F(AutomationTest, EachIntentIsAMethodWithItsValuesAndTexts)
{
    hub->audioService.start();
    test::setLevels(*hub, 78.4, 82.1, 0, 91.0);
    BusValues results = call("GetCurrentSPL");
    EXPECT_EQ(std::get<std::string>(results[0]).size(), 36U);
    results.erase(results.begin());
    EXPECT_EQ(results,
              (BusValues{78.4, 82.1, 91.0, std::string("78.4 dBA"), std::string("82.1 dBC, peak 91.0 dBA"),
                         std::string("78.4 dBA, 82.1 dBC, peak 91.0 dBA")}));
    EXPECT_EQ(call("StartMixingSession", {std::string(" Logic ")}),
              BusValues{std::string("Started Velmor session for Logic.")});
    EXPECT_EQ(hub->sessionManager.currentSession.get()->dawName, "Logic");
    EXPECT_EQ(std::get<std::string>(call("EndMixingSession")[2]), "Logic");
    EXPECT_EQ(std::get<std::string>(call("GetTodaysDose")[3]), "safe");
    EXPECT_EQ(std::get<std::int64_t>(call("GetMonitoringStats")[1]), 0);
}

TEST_F(AutomationTest, APauseSaysWhenItEndsIfItDoes)
{
    EXPECT_EQ(call("PauseMonitoring", {std::int64_t(5)})[2], BusValue(std::vector<std::int64_t>{300}));
    EXPECT_EQ(call("PauseMonitoring", {std::int64_t(0)})[2], BusValue(std::vector<std::int64_t>()));
    EXPECT_EQ(call("ResumeMonitoring")[1], BusValue(false));
}

TEST_F(AutomationTest, ErrorsHaveNamesAndTheirWords)
{
    EXPECT_EQ(errorOf("GetCurrentSPL"), "dev.brightfen.velmor.Error.MonitoringUnavailable: Velmor's audio "
                                        "engine isn't running. Open Velmor and "
                                        "check the input device in Settings.");
    EXPECT_EQ(
        errorOf("EndMixingSession"),
        "dev.brightfen.velmor.Error.SessionNotActive: No session is running. Start one from Velmor's menu or "
        "from the Start Mixing Session intent.");
    call("StartMixingSession", {std::string()});
    EXPECT_EQ(
        errorOf("StartMixingSession", {std::string()}),
        "dev.brightfen.velmor.Error.SessionAlreadyActive: A session is already running. End it first, or use "
        "the active session.");
    EXPECT_EQ(errorOf("PauseMonitoring", {std::int64_t(1441)}),
              "dev.brightfen.velmor.Error.InvalidArgument: Pause duration must be at most 1440 minutes (24 "
              "hours).");
    hub.reset();
    EXPECT_EQ(errorOf("GetTodaysDose"), "dev.brightfen.velmor.Error.AppNotReady: Velmor hasn't finished "
                                        "launching yet. Try again in a moment.");
}

TEST_F(AutomationTest, ShortcutsAndIntentsAreListed)
{
    const auto shortcuts = std::get<std::vector<BusDictionary>>(call("ListShortcuts")[0]);
    ASSERT_EQ(shortcuts.size(), 7U);
    EXPECT_EQ(shortcuts[0], (BusDictionary{{"intent", "GetCurrentSPL"},
                                           {"phrases", std::vector<std::string>{"What's the SPL in Velmor",
                                                                                "Get the SPL from Velmor"}},
                                           {"shortTitle", "Get Current SPL"},
                                           {"symbol", "waveform"}}));
    const auto listed = std::get<std::vector<BusDictionary>>(call("ListIntents")[0]);
    ASSERT_EQ(listed.size(), 7U);
    EXPECT_EQ(listed[3], (BusDictionary{{"intent", "StartMixingSession"},
                                        {"title", "Start Mixing Session"},
                                        {"parameter", "daw"},
                                        {"parameterTitle", "DAW"},
                                        {"parameterDescription",
                                         "Optional label for the session (e.g. 'Logic Pro'). Defaults to "
                                         "'Manual' when blank."},
                                        {"parameterSummary", "Start an Velmor session for {daw}"}}));
    EXPECT_EQ(std::get<std::string>(listed[5].at("parameterSummary")),
              "Pause Velmor monitoring for {durationMinutes} minutes");
}

TEST_F(AutomationTest, TheFocusFilterIsCalledAndSetFromOutside)
{
    EXPECT_EQ(call("GetSettings"), (BusValues{false, std::string(), std::string("Session: Manual")}));
    call("SetEnabled", {true});
    call("SetDAW", {std::string("Focus")});
    EXPECT_EQ(call("GetSettings"), (BusValues{true, std::string("Focus"), std::string("Session: Focus")}));
    EXPECT_EQ(host.defaults.get<bool>("focusFilterEnabled"), true);
    call("Perform", {std::string("Outside")});
    EXPECT_EQ(hub->sessionManager.currentSession.get()->dawName, "Outside");
    call("Perform", {std::string("Outside")});
    EXPECT_FALSE(hub->sessionManager.currentSession.get());
}

TEST_F(AutomationTest, ParametersAreDescribedInWords)
{
    const auto listed = std::get<std::vector<BusDictionary>>(call("ListIntents")[0]);
    EXPECT_EQ(
        listed[5],
        (BusDictionary{{"intent", "PauseMonitoring"},
                       {"title", "Pause Monitoring"},
                       {"parameter", "durationMinutes"},
                       {"parameterTitle", "Duration (minutes)"},
                       {"parameterDescription",
                        "Pause for this many minutes, then auto-resume. Enter 0 for an indefinite pause "
                        "that lasts until you call Resume Monitoring."},
                       {"parameterSummary", "Pause Velmor monitoring for {durationMinutes} minutes"}}));
    EXPECT_EQ(
        std::get<BusDictionary>(call("Describe")[0]),
        (BusDictionary{{"title", "Start a Mixing Session"},
                       {"parameter", "daw"},
                       {"parameterTitle", "DAW"},
                       {"parameterDescription",
                        "Optional label for the session started by this Focus (e.g. 'Logic "
                        "Pro'). Defaults to 'Manual' when blank."},
                       {"parameterSummary", "Start an Velmor session for {daw} when this Focus activates"}}));
}

TEST_F(AutomationTest, LevelsThatAreNotMeasuredAreLeftOut)
{
    EXPECT_EQ(AutomationInterfaces::levels(support), (BusDictionary{{"running", false},
                                                                    {"paused", false},
                                                                    {"dosePercent", 0.0},
                                                                    {"doseLevel", std::string("safe")}}));
    hub->startSession("Logic");
    test::setLevels(*hub, 78.4, 82.1, 118.5, 91.0);
    hub->referenceTracker.tick(78.4);
    EXPECT_EQ(AutomationInterfaces::levels(support), (BusDictionary{{"running", true},
                                                                    {"paused", false},
                                                                    {"dosePercent", 0.0},
                                                                    {"doseLevel", std::string("safe")},
                                                                    {"dBA", 78.4},
                                                                    {"dBC", 82.1},
                                                                    {"peakDBA", 91.0},
                                                                    {"peakDBC", 118.5},
                                                                    {"zone", std::string("onTarget")}}));
    hub->pauseService.pause({}, host.loop.now());
    EXPECT_FALSE(AutomationInterfaces::levels(support).contains("zone"));
    hub.reset();
    EXPECT_TRUE(AutomationInterfaces::levels(support).empty());
}

TEST_F(AutomationTest, AChosenActionIsAnsweredByANotification)
{
    actions.perform("PauseMonitoring");
    EXPECT_TRUE(hub->pauseService.isPaused);
    ASSERT_EQ(host.notifications.requests.size(), 1U);
    EXPECT_EQ(host.notifications.requests[0].title, "Pause Monitoring");
    EXPECT_EQ(host.notifications.requests[0].body, "Paused (indefinite)");
    actions.perform("EndMixingSession");
    EXPECT_EQ(host.notifications.requests.back().body,
              "No session is running. Start one from Velmor's menu or from the Start Mixing Session intent.");
    actions.perform("DeleteEverything");
    EXPECT_EQ(host.notifications.requests.size(), 2U);
}

TEST_F(AutomationTest, TheSearchAnswersAPhraseWithTheReadingItself)
{
    const auto results = search.find("What's the SPL in Velmor");
    ASSERT_FALSE(results.empty());
    EXPECT_EQ(results[0].id, "GetCurrentSPL");
    EXPECT_EQ(results[0].relevance, 1);
    EXPECT_EQ(results[0].title,
              "Velmor's audio engine isn't running. Open Velmor and check the input device in Settings.");
    hub->audioService.start();
    test::setLevels(*hub, 78.4, 82.1, 0, 91.0);
    EXPECT_EQ(search.find("whats the spl in velmor?")[0].title, "78.4 dBA, 82.1 dBC, peak 91.0 dBA");
    EXPECT_EQ(search.find("what’s the SPL")[0].subtitle, "Get Current SPL");
    EXPECT_EQ(search.result("GetTodaysDose")->title, "0.0% (safe), 100.0% remaining today");
    EXPECT_FALSE(search.result("getTodaysDose"));
}

TEST_F(AutomationTest, TheSearchFindsByBeginsOfWordsAndPerformsNothing)
{
    EXPECT_THAT(titles("pau"), ElementsAre("Pause Monitoring"));
    EXPECT_THAT(titles("velm ses"), ElementsAre("Start Mixing Session", "End Mixing Session"));
    EXPECT_THAT(titles("resume velmor"), ElementsAre("Resume Monitoring"));
    EXPECT_THAT(titles("pause firefox"), ElementsAre());
    EXPECT_THAT(titles("in"), ElementsAre());
    EXPECT_THAT(titles("pause-monitoring"), ElementsAre("Pause Monitoring"));
    EXPECT_THAT(titles("paus\u00E9"), ElementsAre());
    EXPECT_THAT(titles("pause " + std::string(1000, ' ')), ElementsAre());
    EXPECT_THAT(titles("  ?'\xFF"), ElementsAre());
    EXPECT_FALSE(hub->pauseService.isPaused);
    EXPECT_FALSE(hub->sessionManager.currentSession.get());
    search.choose("PauseMonitoring");
    EXPECT_TRUE(hub->pauseService.isPaused);
}

} // namespace
} // namespace velmor
