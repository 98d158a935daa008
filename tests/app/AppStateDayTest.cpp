// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/SessionFormat.h>
#include <support/CapturedOutput.h>
#include <support/HubHost.h>
#include <support/SampleSessions.h>
#include <support/TemporaryFolder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace velmor {
namespace {

using namespace std::chrono_literals;
using testing::SizeIs;

class AppStateDayTest : public testing::Test
{
protected:
    test::QuietLines quietLines;
};

void listen(test::HubHost& host, AppState& hub, double seconds, double dBA)
{
    test::setLevels(hub, dBA, dBA);
    host.loop.runFor(seconds);
}

/// A night: where, from when on, and when its midnight is.
struct Night
{
    const char* zone;
    const char* before;
    const char* midnight;
    const char* next; ///< The midnight after.
};

void PrintTo(const Night& night, std::ostream* stream)
{
    *stream << night.zone << " " << night.before;
}

class Nights : public AppStateDayTest, public testing::WithParamInterface<Night>
{};

TEST_P(Nights, TheDayBeginsAnewAtLocalMidnightAndTheNextOneToo)
{
    const Night& night = GetParam();
    test::HubHost host(night.before, night.zone);
    AppState hub(host.host());
    hub.manualStartSession();
    test::setLevels(hub, 90, 90, 136, 116);
    const Date midnight = test::moment(night.midnight);
    host.loop.runBefore(midnight);
    EXPECT_GT(hub.doseCalculator.accumulatedDose, 0);
    EXPECT_GT(hub.doseCalculator.peakCount135, 0);
    EXPECT_TRUE(hub.leqStatistics.leq1min.get());
    host.loop.runUntil(midnight);
    EXPECT_EQ(hub.doseCalculator.accumulatedDose, 0);
    EXPECT_EQ(hub.doseCalculator.peakCount135, 0);
    EXPECT_FALSE(hub.leqStatistics.leq1min.get());
    EXPECT_TRUE(hub.sessionManager.currentSession.get()); // the session goes on
    host.loop.runFor(60);
    EXPECT_GT(hub.doseCalculator.accumulatedDose, 0);
    hub.endSession();
    hub.doseCalculator.accumulatedDose = 0.25;
    host.loop.runBefore(test::moment(night.next));
    EXPECT_EQ(hub.doseCalculator.accumulatedDose, 0.25);
    host.loop.runUntil(test::moment(night.next));
    EXPECT_EQ(hub.doseCalculator.accumulatedDose, 0);
}

INSTANTIATE_TEST_SUITE_P(
    AllOverTheWorld, Nights,
    testing::Values(
        Night{"UTC", "2026-03-01T23:58:00Z", "2026-03-02T00:00:00Z", "2026-03-03T00:00:00Z"},
        // The last night before and the first after the clocks change, both ways.
        Night{"Europe/Berlin", "2026-03-28T22:58:00Z", "2026-03-28T23:00:00Z", "2026-03-29T22:00:00Z"},
        Night{"Europe/Berlin", "2026-10-24T21:58:00Z", "2026-10-24T22:00:00Z", "2026-10-25T23:00:00Z"},
        Night{"America/New_York", "2026-03-08T04:58:00Z", "2026-03-08T05:00:00Z", "2026-03-09T04:00:00Z"},
        Night{"America/New_York", "2026-11-01T03:58:00Z", "2026-11-01T04:00:00Z", "2026-11-02T05:00:00Z"},
        Night{"Asia/Kolkata", "2026-01-14T18:28:00Z", "2026-01-14T18:30:00Z", "2026-01-15T18:30:00Z"},
        // Midnight is skipped, comes twice, is skipped with all of a day.
        Night{"Africa/Cairo", "2026-04-23T21:58:00Z", "2026-04-23T22:00:00Z", "2026-04-24T21:00:00Z"},
        Night{"America/Havana", "2025-11-02T03:58:00Z", "2025-11-02T04:00:00Z", "2025-11-03T05:00:00Z"},
        Night{"Pacific/Apia", "2011-12-30T09:58:00Z", "2011-12-30T10:00:00Z", "2011-12-31T10:00:00Z"}));

TEST_F(AppStateDayTest, ASessionOverMidnightCountsItsLaterDoseIntoTheNewDay)
{
    test::HubHost host("2026-03-01T23:30:00Z");
    AppState hub(host.host());
    hub.manualStartSession();
    listen(host, hub, 3600, 85);
    hub.endSession();
    const Session& session = hub.sessionManager.sessionHistory.get().at(0);
    EXPECT_EQ(session.duration(host.loop.now()), 3600);
    EXPECT_NEAR(session.doseAccumulated, 100 * 1800.0 / 28800, 0.001);
    EXPECT_EQ(hub.sessionManager.todaysSessions().size(), 0U); // it started yesterday
    EXPECT_NEAR(session.timeOverSec, 3600, 1e-6);
}

TEST_F(AppStateDayTest, MidnightLoadsTheHistoryAnew)
{
    const test::TemporaryFolder folder;
    test::HubHost host("2026-03-01T23:59:00Z");
    host.storage = SessionStorage::inFolder(folder.path());
    AppState hub(host.host());
    test::writeFile(
        folder / "sessions.json",
        encodedHistory(std::vector{test::sampleSession(test::moment("2026-02-15T00:30:00Z"), 100)}).value());
    host.loop.runFor(120);
    ASSERT_THAT(hub.sessionManager.sessionHistory.get(), SizeIs(1));
    EXPECT_THAT(hub.sessionManager.sessionHistory.get()[0].readings, SizeIs(10)); // and thins it
}

TEST_F(AppStateDayTest, AClockThatIsSetBackHasItsOwnMidnights)
{
    test::HubHost host("2030-01-01T10:00:00Z"); // the clock of a computer without a battery
    AppState hub(host.host());
    host.loop.runFor(60);
    host.loop.setClock(test::moment("2026-03-02T10:00:00Z"));
    hub.doseCalculator.accumulatedDose = 0.5;
    host.loop.runUntil(test::moment("2026-03-02T23:59:59Z"));
    EXPECT_EQ(hub.doseCalculator.accumulatedDose, 0.5);
    host.loop.runUntil(test::moment("2026-03-03T00:00:00Z"));
    EXPECT_EQ(hub.doseCalculator.accumulatedDose, 0);
}

TEST_F(AppStateDayTest, ASleepOverMidnightBeginsTheDayOnWaking)
{
    test::HubHost host("2026-03-02T20:00:00Z");
    AppState hub(host.host());
    hub.doseCalculator.accumulatedDose = 0.5;
    host.loop.setClock(test::moment("2026-03-03T08:00:00Z"));
    host.loop.runFor(0.1);
    EXPECT_EQ(hub.doseCalculator.accumulatedDose, 0);
}

TEST_F(AppStateDayTest, ASleepIsNotMeasured)
{
    test::HubHost host;
    AppState hub(host.host());
    hub.manualStartSession();
    listen(host, hub, 100, 91);
    const double dose = hub.doseCalculator.accumulatedDose;
    host.loop.setClock(host.loop.now() + 2h);
    listen(host, hub, 0.1, 91);
    EXPECT_EQ(hub.doseCalculator.accumulatedDose, dose);
    listen(host, hub, 1, 91);
    EXPECT_NEAR(hub.doseCalculator.accumulatedDose - dose, 1.0 / 7200, 2e-5);
}

TEST_F(AppStateDayTest, ASleepDoesNotClearAStretchOfExposure)
{
    test::HubHost host;
    AppState hub(host.host());
    hub.manualStartSession();
    listen(host, hub, 100, 91);
    host.loop.setClock(host.loop.now() + 2h);
    listen(host, hub, 0.2, 91);
    EXPECT_EQ(host.notifications.requests.at(0).identifier, "sustained-spl");
}

TEST_F(AppStateDayTest, TheFirstAlertEvaluationIsOnACounterDivisibleByTen)
{
    test::HubHost host;
    AppState hub(host.host());
    MonitoringAlertSettings settings;
    settings.offTargetWindowSec = 0.001; // every evaluation of a session that has begun before fires
    hub.alertDetector.settings = settings;
    std::vector<std::int64_t> ticks;
    hub.alertDetector.onOffTargetAlert = [&](const OffTargetAlertContext&) {
        ticks.push_back(hub.splTickCounter());
    };
    for (int session = 0; session < 3; ++session) {
        hub.manualStartSession();
        listen(host, hub, 1.3, 95); // 13 ticks
        hub.endSession();
    }
    EXPECT_THAT(ticks, testing::ElementsAre(10, 20, 30));
}

TEST_F(AppStateDayTest, WithCaptureOffATickChangesNothing)
{
    test::HubHost host;
    AppState hub(host.host());
    const auto stored = host.defaults.values();
    hub.audioService.currentSPL = 100; // as if it were left over
    host.loop.runFor(100);
    EXPECT_EQ(hub.splTickCounter(), 0);
    EXPECT_EQ(host.defaults.values(), stored);
    hub.manualStartSession();
    listen(host, hub, 5, 80);
    hub.endSession();
    EXPECT_EQ(hub.splTickCounter(), 50);
    host.loop.runFor(100);
    EXPECT_EQ(hub.splTickCounter(), 50);
}

TEST(AppStateDay, InAnotherTimeZoneTheDayEndsAtItsMidnight)
{
    test::QuietLines quietLines;
    test::HubHost host("2026-03-02T20:00:00Z", "Europe/Berlin");
    AppState hub(host.host());
    hub.doseCalculator.overrideDose(30);
    host.calendar = Calendar::inZone("America/New_York").value();
    hub.timeZoneChanged();
    host.loop.runUntil(dateFromIsoText("2026-03-03T04:59:59Z").value());
    EXPECT_NEAR(hub.doseCalculator.dosePercentage, 30, 1e-9);
    host.loop.runUntil(dateFromIsoText("2026-03-03T05:00:00Z").value());
    EXPECT_EQ(hub.doseCalculator.dosePercentage, 0);
}

} // namespace
} // namespace velmor
