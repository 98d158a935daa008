// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/DesktopNotificationCenter.h>
#include <linux/QtMainLoop.h>
#include <support/NotificationDaemon.h>
#include <support/PrivateAudioSession.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmor {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

struct RecordingDelegate final : NotificationDelegate
{
    std::vector<NotificationResponse> responses;

    NotificationPresentation presentationInFront() const override { return {true, true}; }
    void respond(const NotificationResponse& response, const std::function<void()>& completion) override
    {
        responses.push_back(response);
        completion();
    }
};

/// A real session bus and a real daemon. Its script runs beside others of its kind: what it notes down may
/// come in another order than the notifications, whose numbers tell theirs.
class DesktopNotificationTest : public testing::Test
{
protected:
    void SetUp() override
    {
        daemon = std::make_unique<test::NotificationDaemon>();
        const std::string problem = session.problem() + daemon->problem();
        if (!problem.empty()) {
            ASSERT_FALSE(test::packagesMustBeThere()) << problem;
            // Without its packages there is nothing real to test against; where CI runs they are installed.
            GTEST_SKIP() << "no desktop can be started here: " << problem;
        }
        static int argumentCount = 1;
        static char programName[] = "test";
        static char* arguments[] = {programName, nullptr};
        application = std::make_unique<QCoreApplication>(argumentCount, arguments);
        loop = std::make_unique<QtMainLoop>();
        center = std::make_unique<DesktopNotificationCenter>(
            *loop, [this](const std::string& name, NotificationSound) { sounds.push_back(name); });
        center->setDelegate(&delegate);
        center->setCategories({{"SESSION_ALERT", {{"SNOOZE_30", "Snooze 30 min"}}}, {"PLAIN", {}}});
    }

    void TearDown() override
    {
        center.reset();
        loop.reset();
        application.reset();
    }

    bool runUntil(const std::function<bool()>& condition, double limitSeconds = 10)
    {
        const Timer check = loop->every(0.02, [&] {
            if (condition())
                QCoreApplication::quit();
        });
        const Timer limit = loop->every(limitSeconds, [] { QCoreApplication::quit(); });
        QCoreApplication::exec();
        return condition();
    }

    bool waitFor(std::size_t count)
    {
        return runUntil([&] { return daemon->received().size() >= count; });
    }

    static NotificationRequest request(const std::string& identifier, const std::string& title)
    {
        NotificationRequest request;
        request.identifier = identifier;
        request.categoryIdentifier = "SESSION_ALERT";
        request.title = title;
        request.body = "Body of " + title;
        request.userInfo = {{"velmor.sessionID", identifier}};
        return request;
    }

    test::PrivateAudioSession session;
    std::unique_ptr<test::NotificationDaemon> daemon;
    std::unique_ptr<QCoreApplication> application;
    std::unique_ptr<QtMainLoop> loop;
    std::unique_ptr<DesktopNotificationCenter> center;
    RecordingDelegate delegate;
    std::vector<std::string> sounds;
};

TEST_F(DesktopNotificationTest, ANotificationArrivesAsItWasSent)
{
    NotificationRequest loud = request("a", "⚠️ Peak Level: 124 dBA");
    loud.subtitle = "1 < 2 & 3";
    loud.interruptionLevel = InterruptionLevel::timeSensitive;
    loud.sound = NotificationSound::critical;
    center->add(loud);
    ASSERT_TRUE(waitFor(1));
    const auto received = daemon->received()[0];
    EXPECT_EQ(received.summary, "⚠️ Peak Level: 124 dBA");
    EXPECT_EQ(received.body, "1 &lt; 2 &amp; 3 / Body of ⚠️ Peak Level: 124 dBA");
    EXPECT_EQ(received.urgency, "CRITICAL");
    // This daemon plays nothing.
    ASSERT_TRUE(runUntil([&] { return !sounds.empty(); }));
    EXPECT_THAT(sounds, ElementsAre("dialog-warning"));
}

TEST_F(DesktopNotificationTest, OneOfTheSameIdentifierReplacesTheEarlierOne)
{
    center->add(request("dose-caution", "First"));
    center->add(request("other", "Second"));
    ASSERT_TRUE(waitFor(2));
    center->add(request("dose-caution", "Third"));
    ASSERT_TRUE(waitFor(3));
    std::map<std::string, test::ReceivedNotification> bySummary;
    for (const auto& one : daemon->received())
        bySummary[one.summary] = one;
    ASSERT_EQ(bySummary.size(), 3U);
    EXPECT_EQ(bySummary["First"].number, bySummary["Third"].number);
    EXPECT_NE(bySummary["First"].number, bySummary["Second"].number);
    EXPECT_EQ(bySummary["Second"].urgency, "NORMAL");
}

TEST_F(DesktopNotificationTest, APressedButtonComesBackWithTheCategoryAndWhatWasGivenAlong)
{
    center->add(request("a", "First"));
    ASSERT_TRUE(waitFor(1));
    test::NotificationDaemon::pressButton();
    ASSERT_TRUE(runUntil([&] { return !delegate.responses.empty(); }));
    EXPECT_EQ(delegate.responses[0].actionIdentifier, "SNOOZE_30");
    EXPECT_EQ(delegate.responses[0].categoryIdentifier, "SESSION_ALERT");
    EXPECT_EQ(delegate.responses[0].userInfo.at("velmor.sessionID"), "a");
}

TEST_F(DesktopNotificationTest, WhatNoDaemonTakesIsDeliveredWhenOneAppears)
{
    daemon->stop();
    center->add(request("a", "First"));
    center->add(request("b", "Second"));
    center->add(request("a", "Third"));
    runUntil([] { return false; }, 1);
    EXPECT_TRUE(daemon->received().empty());
    daemon->start();
    ASSERT_TRUE(waitFor(2));
    EXPECT_THAT(daemon->summaries(), UnorderedElementsAre("Second", "Third"));
}

TEST_F(DesktopNotificationTest, ADaemonThatIsRestartedGoesOnBeingUsed)
{
    center->add(request("a", "First"));
    ASSERT_TRUE(waitFor(1));
    daemon->stop();
    daemon->start();
    center->add(request("b", "Other"));
    center->add(request("a", "Again"));
    ASSERT_TRUE(waitFor(3));
    EXPECT_THAT(daemon->summaries(), UnorderedElementsAre("First", "Other", "Again"));
    test::NotificationDaemon::closeAll();
    center->add(request("c", "Last"));
    ASSERT_TRUE(waitFor(4));
    test::NotificationDaemon::pressButton();
    ASSERT_TRUE(runUntil([&] { return !delegate.responses.empty(); }));
    EXPECT_EQ(delegate.responses[0].userInfo.at("velmor.sessionID"), "c");
}

TEST_F(DesktopNotificationTest, WhatIsUnderWayWhenTheDaemonEndsIsShownByTheNext)
{
    center->add(request("a", "First"));
    ASSERT_TRUE(waitFor(1));
    // It takes calls no more and answers none of them.
    daemon->freeze();
    center->add(request("b", "Second"));
    center->add(request("c", "Third"));
    runUntil([] { return false; }, 0.5);
    daemon->kill();
    runUntil([] { return false; }, 0.5);
    daemon->start();
    ASSERT_TRUE(waitFor(3));
    EXPECT_THAT(daemon->summaries(), UnorderedElementsAre("First", "Second", "Third"));
}

TEST_F(DesktopNotificationTest, AFlushWaitsForWhatIsUnderWayButNotForLong)
{
    center->add(request("a", "First"));
    center->add(request("b", "Second"));
    center->flush(10);
    ASSERT_TRUE(test::PrivateAudioSession::waitUntil([&] { return daemon->received().size() == 2; }));
    daemon->freeze();
    center->add(request("c", "Third"));
    const auto start = std::chrono::steady_clock::now();
    center->flush(0.2);
    EXPECT_EQ(daemon->received().size(), 2U);
    // The bus itself waits for 25 seconds.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST_F(DesktopNotificationTest, TheOrderOfManyIsKept)
{
    std::vector<std::string> sent;
    for (int i = 0; i < 20; ++i) {
        sent.push_back("Number " + std::to_string(i));
        center->add(request(sent.back(), sent.back()));
    }
    ASSERT_TRUE(waitFor(20));
    auto received = daemon->received();
    std::ranges::sort(received, {}, [](const auto& one) { return std::stoi(one.number); });
    for (std::size_t i = 0; i < sent.size(); ++i)
        EXPECT_EQ(received[i].summary, sent[i]);
}

} // namespace
} // namespace velmor
