// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/NotificationMessage.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const NotificationCategory sessionAlert{"SESSION_ALERT", {{"SNOOZE_30", "Snooze 30 min"}}};
constexpr NotificationCapabilities everything{true, true, true};

TEST(NotificationMessage, ASubtitleLeadsTheBody)
{
    const NotificationRequest request{.title = "Title", .subtitle = "Subtitle", .body = "Body"};
    const auto message = notificationMessage(request, {}, everything);
    EXPECT_EQ(message.summary, "Title");
    EXPECT_EQ(message.body, "Subtitle\nBody");
    EXPECT_EQ(notificationMessage({.body = "Body"}, {}, everything).body, "Body");
}

TEST(NotificationMessage, TheBodyIsEscapedWhereTheServerReadsMarkupAndOnlyThere)
{
    const NotificationRequest request{.title = "A & <B>", .subtitle = "1 < 2", .body = "R&B <b>loud</b>"};
    EXPECT_EQ(notificationMessage(request, {}, everything).body, "1 &lt; 2\nR&amp;B &lt;b&gt;loud&lt;/b&gt;");
    EXPECT_EQ(notificationMessage(request, {}, {}).body, "1 < 2\nR&B <b>loud</b>");
    // A summary has no markup anywhere.
    EXPECT_EQ(notificationMessage(request, {}, everything).summary, "A & <B>");
}

TEST(NotificationMessage, TheCategorysActionsBecomeButtonsWhereTheServerHasThem)
{
    EXPECT_THAT(notificationMessage({}, sessionAlert, everything).actions,
                ElementsAre("SNOOZE_30", "Snooze 30 min"));
    EXPECT_THAT(notificationMessage({}, sessionAlert, {}).actions, IsEmpty());
    EXPECT_THAT(notificationMessage({}, {}, everything).actions, IsEmpty());
}

TEST(NotificationMessage, ATimeSensitiveOneIsCritical)
{
    EXPECT_EQ(notificationMessage({.interruptionLevel = InterruptionLevel::timeSensitive}, {}, {}).urgency,
              2);
    EXPECT_EQ(notificationMessage({}, {}, {}).urgency, 1);
}

TEST(NotificationMessage, TheSoundIsNamedAndOursWhereTheServerPlaysNone)
{
    EXPECT_EQ(notificationMessage({}, {}, everything).soundName, "message-new-instant");
    EXPECT_EQ(notificationMessage({.sound = NotificationSound::critical}, {}, everything).soundName,
              "dialog-warning");
    EXPECT_FALSE(notificationMessage({}, {}, everything).isSoundOurs);
    EXPECT_TRUE(notificationMessage({}, {}, {}).isSoundOurs);
}

} // namespace
} // namespace velmor
