// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/CapturedOutput.h>
#include <support/HubHost.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velmor {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class NotificationPolicyTest : public testing::Test
{
protected:
    NotificationPolicyTest()
    {
        host.bundle = SessionManager::Bundle::installed;
        hub = std::make_unique<AppState>(host.host());
    }

    /// Ticks at a level for so long.
    void listen(double seconds, double dBA)
    {
        test::setLevels(*hub, dBA, dBA);
        host.loop.runFor(seconds);
    }

    /// Leaves the exposure alerts to speak alone: no band is left to cross, and no monitoring alerts.
    void silenceTheOthers()
    {
        hub->doseCalculator.overrideDose(95);
        hub->alertDetector.settings =
            MonitoringAlertSettings{.driftAlertEnabled = false, .offTargetAlertEnabled = false};
    }

    std::vector<NotificationRequest>& requests() { return host.notifications.requests; }

    test::QuietLines quietLines;
    test::HubHost host;
    std::unique_ptr<AppState> hub;
};

TEST_F(NotificationPolicyTest, TheInstalledApplicationRegistersInOrder)
{
    EXPECT_THAT(host.notifications.calls,
                ElementsAre("setDelegate", "requestAuthorization", "setCategories"));
    EXPECT_NE(host.notifications.delegate, nullptr);
    EXPECT_THAT(host.notifications.categories, SizeIs(9));
    hub.reset();
    EXPECT_EQ(host.notifications.delegate, nullptr);
}

TEST_F(NotificationPolicyTest, WithoutABundleIdentifierNothingIsRegistered)
{
    test::HubHost other;
    AppState otherHub(other.host());
    EXPECT_TRUE(other.notifications.calls.empty());
    otherHub.notifications.sendDeviceDisconnectedNotification();
    EXPECT_THAT(other.notifications.requests, SizeIs(1));
}

TEST_F(NotificationPolicyTest, InFrontABannerAndASoundShow)
{
    EXPECT_EQ(host.notifications.delegate->presentationInFront(),
              (NotificationPresentation{.banner = true, .sound = true}));
}

TEST_F(NotificationPolicyTest, PeaksOver100SecondsGiveFourNotifications)
{
    hub->manualStartSession();
    test::setLevels(*hub, 80, 80, 136, 0);
    std::vector<double> times;
    const Date begin = host.loop.now();
    for (int tick = 0; tick < 1000; ++tick) {
        host.loop.runFor(0.1);
        while (times.size() < requests().size())
            times.push_back(secondsBetween(begin, host.loop.now()));
    }
    ASSERT_THAT(times, SizeIs(4));
    for (std::size_t i = 0; i < times.size(); ++i)
        EXPECT_NEAR(times[i], 0.1 + 30.0 * static_cast<double>(i), 1e-6);
}

TEST_F(NotificationPolicyTest, ASecondImpulseWithin30SecondsIsSuppressedWithItsSound)
{
    hub->notifications.sendPeakNotification(136);
    host.loop.runFor(29.9);
    hub->notifications.sendPeakNotification(141);
    EXPECT_THAT(requests(), SizeIs(1));
    host.loop.runFor(0.1);
    hub->notifications.sendPeakNotification(141);
    ASSERT_THAT(requests(), SizeIs(2));
    EXPECT_EQ(requests()[1].sound, NotificationSound::critical);
}

TEST_F(NotificationPolicyTest, InstantaneousPeaksComeAtMostOnceAMinute)
{
    hub->notifications.sendInstantaneousPeakNotification(116);
    hub->notifications.sendPeakNotification(136); // has a limit of its own
    host.loop.runFor(59.9);
    hub->notifications.sendInstantaneousPeakNotification(117);
    EXPECT_THAT(requests(), SizeIs(2));
    host.loop.runFor(0.1);
    hub->notifications.sendInstantaneousPeakNotification(117);
    EXPECT_THAT(requests(), SizeIs(3));
}

TEST_F(NotificationPolicyTest, WithPeakMonitoringOffTheCountersRunAndNothingIsSaid)
{
    hub->settings.peakMonitoringEnabled = false;
    hub->manualStartSession();
    test::setLevels(*hub, 80, 80, 141, 116);
    host.loop.runFor(1);
    EXPECT_TRUE(requests().empty());
    EXPECT_EQ(hub->doseCalculator.peakCount140, 10);
    EXPECT_EQ(hub->doseCalculator.peakDBACount115, 10);
}

TEST_F(NotificationPolicyTest, ACrossingDuringASnoozeIsLostForGood)
{
    hub->manualStartSession();
    hub->notifications.snoozeNotifications(30);
    hub->doseCalculator.accumulatedDose = 0.3999;
    listen(10, 100); // 40 % is passed
    EXPECT_EQ(hub->doseCalculator.doseLevel.get(), DoseLevel::caution);
    EXPECT_TRUE(requests().empty());
    listen(1795, 60);
    listen(5, 85);
    EXPECT_TRUE(requests().empty());
}

TEST_F(NotificationPolicyTest, ACrossingIsAnnounced)
{
    hub->manualStartSession();
    hub->doseCalculator.accumulatedDose = 0.6999;
    listen(5, 85); // from safe to caution, where it stands before
    hub->doseCalculator.accumulatedDose = 0.8999;
    listen(10, 100);
    EXPECT_THAT(host.notifications.identifiers(), ElementsAre("dose-caution", "dose-warning", "dose-danger"));
}

TEST_F(NotificationPolicyTest, NinetyFiveDBAFor25MinutesAreToldAtTenAndTwenty)
{
    hub->manualStartSession();
    std::vector<double> times;
    const Date begin = host.loop.now();
    test::setLevels(*hub, 95, 95);
    std::size_t seen = 0;
    for (int tick = 0; tick < 15000; ++tick) {
        host.loop.runFor(0.1);
        for (; seen < requests().size(); ++seen) {
            if (requests()[seen].identifier == "sustained-spl")
                times.push_back(secondsBetween(begin, host.loop.now()));
        }
    }
    ASSERT_THAT(times, SizeIs(2));
    EXPECT_NEAR(times[0], 600.1, 1e-6); // the first tick begins the stretch
    EXPECT_NEAR(times[1], 1200.1, 1e-6);
}

TEST_F(NotificationPolicyTest, ADipBelow90ForOneTickRestartsTheTenMinutes)
{
    hub->manualStartSession();
    silenceTheOthers();
    listen(590, 90);
    listen(0.1, 89.99);
    listen(600, 90);
    EXPECT_TRUE(requests().empty());
    listen(0.1, 90);
    EXPECT_THAT(host.notifications.identifiers(), ElementsAre("sustained-spl"));
}

TEST_F(NotificationPolicyTest, ASnoozeSwallowsASustainedAlertAndItsTenMinutesBeginAnew)
{
    hub->manualStartSession();
    silenceTheOthers();
    listen(300, 91);
    hub->notifications.snoozeNotifications(6); // until 660 s
    listen(880, 91);                           // due at 600 s, swallowed; the next at 1200 s
    EXPECT_TRUE(requests().empty());
    listen(21, 91);
    EXPECT_THAT(requests(), SizeIs(1));
}

TEST_F(NotificationPolicyTest, TheEndOfASessionClearsTheStretch)
{
    hub->manualStartSession();
    silenceTheOthers();
    listen(500, 91);
    hub->endSession();
    requests().clear();
    hub->manualStartSession();
    listen(200, 91);
    EXPECT_TRUE(requests().empty());
}

TEST_F(NotificationPolicyTest, APauseStretchesTheTenMinutesAndDoesNotClearThem)
{
    hub->manualStartSession();
    silenceTheOthers();
    listen(300, 91);
    hub->pauseService.pause(200.0, host.loop.now());
    listen(199.9, 60); // nobody looks
    listen(0.1, 91);
    listen(99, 91);
    EXPECT_TRUE(requests().empty());
    listen(2, 91);
    EXPECT_THAT(requests(), SizeIs(1));
}

TEST_F(NotificationPolicyTest, AClockThatIsSetBackDoesNotSilenceAnything)
{
    hub->notifications.sendPeakNotification(136);
    hub->notifications.sendInstantaneousPeakNotification(116);
    hub->notifications.checkSustainedExposure(95);
    host.loop.setClock(host.loop.now() - std::chrono::hours(24 * 365));
    hub->notifications.sendPeakNotification(136);
    hub->notifications.sendInstantaneousPeakNotification(116);
    EXPECT_THAT(requests(), SizeIs(4));
    hub->notifications.checkSustainedExposure(95);
    host.loop.runFor(600);
    hub->notifications.checkSustainedExposure(95);
    EXPECT_THAT(requests(), SizeIs(5));
}

TEST_F(NotificationPolicyTest, ASnoozeSilencesDosePeakAndExposureAndNothingElse)
{
    hub->notifications.snoozeNotifications(30);
    hub->notifications.sendThresholdNotification(DoseLevel::danger);
    hub->notifications.sendPeakNotification(141);
    hub->notifications.sendInstantaneousPeakNotification(116);
    EXPECT_TRUE(requests().empty());
    hub->notifications.sendDriftNotification({80, 84});
    hub->notifications.sendOffTargetNotification({OffTargetAlertContext::Direction::over, 79, 84, 900});
    hub->notifications.sendSessionRecapNotification(1, 1, {});
    hub->notifications.sendDeviceDisconnectedNotification();
    EXPECT_THAT(requests(), SizeIs(4));
    host.loop.runFor(1800);
    hub->notifications.sendPeakNotification(141); // the end moment itself is past the snooze
    EXPECT_THAT(requests(), SizeIs(5));
}

TEST_F(NotificationPolicyTest, TheSwitchForTimeSensitivityHasNoSayOverTheOthers)
{
    hub->settings.timeSensitiveNotifications = false;
    hub->notifications.sendThresholdNotification(DoseLevel::danger);
    hub->notifications.sendPeakNotification(141);
    hub->notifications.sendInstantaneousPeakNotification(116);
    for (const auto& request : requests())
        EXPECT_EQ(request.interruptionLevel, InterruptionLevel::standard) << request.identifier;
    hub->notifications.sendDeviceDisconnectedNotification();
    EXPECT_EQ(requests().back().interruptionLevel, InterruptionLevel::timeSensitive);
    hub->settings.timeSensitiveNotifications = true;
    hub->notifications.sendDriftNotification({80, 84});
    EXPECT_EQ(requests().back().interruptionLevel, InterruptionLevel::standard);
}

TEST_F(NotificationPolicyTest, ARecapNeedsATenthOfAPercent)
{
    hub->notifications.sendSessionRecapNotification(0.05, 10, {});
    hub->notifications.sendSessionRecapNotification(0.0999, 10, {});
    EXPECT_TRUE(requests().empty());
    hub->notifications.sendSessionRecapNotification(0.1, 10, {});
    EXPECT_THAT(requests(), SizeIs(1));
}

TEST_F(NotificationPolicyTest, SnoozingAMonitoringAlertSilencesItsKindAlone)
{
    hub->manualStartSession();
    hub->notifications.sendOffTargetNotification({OffTargetAlertContext::Direction::over, 79, 84, 900});
    EXPECT_TRUE(host.notifications.respond(requests()[0], "SNOOZE_30"));
    requests().clear();
    test::setLevels(*hub, 95, 95);
    host.loop.runFor(1799);
    for (const auto& request : requests())
        EXPECT_NE(request.categoryIdentifier, "MONITORING_OFFTARGET");
    EXPECT_FALSE(requests().empty()); // the dose has been told of
    requests().clear();
    host.loop.runFor(3);
    EXPECT_THAT(requests(), testing::Contains(testing::Field(&NotificationRequest::categoryIdentifier,
                                                             "MONITORING_OFFTARGET")));
}

TEST_F(NotificationPolicyTest, SnoozingADriftAlertReachesTheDetector)
{
    hub->notifications.sendDriftNotification({80, 84});
    EXPECT_TRUE(host.notifications.respond(requests()[0], "SNOOZE_30"));
    std::vector<double> drifts;
    hub->alertDetector.onDriftAlert = [&](const DriftAlertContext& context) {
        drifts.push_back(context.driftDB());
    };
    const Date begin = host.loop.now();
    hub->alertDetector.beginSession(begin);
    for (int second = 600; second < 1800; ++second)
        hub->alertDetector.evaluate(begin + std::chrono::seconds(second), 40, 79, second == 600 ? 80 : 90);
    EXPECT_TRUE(drifts.empty());
}

TEST_F(NotificationPolicyTest, SnoozingAnotherSilencesTheRestForHalfAnHour)
{
    hub->notifications.sendPeakNotification(136);
    EXPECT_TRUE(host.notifications.respond(requests()[0], "SNOOZE_30"));
    host.loop.runFor(1799.9);
    hub->notifications.sendThresholdNotification(DoseLevel::caution);
    EXPECT_THAT(requests(), SizeIs(1));
    host.loop.runFor(0.1);
    hub->notifications.sendThresholdNotification(DoseLevel::caution);
    EXPECT_THAT(requests(), SizeIs(2));
}

TEST_F(NotificationPolicyTest, SharingAReportAsksForItsWindow)
{
    const Uuid id = makeUuid();
    hub->notifications.sendSessionRecapNotification(5, 10, id);
    EXPECT_TRUE(host.notifications.respond(requests()[0], "SHARE_REPORT"));
    EXPECT_FALSE(hub->pendingReportSessionID.get()); // comes with the next turn of the loop
    host.loop.runPosted();
    EXPECT_EQ(hub->pendingReportSessionID.get(), id);
}

TEST_F(NotificationPolicyTest, AReportWithoutAUsableIdentityIsNotAskedFor)
{
    NotificationRequest request;
    request.categoryIdentifier = "SESSION_RECAP";
    EXPECT_TRUE(host.notifications.respond(request, "SHARE_REPORT"));
    request.userInfo = {{"velmor.sessionID", "not a UUID"}};
    EXPECT_TRUE(host.notifications.respond(request, "SHARE_REPORT"));
    host.loop.runPosted();
    EXPECT_FALSE(hub->pendingReportSessionID.get());
}

TEST_F(NotificationPolicyTest, APlainClickDoesNothing)
{
    hub->notifications.sendPeakNotification(136);
    EXPECT_TRUE(host.notifications.respond(requests()[0], "default"));
    hub->notifications.sendThresholdNotification(DoseLevel::caution);
    EXPECT_THAT(requests(), SizeIs(2)); // no snooze
}

} // namespace
} // namespace velmor
