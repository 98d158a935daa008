// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/SessionFormat.h>
#include <support/CapturedOutput.h>
#include <support/HubHost.h>
#include <support/SampleSessions.h>
#include <support/TemporaryFolder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>

namespace velmor {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class AppStateSessionsTest : public testing::Test
{
protected:
    test::QuietLines quietLines;

    void listen(AppState& hub, double seconds, double dBA)
    {
        test::setLevels(hub, dBA, dBA);
        host.loop.runFor(seconds);
    }

    static const Session& newest(const AppState& hub)
    {
        return hub.sessionManager.sessionHistory.get().at(0);
    }

    test::HubHost host;
};

TEST_F(AppStateSessionsTest, AStartOpensTheMicrophoneAndAnEndClosesIt)
{
    AppState hub(host.host());
    EXPECT_FALSE(hub.audioService.isRunning);
    hub.manualStartSession();
    EXPECT_TRUE(hub.audioService.isRunning);
    ASSERT_TRUE(hub.sessionManager.currentSession.get());
    EXPECT_EQ(hub.sessionManager.currentSession.get()->dawName, "Manual");
    listen(hub, 60, 85);
    hub.endSession();
    EXPECT_FALSE(hub.audioService.isRunning);
    EXPECT_FALSE(hub.sessionManager.currentSession.get());
    EXPECT_EQ(newest(hub).duration(host.loop.now()), 60);
}

TEST_F(AppStateSessionsTest, ASessionTakesItsFiguresFromTheTick)
{
    AppState hub(host.host());
    hub.startSession("REAPER");
    listen(hub, 600, 85);
    listen(hub, 600, 79);
    hub.endSession();
    const Session& session = newest(hub);
    EXPECT_NEAR(session.averageSPL, 10 * std::log10((std::pow(10, 8.5) + std::pow(10, 7.9)) / 2), 1e-6);
    EXPECT_EQ(session.peakSPL, 85);
    // Ten minutes at 85 dBA, but for the first tick: 600 s of 8 h.
    EXPECT_NEAR(session.doseAccumulated, 100 * 599.9 / 28800, 1e-6);
    EXPECT_NEAR(session.timeOverSec, 600, 1e-6);
    EXPECT_NEAR(session.timeOnTargetSec, 600, 1e-6);
    EXPECT_EQ(session.monitoringTarget, 79);
    EXPECT_NEAR(session.onTargetPercentage().value(), 50, 1e-6);
    EXPECT_THAT(session.readings, SizeIs(120));
    EXPECT_EQ(session.readings[0].zone, Zone::over);
    EXPECT_EQ(session.readings[119].zone, Zone::onTarget);
}

TEST_F(AppStateSessionsTest, ReadingsComeEveryTenSecondsAndGoOnDuringAPause)
{
    AppState hub(host.host());
    hub.manualStartSession();
    listen(hub, 25, 80);
    hub.pauseService.pause({}, host.loop.now());
    listen(hub, 30, 90);
    const auto& readings = hub.sessionManager.currentSession.get()->readings;
    ASSERT_THAT(readings, SizeIs(5));
    EXPECT_EQ(secondsBetween(readings[1].timestamp, readings[4].timestamp), 30);
    EXPECT_EQ(readings[4].dBA, 90);
    EXPECT_EQ(readings[4].zone, Zone::onTarget); // that of the last tick
    EXPECT_EQ(hub.sessionManager.currentSession.get()->peakSPL, 80);
}

TEST_F(AppStateSessionsTest, ReadingsDoNotComeWhileCaptureIsOff)
{
    AppState hub(host.host());
    hub.manualStartSession();
    hub.audioService.stop();
    host.loop.runFor(100);
    EXPECT_THAT(hub.sessionManager.currentSession.get()->readings, IsEmpty());
}

TEST_F(AppStateSessionsTest, APauseStopsDoseStatisticsAndSession)
{
    AppState hub(host.host());
    hub.manualStartSession();
    listen(hub, 60, 90);
    const double dose = hub.doseCalculator.accumulatedDose;
    const auto leq = hub.leqStatistics.leq1min.get();
    const auto ticks = hub.splTickCounter();
    const double over = hub.referenceTracker.secondsOver;
    EXPECT_TRUE(leq);
    hub.pauseService.pause(120.0, host.loop.now());
    listen(hub, 119, 100);
    EXPECT_EQ(hub.doseCalculator.accumulatedDose, dose);
    EXPECT_EQ(hub.leqStatistics.leq1min.get(), leq);
    EXPECT_EQ(hub.splTickCounter(), ticks);
    EXPECT_EQ(hub.referenceTracker.secondsOver, over);
    EXPECT_EQ(hub.audioService.currentSPL, 100); // the live level goes on
    EXPECT_TRUE(hub.pauseService.isPaused);
    listen(hub, 1.5, 90);
    EXPECT_FALSE(hub.pauseService.isPaused);
    EXPECT_GT(hub.splTickCounter(), ticks);
    hub.endSession();
    EXPECT_NEAR(newest(hub).duration(host.loop.now()), 180.5, 1e-6); // the pause belongs to it
}

TEST_F(AppStateSessionsTest, APauseIsAnnouncedAtOnceAndNotByATick)
{
    AppState hub(host.host());
    hub.manualStartSession();
    host.loop.runPosted();
    bool isPaused = false;
    const Subscription subscription =
        hub.pauseService.isPaused.subscribe([&](bool value) { isPaused = value; });
    int changes = 0;
    const Subscription observer = hub.onChange([&] { ++changes; });
    hub.pauseService.pause({}, host.loop.now());
    EXPECT_TRUE(isPaused);
    host.loop.runPosted();
    EXPECT_EQ(changes, 1);
}

TEST_F(AppStateSessionsTest, TheSessionGoesOnUnderAnotherNameAndItsCountsBeginAnew)
{
    AppState hub(host.host());
    hub.manualStartSession();
    listen(hub, 300, 85);
    const Uuid id = hub.sessionManager.currentSession.get()->id;
    hub.startSession("REAPER");
    EXPECT_EQ(hub.sessionManager.currentSession.get()->id, id);
    EXPECT_EQ(hub.sessionManager.currentSession.get()->dawName, "REAPER");
    EXPECT_EQ(hub.referenceTracker.activeMonitoringTime(), 0);
    listen(hub, 300, 85);
    hub.endSession();
    ASSERT_THAT(hub.sessionManager.sessionHistory.get(), SizeIs(1));
    // Dose and zones count from the second start, the rest from the first.
    EXPECT_NEAR(newest(hub).doseAccumulated, 100 * 300.0 / 28800, 0.001);
    EXPECT_NEAR(newest(hub).timeOverSec, 300, 1e-6);
    EXPECT_THAT(newest(hub).readings, SizeIs(60));
    EXPECT_EQ(newest(hub).duration(host.loop.now()), 600);
}

TEST_F(AppStateSessionsTest, WithAutoStartOffWorkstationsNeitherStartNorEndASession)
{
    AppState hub(host.host());
    hub.settings.autoStartSessions = false;
    host.workspace.launch("com.cockos.reaper");
    EXPECT_FALSE(hub.sessionManager.currentSession.get());
    hub.manualStartSession();
    host.workspace.launch("com.cockos.reaper");
    EXPECT_EQ(hub.sessionManager.currentSession.get()->dawName, "Manual");
    host.workspace.terminate("com.cockos.reaper");
    EXPECT_TRUE(hub.sessionManager.currentSession.get());
}

TEST_F(AppStateSessionsTest, WithAutoStartOnTheyDo)
{
    AppState hub(host.host());
    host.workspace.launch("com.cockos.reaper");
    EXPECT_EQ(hub.sessionManager.currentSession.get()->dawName, "REAPER");
    host.workspace.terminate("com.cockos.reaper");
    EXPECT_FALSE(hub.sessionManager.currentSession.get());
    EXPECT_THAT(hub.sessionManager.sessionHistory.get(), SizeIs(1));
}

TEST_F(AppStateSessionsTest, AWorkstationThatRunsAtTheStartBeginsASession)
{
    host.workspace.running = {{"com.bitwig.studio", "Bitwig"}};
    AppState hub(host.host());
    ASSERT_TRUE(hub.sessionManager.currentSession.get());
    EXPECT_EQ(hub.sessionManager.currentSession.get()->dawName, "Bitwig Studio");
    EXPECT_TRUE(hub.audioService.isRunning);
}

TEST_F(AppStateSessionsTest, AWorkstationThatRunsAtTheStartBeginsNoneWithAutoStartOff)
{
    host.defaults.set("autoStartSessions", false);
    host.workspace.running = {{"com.bitwig.studio", "Bitwig"}};
    AppState hub(host.host());
    EXPECT_FALSE(hub.sessionManager.currentSession.get());
}

TEST_F(AppStateSessionsTest, ASessionWithoutInputIsMeasuredOnceThereIsOne)
{
    host.audio.authorization = CaptureAuthorization::denied;
    AppState hub(host.host());
    hub.manualStartSession();
    EXPECT_FALSE(hub.audioService.isRunning);
    host.audio.authorization = CaptureAuthorization::authorized;
    host.audio.changed();
    host.loop.runPosted();
    EXPECT_TRUE(hub.audioService.isRunning);
    hub.endSession();
    host.audio.changed();
    host.loop.runPosted();
    EXPECT_FALSE(hub.audioService.isRunning);
}

TEST_F(AppStateSessionsTest, ADeviceThatFailsWhenItHasJustComeIsTriedOnceMoreALittleLater)
{
    AppState hub(host.host());
    hub.manualStartSession();
    hub.audioService.stop();
    host.audio.prepareEngine = [](test::FakeEngine& engine) { engine.startErrors = {"not yet"}; };
    host.audio.changed();
    host.loop.runPosted();
    EXPECT_FALSE(hub.audioService.isRunning);
    host.audio.prepareEngine = nullptr;
    host.loop.runFor(3);
    EXPECT_TRUE(hub.audioService.isRunning);
    // That was the last try until something changes.
    hub.audioService.stop();
    host.loop.runFor(60);
    EXPECT_FALSE(hub.audioService.isRunning);
}

TEST_F(AppStateSessionsTest, ADeviceThatComesBackAfterItsSessionHasEndedStartsNothing)
{
    AppState hub(host.host());
    hub.settings.selectedDeviceUID = "mic";
    hub.manualStartSession();
    const auto devices = host.audio.inputs;
    host.audio.unplug("mic");
    host.audio.engine().changeConfiguration();
    host.loop.runFor(1);
    EXPECT_FALSE(hub.sessionManager.currentSession.get());
    host.audio.inputs = devices;
    host.audio.changed();
    host.loop.runFor(1);
    EXPECT_FALSE(hub.audioService.isRunning);
}

TEST_F(AppStateSessionsTest, AnEndResetsTheStatisticsAndSendsARecap)
{
    AppState hub(host.host());
    hub.doseCalculator.overrideDose(20);
    host.loop.runPosted();
    hub.manualStartSession();
    listen(hub, 1800, 85);
    EXPECT_TRUE(hub.leqStatistics.leq30min.get());
    host.notifications.requests.clear();
    hub.endSession();
    EXPECT_FALSE(hub.leqStatistics.leq1min.get());
    ASSERT_THAT(host.notifications.requests, SizeIs(1));
    EXPECT_EQ(host.notifications.requests[0].body,
              "This session used 6.2% of your daily dose. Running total: 26.2% - 73.8% remaining today.");
    EXPECT_EQ(host.notifications.requests[0].userInfo.at("velmor.sessionID"), uuidText(newest(hub).id));
}

TEST_F(AppStateSessionsTest, AnEndWithoutASessionSendsTheRecapAllTheSame)
{
    AppState hub(host.host());
    hub.doseCalculator.markSessionStart();
    hub.doseCalculator.accumulatedDose = 0.01;
    hub.endSession();
    EXPECT_THAT(host.notifications.requests, SizeIs(1));
    EXPECT_THAT(host.notifications.requests[0].userInfo, IsEmpty());
    EXPECT_THAT(hub.sessionManager.sessionHistory.get(), IsEmpty());
}

TEST_F(AppStateSessionsTest, AnEndedSessionOf5HundredthsOfAPercentSendsNoRecap)
{
    AppState hub(host.host());
    hub.manualStartSession();
    listen(hub, 14, 85);
    hub.endSession();
    EXPECT_LT(newest(hub).doseAccumulated, 0.05);
    EXPECT_THAT(host.notifications.requests, IsEmpty());
}

TEST_F(AppStateSessionsTest, ALostMicrophoneEndsTheSessionAndSaysSo)
{
    host.defaults.set("selectedDeviceUID", std::string("mic"));
    AppState hub(host.host());
    hub.manualStartSession();
    listen(hub, 60, 60);
    host.audio.unplug("mic");
    host.audio.engine().changeConfiguration();
    host.loop.runFor(1);
    EXPECT_FALSE(hub.sessionManager.currentSession.get());
    EXPECT_FALSE(hub.audioService.isRunning);
    EXPECT_THAT(hub.sessionManager.sessionHistory.get(), SizeIs(1));
    EXPECT_THAT(host.notifications.identifiers(), ElementsAre("device-disconnected"));
}

TEST_F(AppStateSessionsTest, DeletingASessionOfTodayLeavesWhatTheOthersSumTo)
{
    AppState hub(host.host());
    for (const char* name : {"first", "second"}) {
        hub.startSession(name);
        listen(hub, 1800, 88);
        hub.endSession();
    }
    hub.doseCalculator.accumulatedDose = 0.5; // the live dose is higher than the sum of both
    host.notifications.requests.clear();
    const double rest = hub.sessionManager.sessionHistory.get()[1].doseAccumulated;
    hub.deleteSession(hub.sessionManager.sessionHistory.get().front());
    host.loop.runPosted();
    EXPECT_THAT(hub.sessionManager.sessionHistory.get(), SizeIs(1));
    EXPECT_NEAR(hub.doseCalculator.dosePercentage, rest, 1e-9);
    EXPECT_THAT(host.notifications.requests, IsEmpty()); // a band that changes so is not announced
    listen(hub, 1, 85);
    EXPECT_THAT(host.notifications.requests, IsEmpty());
}

TEST_F(AppStateSessionsTest, DeletingAnOlderSessionLeavesTheDoseAlone)
{
    AppState hub(host.host());
    hub.sessionManager.sessionHistory = std::vector{test::sampleSession(host.loop.now() - 48h, 3)};
    hub.doseCalculator.accumulatedDose = 0.5;
    const Session session = newest(hub);
    hub.deleteSession(session);
    EXPECT_THAT(hub.sessionManager.sessionHistory.get(), IsEmpty());
    EXPECT_EQ(hub.doseCalculator.accumulatedDose, 0.5);
}

TEST_F(AppStateSessionsTest, DuplicatesOfADeletedSessionGoAndNoOthersDo)
{
    AppState hub(host.host());
    const Session a = test::sampleSession(host.loop.now() - 48h, 3, 1);
    const Session b = test::sampleSession(host.loop.now() - 72h, 3, 2);
    hub.sessionManager.sessionHistory = std::vector{a, b, a, b};
    hub.deleteSession(hub.sessionManager.sessionHistory.get().front());
    EXPECT_THAT(hub.sessionManager.sessionHistory.get(), ElementsAre(b, b));
}

TEST_F(AppStateSessionsTest, ResettingTheDoseRemovesTodaysSessionsAndKeepsTheRunningOne)
{
    const test::TemporaryFolder folder;
    host.storage = SessionStorage::inFolder(folder.path());
    AppState hub(host.host());
    hub.startSession("finished");
    listen(hub, 600, 90);
    hub.endSession();
    const Session old = test::sampleSession(test::moment("2026-02-28T08:00:00Z"), 3);
    hub.sessionManager.sessionHistory.update([&](auto& history) { history.push_back(old); });
    hub.startSession("running");
    listen(hub, 600, 90);
    hub.resetDose();
    host.loop.runPosted();
    EXPECT_THAT(hub.sessionManager.sessionHistory.get(), ElementsAre(old));
    EXPECT_THAT(decodedHistory(test::contentOf(folder / "sessions.json")), SizeIs(1));
    EXPECT_EQ(hub.doseCalculator.accumulatedDose, 0);
    EXPECT_EQ(hub.doseCalculator.sessionDose(), 0);
    EXPECT_TRUE(hub.sessionManager.currentSession.get());
    listen(hub, 600, 85);
    hub.endSession();
    EXPECT_NEAR(newest(hub).doseAccumulated, 100 * 599.9 / 28800, 0.001);
}

TEST_F(AppStateSessionsTest, AtTheStartTheDoseIsRaisedToWhatTodaysSessionsSumTo)
{
    const test::TemporaryFolder folder;
    host.storage = SessionStorage::inFolder(folder.path());
    Session today = test::sampleSession(test::moment("2026-03-02T08:00:00Z"), 3, 1);
    today.doseAccumulated = 30;
    Session earlier = test::sampleSession(test::moment("2026-03-02T07:00:00Z"), 3, 2);
    earlier.doseAccumulated = 12;
    Session yesterday = test::sampleSession(test::moment("2026-03-01T07:00:00Z"), 3, 3);
    Session unfinished = test::sampleSession(test::moment("2026-03-02T06:00:00Z"), 3, 4);
    unfinished.endDate.reset();
    test::writeFile(folder / "sessions.json",
                    encodedHistory(std::vector{today, earlier, yesterday, unfinished}).value());
    {
        AppState hub(host.host());
        host.loop.runPosted();
        EXPECT_NEAR(hub.doseCalculator.dosePercentage, 42, 1e-9);
    }
    host.defaults.set("DoseCalculator.accumulatedDose", 0.6);
    host.defaults.set("DoseCalculator.doseDate", host.loop.now());
    AppState hub(host.host());
    host.loop.runPosted();
    EXPECT_NEAR(hub.doseCalculator.dosePercentage, 60, 1e-9); // it is never lowered
}

TEST_F(AppStateSessionsTest, ASessionThatNeverEndedIsThereAfterARestartAndInTheDose)
{
    const test::TemporaryFolder folder;
    host.storage = SessionStorage::inFolder(folder.path());
    {
        AppState hub(host.host());
        hub.startSession("REAPER");
        listen(hub, 605, 90);
    }
    AppState hub(host.host());
    ASSERT_THAT(hub.sessionManager.sessionHistory.get(), SizeIs(1));
    EXPECT_THAT(newest(hub).readings, SizeIs(60));
    EXPECT_EQ(newest(hub).duration(host.loop.now()), 600);
    EXPECT_NEAR(newest(hub).timeOverSec, 600, 0.101); // the tick of that moment may come after the reading
    host.loop.runPosted();
    EXPECT_GE(hub.doseCalculator.dosePercentage, newest(hub).doseAccumulated);
}

TEST_F(AppStateSessionsTest, AReportIsAskedForByItsSession)
{
    AppState hub(host.host());
    const Session session = test::sampleSession(host.loop.now(), 1);
    hub.requestOpenReport(session);
    EXPECT_EQ(hub.pendingReportSessionID.get(), session.id);
}

TEST_F(AppStateSessionsTest, TheFocusStateIsGivenOutOnce)
{
    AppState hub(host.host());
    EXPECT_FALSE(hub.consumeFocusPreEnableSessionState());
    hub.captureFocusPreEnableSessionState(true);
    const auto state = hub.consumeFocusPreEnableSessionState();
    ASSERT_TRUE(state);
    EXPECT_TRUE(state->wasActive);
    EXPECT_FALSE(hub.consumeFocusPreEnableSessionState());
    hub.captureFocusPreEnableSessionState(true);
    hub.captureFocusPreEnableSessionState(false);
    EXPECT_FALSE(hub.consumeFocusPreEnableSessionState()->wasActive);
}

TEST_F(AppStateSessionsTest, TheDaysDisciplineIsThatOfItsSessionsAndTheTracker)
{
    AppState hub(host.host());
    Session session = test::sampleSession(test::moment("2026-03-02T08:00:00Z"), 1);
    session.timeUnderSec = 10;
    session.timeOnTargetSec = 20;
    session.timeOverSec = 30;
    Session yesterday = session;
    yesterday.startDate -= 24h;
    hub.sessionManager.sessionHistory = std::vector{session, yesterday};
    hub.manualStartSession();
    listen(hub, 40, 79);
    const auto day = hub.todaysMonitoringDiscipline();
    EXPECT_NEAR(day.secondsOnTarget, 60, 1e-6);
    EXPECT_NEAR(day.activeSec(), 100, 1e-6);
    EXPECT_TRUE(day.hasSingleTarget());
}

TEST_F(AppStateSessionsTest, ChangesOfTheServicesAreAnnouncedOnceATurn)
{
    AppState hub(host.host());
    host.loop.runPosted();
    int changes = 0;
    const Subscription subscription = hub.onChange([&] { ++changes; });
    hub.manualStartSession();
    EXPECT_EQ(changes, 0);
    host.loop.runPosted();
    EXPECT_EQ(changes, 1);
    host.loop.runFor(0.1);
    EXPECT_GE(changes, 2);
    EXPECT_LE(changes, 3); // the dose publishes with a turn of its own
    const int before = changes;
    hub.settings.menuBarShowDecimal = true;
    host.loop.runPosted();
    EXPECT_EQ(changes, before + 1);
    hub.simulatedDoseLevel = DoseLevel::danger; // the hub's own
    EXPECT_EQ(changes, before + 2);
}

} // namespace
} // namespace velmor
