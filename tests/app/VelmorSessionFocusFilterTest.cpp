// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/FocusFollower.h>
#include <app/VelmorSessionFocusFilter.h>
#include <support/CapturedOutput.h>
#include <support/HubHost.h>

#include <boost/signals2/signal.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace velmor {
namespace {

using testing::ElementsAre;

struct FakeSystemLog final : SystemLog
{
    std::vector<std::string> lines;

    void log(std::string_view subsystem, std::string_view category, std::string_view message) override
    {
        EXPECT_EQ(subsystem, "dev.brightfen.velmor.focus");
        EXPECT_EQ(category, "VelmorSessionFocusFilter");
        lines.emplace_back(message);
    }
};

struct FakeDoNotDisturb final : DoNotDisturb
{
    bool on = false;
    boost::signals2::signal<void(bool)> changed;

    bool isOn() const override { return on; }
    Subscription onChange(const std::function<void(bool)>& callback) override
    {
        return changed.connect(callback);
    }

    void turn(bool isOn)
    {
        on = isOn;
        changed(isOn);
    }
};

class VelmorSessionFocusFilterTest : public testing::Test
{
protected:
    VelmorSessionFocusFilterTest() { support.registerAppState(*hub); }

    std::vector<std::string> linesOf(const std::optional<std::string>& daw)
    {
        log.lines.clear();
        filter.perform(daw);
        return log.lines;
    }

    const std::optional<Session>& session() const { return hub->sessionManager.currentSession.get(); }

    test::QuietLines quietLines;
    test::HubHost host;
    std::unique_ptr<AppState> hub = std::make_unique<AppState>(host.host());
    VelmorIntentSupport support;
    FakeSystemLog log;
    VelmorSessionFocusFilter filter{support, log};
    FakeDoNotDisturb doNotDisturb;
};

TEST_F(VelmorSessionFocusFilterTest, AFocusStartsASessionAndEndsIt)
{
    EXPECT_THAT(linesOf("Logic Pro"), ElementsAre("perform() entered for daw=Logic Pro",
                                                  "Focus activation: captured wasActive=false",
                                                  "starting Velmor session for Logic Pro"));
    EXPECT_EQ(session()->dawName, "Logic Pro");
    EXPECT_TRUE(filter.awaitsDeactivation());
    EXPECT_THAT(linesOf("Logic Pro"),
                ElementsAre("perform() entered for daw=Logic Pro",
                            "Focus deactivation: consuming captured prior state (wasActive=false)",
                            "ending session started by Focus"));
    EXPECT_FALSE(session());
    EXPECT_FALSE(filter.awaitsDeactivation());
}

TEST_F(VelmorSessionFocusFilterTest, ASessionThatWasThereBeforeIsLeftRunning)
{
    hub->startSession("By hand");
    EXPECT_THAT(linesOf(std::nullopt),
                ElementsAre("perform() entered for daw=nil", "Focus activation: captured wasActive=true",
                            "session already running; leaving it as-is"));
    EXPECT_EQ(session()->dawName, "By hand");
    EXPECT_THAT(linesOf(std::nullopt),
                ElementsAre("perform() entered for daw=nil",
                            "Focus deactivation: consuming captured prior state (wasActive=true)",
                            "session was already active pre-Focus; leaving it running"));
    EXPECT_TRUE(session());
}

TEST_F(VelmorSessionFocusFilterTest, OneThatTheUserEndedMeanwhileLeavesNoCapture)
{
    hub->startSession("By hand");
    filter.perform(std::nullopt);
    hub->endSession();
    filter.perform(std::nullopt);
    EXPECT_FALSE(session());
    EXPECT_FALSE(filter.awaitsDeactivation());
}

TEST_F(VelmorSessionFocusFilterTest, AFocusWhoseSessionTheUserEndedDoesNothing)
{
    filter.perform(std::nullopt);
    hub->endSession();
    EXPECT_EQ(linesOf(std::nullopt).back(), "session already ended by user; nothing to do");
    EXPECT_FALSE(filter.awaitsDeactivation());
}

TEST_F(VelmorSessionFocusFilterTest, ASessionThatTheUserRestartedIsEndedWithTheFocus)
{
    filter.perform(std::nullopt);
    hub->endSession();
    hub->startSession("By hand");
    filter.perform(std::nullopt);
    EXPECT_FALSE(session());
}

TEST_F(VelmorSessionFocusFilterTest, ABlankNameIsManual)
{
    EXPECT_EQ(linesOf("  ").back(), "starting Velmor session for Manual");
    EXPECT_EQ(session()->dawName, "Manual");
    EXPECT_EQ(VelmorSessionFocusFilter::displayRepresentation("  "), "Session: Manual");
    EXPECT_EQ(VelmorSessionFocusFilter::displayRepresentation(std::nullopt), "Session: Manual");
    EXPECT_EQ(VelmorSessionFocusFilter::displayRepresentation("Logic Pro"), "Session: Logic Pro");
}

TEST_F(VelmorSessionFocusFilterTest, WithoutAHubNothingIsCaptured)
{
    hub.reset();
    EXPECT_THAT(linesOf("x"), ElementsAre("perform() entered for daw=x", "appState not ready; skipping"));
    EXPECT_FALSE(filter.awaitsDeactivation());
}

TEST_F(VelmorSessionFocusFilterTest, DoNotDisturbCallsItOnlyWhereTheUserWantsThat)
{
    const FocusFollower follower(*hub, doNotDisturb, filter);
    doNotDisturb.turn(true);
    doNotDisturb.turn(false);
    EXPECT_FALSE(session());
    EXPECT_TRUE(log.lines.empty());
    hub->settings.focusFilterEnabled = true;
    hub->settings.focusFilterDAW = std::string("Focus");
    doNotDisturb.turn(true);
    EXPECT_EQ(session()->dawName, "Focus");
    doNotDisturb.turn(false);
    EXPECT_FALSE(session());
}

TEST_F(VelmorSessionFocusFilterTest, TurnedOffInAFocusItForgetsWhatItFound)
{
    hub->settings.focusFilterEnabled = true;
    const FocusFollower follower(*hub, doNotDisturb, filter);
    doNotDisturb.turn(true);
    hub->settings.focusFilterEnabled = false;
    doNotDisturb.turn(false);
    EXPECT_TRUE(session());
    hub->settings.focusFilterEnabled = true;
    doNotDisturb.turn(true);
    doNotDisturb.turn(false);
    // It was there before this Focus.
    EXPECT_TRUE(session());
}

TEST_F(VelmorSessionFocusFilterTest, WhatAnotherAutomationHasFoundIsNotForgotten)
{
    const FocusFollower follower(*hub, doNotDisturb, filter);
    filter.perform("Outside");
    hub->settings.focusFilterEnabled = false;
    filter.perform("Outside");
    EXPECT_FALSE(session());
    // Nor does a Do Not Disturb end what another automation has begun.
    hub->settings.focusFilterEnabled = true;
    filter.perform("Outside");
    doNotDisturb.turn(true);
    doNotDisturb.turn(false);
    EXPECT_TRUE(session());
}

TEST_F(VelmorSessionFocusFilterTest, AnotherAutomationsEndLeavesTheNextFocusToFollow)
{
    const FocusFollower follower(*hub, doNotDisturb, filter);
    hub->settings.focusFilterEnabled = true;
    doNotDisturb.turn(true);
    filter.perform("Outside");
    EXPECT_FALSE(session());
    doNotDisturb.turn(false);
    EXPECT_FALSE(session());
    doNotDisturb.turn(true);
    EXPECT_TRUE(session());
    doNotDisturb.turn(false);
    EXPECT_FALSE(session());
}

TEST_F(VelmorSessionFocusFilterTest, WithoutANameTheLogSaysNil)
{
    const FocusFollower follower(*hub, doNotDisturb, filter);
    hub->settings.focusFilterEnabled = true;
    doNotDisturb.turn(true);
    EXPECT_EQ(log.lines.front(), "perform() entered for daw=nil");
}

TEST_F(VelmorSessionFocusFilterTest, TheEndOfAFocusFromBeforeTheStartBeginsNoSession)
{
    doNotDisturb.on = true;
    hub->settings.focusFilterEnabled = true;
    const FocusFollower follower(*hub, doNotDisturb, filter);
    doNotDisturb.turn(false);
    EXPECT_FALSE(session());
}

} // namespace
} // namespace velmor
