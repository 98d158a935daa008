// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/AppState.h>
#include <integrations/VelmorWidgetSnapshot.h>
#include <support/CapturedOutput.h>
#include <support/HubHost.h>
#include <support/SampleSessions.h>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace velmor {
namespace {

class AppStateWidgetTest : public testing::Test
{
protected:
    VelmorWidgetSnapshot snapshot() const { return VelmorWidgetSnapshot::load(host.widgetSuite); }

    /// How often widgets were told, since the last question.
    int reloads() { return std::exchange(host.widgetCenter.reloads, 0); }

    /// Whether the record was written since the last question.
    bool isWritten()
    {
        const bool isThere = host.widgetSuite.value("VelmorWidgetSnapshot.v1").has_value();
        host.widgetSuite.remove("VelmorWidgetSnapshot.v1");
        return isThere;
    }

    /// Past everything that the start has written.
    void settle()
    {
        host.loop.runPosted();
        isWritten();
        reloads();
    }

    test::QuietLines quietLines;
    test::HubHost host;
    std::unique_ptr<AppState> hub = std::make_unique<AppState>(host.host());
};

TEST_F(AppStateWidgetTest, TheStartWritesAndTells)
{
    EXPECT_TRUE(isWritten());
    EXPECT_EQ(reloads(), 1);
}

TEST_F(AppStateWidgetTest, WithAnEmptyHistoryTheWeekIsEmptyButForToday)
{
    hub->doseCalculator.dosePercentage = 12.5;
    hub->writeWidgetSnapshot(false);
    EXPECT_EQ(snapshot().streakDays, 0);
    EXPECT_EQ(snapshot().weeklyDoses, (std::vector<double>{0, 0, 0, 0, 0, 0, 12.5}));
    EXPECT_EQ(snapshot().weeklyOnTargetByDay, std::vector<std::optional<double>>(7));
    hub->doseCalculator.dosePercentage = 0;
    hub->writeWidgetSnapshot(false);
    EXPECT_EQ(snapshot().weeklyLEX, std::nullopt);
}

TEST_F(AppStateWidgetTest, TheRecordHasTheMomentAsItIs)
{
    hub->sessionManager.sessionHistory.update([](auto& history) {
        history = {test::sampleSession(test::moment("2026-03-01T10:00:00Z"), 1),
                   test::sampleSession(test::moment("2026-02-28T10:00:00Z"), 1)};
        for (Session& session : history) {
            session.doseAccumulated = 20;
            session.timeUnderSec = 25;
            session.timeOnTargetSec = 75;
            session.timeOverSec = 0;
        }
    });
    hub->startSession("Logic Pro");
    test::setLevels(*hub, 78.4, 82.1);
    hub->referenceTracker.tick(78.4);
    hub->referenceTracker.secondsOnTarget = 30;
    hub->doseCalculator.dosePercentage = 100;
    hub->writeWidgetSnapshot(false);

    VelmorWidgetSnapshot expected;
    expected.todayDosePercent = 100;
    expected.lastDBA = 78.4;
    expected.lastDBC = 82.1;
    expected.isMeasuring = true;
    expected.sessionActive = true;
    expected.dawName = "Logic Pro";
    expected.streakDays = 2;
    // Two days of 20 % and one of 100 %: 1.4 working days' worth over five.
    expected.weeklyLEX = snapshot().weeklyLEX;
    EXPECT_NEAR(snapshot().weeklyLEX.value(), 85 + 10 * std::log10(1.4 / 5), 0.01);
    expected.weeklyDoses = {0, 0, 0, 0, 20, 20, 100};
    expected.disciplineZone = DisciplineZone::onTarget;
    expected.onTargetPercent = 100;
    expected.weeklyOnTargetPercent = 75;
    expected.weeklyOnTargetByDay = {{}, {}, {}, {}, 75, 75, {}};
    expected.updatedAt = host.loop.now();
    EXPECT_EQ(snapshot(), expected);
}

TEST_F(AppStateWidgetTest, ANegativeDoseStandsInTheRecordButNotInTheWeek)
{
    hub->doseCalculator.dosePercentage = -2;
    hub->writeWidgetSnapshot(false);
    EXPECT_EQ(snapshot().todayDosePercent, -2);
    EXPECT_EQ(snapshot().weeklyDoses.back(), 0);
}

TEST_F(AppStateWidgetTest, WithTheBandDisabledThereIsNoZoneButStillAShare)
{
    hub->startSession("Logic Pro");
    hub->referenceTracker.secondsUnder = 45;
    hub->referenceTracker.secondsOnTarget = 15;
    ReferenceLevelSettings off;
    off.enabled = false;
    hub->referenceTracker.settings = off;
    hub->writeWidgetSnapshot(false);
    EXPECT_EQ(snapshot().disciplineZone, std::nullopt);
    EXPECT_EQ(snapshot().onTargetPercent, 25);
    EXPECT_FALSE(snapshot().monitoringEnabled);
}

TEST_F(AppStateWidgetTest, APausedOrStoppedMeasurementHasNoZoneAndKeepsItsLastLevels)
{
    hub->startSession("Logic Pro");
    test::setLevels(*hub, 78.4, 82.1);
    hub->pauseService.pause({}, host.loop.now());
    hub->writeWidgetSnapshot(false);
    EXPECT_TRUE(snapshot().paused);
    EXPECT_TRUE(snapshot().isMeasuring);
    EXPECT_EQ(snapshot().disciplineZone, std::nullopt);
    EXPECT_EQ(snapshot().lastDBA, 78.4);
    hub->pauseService.resume();
    hub->writeWidgetSnapshot(false);
    EXPECT_TRUE(snapshot().disciplineZone);
    hub->endSession();
    EXPECT_FALSE(snapshot().isMeasuring);
    EXPECT_FALSE(snapshot().sessionActive);
    EXPECT_EQ(snapshot().dawName, std::nullopt);
    EXPECT_EQ(snapshot().onTargetPercent, std::nullopt);
    EXPECT_EQ(snapshot().disciplineZone, std::nullopt);
}

TEST_F(AppStateWidgetTest, PresetsHaveTheirShortLabels)
{
    EXPECT_EQ(AppState::shortPresetLabel("mastering"), "Mastering");
    EXPECT_EQ(AppState::shortPresetLabel("k14"), "K-14");
    EXPECT_EQ(AppState::shortPresetLabel("k12"), "K-12");
    EXPECT_EQ(AppState::shortPresetLabel("k20"), "K-20");
    EXPECT_EQ(AppState::shortPresetLabel("custom"), "Custom");
    EXPECT_EQ(AppState::shortPresetLabel("K14"), "Custom");
    hub->referenceTracker.settings = ReferenceLevelSettings{true, 83, 2, "k12"};
    hub->writeWidgetSnapshot(false);
    EXPECT_EQ(snapshot().monitoringPreset, "K-12");
    EXPECT_EQ(snapshot().monitoringTarget, 83);
    EXPECT_EQ(snapshot().monitoringTolerance, 2);
}

TEST_F(AppStateWidgetTest, ASessionsStartAndEndTell)
{
    settle();
    hub->startSession("Logic Pro");
    EXPECT_TRUE(snapshot().sessionActive);
    EXPECT_TRUE(snapshot().isMeasuring);
    EXPECT_EQ(reloads(), 1);
    isWritten();
    hub->endSession();
    EXPECT_TRUE(isWritten());
    EXPECT_EQ(reloads(), 1);
}

TEST_F(AppStateWidgetTest, APauseTellsAtOnceAndNotAtTheNextTick)
{
    settle();
    hub->pauseService.pause(60, host.loop.now());
    host.loop.runPosted();
    EXPECT_TRUE(snapshot().paused);
    EXPECT_EQ(reloads(), 1);
    isWritten();
    hub->pauseService.resume();
    host.loop.runPosted();
    EXPECT_FALSE(snapshot().paused);
    EXPECT_TRUE(isWritten());
    EXPECT_EQ(reloads(), 1);
}

TEST_F(AppStateWidgetTest, OtherSettingsTellAndEqualOnesDoNot)
{
    settle();
    const ReferenceLevelSettings settings{true, 83, 3, "k12"};
    hub->referenceTracker.settings = settings;
    host.loop.runPosted();
    EXPECT_EQ(snapshot().monitoringTarget, 83);
    EXPECT_EQ(reloads(), 1);
    isWritten();
    hub->referenceTracker.settings = settings;
    host.loop.runPosted();
    EXPECT_FALSE(isWritten());
    EXPECT_EQ(reloads(), 0);
}

TEST_F(AppStateWidgetTest, ACrossedThresholdTellsAfterItsNotification)
{
    hub->startSession("Logic Pro");
    // 40 % of a day in half a minute: 85 dB plus 3 dB for each halving of eight hours.
    const double level = 85 + 10 * std::log10(0.4 * 28800 / 30) * 3 / (10 * std::log10(2));
    test::setLevels(*hub, level, level);
    settle();
    std::size_t notificationsBefore = 0;
    while (host.loop.now() < test::moment("2026-03-02T09:01:00Z") && host.widgetCenter.reloads == 0) {
        notificationsBefore = host.notifications.requests.size();
        host.loop.runFor(0.1);
    }
    EXPECT_EQ(host.widgetCenter.reloads, 1);
    EXPECT_GT(host.notifications.requests.size(), notificationsBefore);
    EXPECT_GE(snapshot().todayDosePercent, 40);
    EXPECT_LT(snapshot().todayDosePercent, 41);
}

TEST_F(AppStateWidgetTest, APauseThatRunsOutTells)
{
    hub->startSession("Logic Pro");
    hub->pauseService.pause(7.0, host.loop.now());
    settle();
    host.loop.runFor(6.9);
    EXPECT_EQ(reloads(), 0);
    host.loop.runFor(0.2);
    EXPECT_FALSE(snapshot().paused);
    EXPECT_EQ(reloads(), 1);
}

TEST_F(AppStateWidgetTest, TheEndOfTheProgramTells)
{
    hub->startSession("Logic Pro");
    settle();
    hub->endForGood();
    EXPECT_FALSE(snapshot().isMeasuring);
    EXPECT_EQ(reloads(), 1);
}

TEST_F(AppStateWidgetTest, MidnightTells)
{
    settle();
    host.loop.runUntil(test::moment("2026-03-03T00:00:00Z"));
    EXPECT_EQ(reloads(), 1);
    EXPECT_EQ(snapshot().updatedAt, test::moment("2026-03-03T00:00:00Z"));
}

TEST_F(AppStateWidgetTest, MeasuringWritesEveryFiveSecondsAndTellsEveryMinute)
{
    hub->startSession("Logic Pro");
    settle();
    host.loop.runFor(4.95);
    EXPECT_FALSE(isWritten());
    host.loop.runFor(0.1);
    EXPECT_EQ(hub->splTickCounter(), 50);
    EXPECT_TRUE(isWritten());
    EXPECT_EQ(reloads(), 0);
    host.loop.runFor(54.9);
    EXPECT_EQ(hub->splTickCounter(), 599);
    EXPECT_EQ(reloads(), 0);
    isWritten();
    host.loop.runFor(0.1);
    EXPECT_TRUE(isWritten());
    EXPECT_EQ(reloads(), 1);
}

TEST_F(AppStateWidgetTest, WhileNothingIsMeasuredNothingIsWritten)
{
    settle();
    host.loop.runFor(120);
    EXPECT_FALSE(isWritten());
    hub->startSession("Logic Pro");
    hub->pauseService.pause({}, host.loop.now());
    settle();
    host.loop.runFor(120);
    EXPECT_FALSE(isWritten());
}

TEST_F(AppStateWidgetTest, AProgramWithoutWidgetsWritesNothing)
{
    hub.reset();
    Host bare = host.host();
    bare.widgetSuite = nullptr;
    bare.widgetCenter = nullptr;
    settle();
    hub = std::make_unique<AppState>(bare);
    hub->startSession("Logic Pro");
    EXPECT_FALSE(isWritten());
    EXPECT_EQ(reloads(), 0);
}

} // namespace
} // namespace velmor
