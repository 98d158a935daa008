// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/VelmorIntents.h>
#include <support/CapturedOutput.h>
#include <support/HubHost.h>
#include <support/SampleSessions.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

namespace velmor {
namespace {

using Case = VelmorIntentError::Case;

class VelmorIntentsTest : public testing::Test
{
protected:
    VelmorIntentsTest() { support.registerAppState(*hub); }

    /// Which error an intent ends with; absent where it doesn't.
    template <typename Intent>
    std::optional<Case> errorOf(const Intent& intent) const
    {
        try {
            intent.perform(support);
        } catch (const VelmorIntentError& error) {
            return error.which();
        }
        return std::nullopt;
    }

    const std::optional<Session>& session() const { return hub->sessionManager.currentSession.get(); }

    test::QuietLines quietLines;
    test::HubHost host;
    std::unique_ptr<AppState> hub = std::make_unique<AppState>(host.host());
    VelmorIntentSupport support;
};

TEST_F(VelmorIntentsTest, WithoutAHubEveryIntentSaysThatItIsNotReady)
{
    hub.reset();
    EXPECT_EQ(errorOf(GetCurrentSPLIntent()), Case::appNotReady);
    EXPECT_EQ(errorOf(GetTodaysDoseIntent()), Case::appNotReady);
    EXPECT_EQ(errorOf(GetMonitoringStatsIntent()), Case::appNotReady);
    EXPECT_EQ(errorOf(StartMixingSessionIntent()), Case::appNotReady);
    EXPECT_EQ(errorOf(EndMixingSessionIntent()), Case::appNotReady);
    PauseMonitoringIntent tooLong;
    tooLong.durationMinutes = 5000;
    EXPECT_EQ(errorOf(tooLong), Case::appNotReady);
    EXPECT_EQ(errorOf(ResumeMonitoringIntent()), Case::appNotReady);
}

TEST_F(VelmorIntentsTest, TheLevelIsReadOnlyWhileMeasuring)
{
    EXPECT_EQ(errorOf(GetCurrentSPLIntent()), Case::monitoringUnavailable);
    hub->audioService.start();
    test::setLevels(*hub, 78.4, 82.1, 0, 91.0);
    const auto result = GetCurrentSPLIntent().perform(support);
    EXPECT_EQ(result.value.dba, 78.4);
    EXPECT_EQ(result.value.dbc, 82.1);
    EXPECT_EQ(result.value.peakDBA, 91.0);
    EXPECT_EQ(result.dialog, "78.4 dBA, 82.1 dBC, peak 91.0 dBA");
}

TEST_F(VelmorIntentsTest, TheDoseIsReadAlsoWithoutMeasurement)
{
    hub->doseCalculator.overrideDose(75.04);
    host.loop.runPosted();
    const auto result = GetTodaysDoseIntent().perform(support);
    EXPECT_DOUBLE_EQ(result.value.dosePercent, 75.04);
    EXPECT_EQ(result.value.doseLevel, "warning");
    EXPECT_EQ(result.dialog, "75.0% (warning), 25.0% remaining today");
}

TEST_F(VelmorIntentsTest, WhatRemainsComesFromTheDoseAsItIsRead)
{
    hub->doseCalculator.dosePercentage = -3;
    const auto negative = GetTodaysDoseIntent().perform(support).value;
    EXPECT_EQ(negative.dosePercent, 0);
    EXPECT_EQ(negative.remainingPercent, 103);
    hub->doseCalculator.dosePercentage = 250;
    EXPECT_EQ(GetTodaysDoseIntent().perform(support).value.remainingPercent, 0);
}

TEST_F(VelmorIntentsTest, TheStatsLookAtTheDaysBeforeToday)
{
    hub->sessionManager.sessionHistory.update([](auto& history) {
        history = {test::sampleSession(test::moment("2026-03-01T10:00:00Z"), 1),
                   test::sampleSession(test::moment("2026-02-28T10:00:00Z"), 1)};
        history[0].doseAccumulated = 20;
        history[1].doseAccumulated = 70;
    });
    hub->doseCalculator.dosePercentage = -1;
    const auto result = GetMonitoringStatsIntent().perform(support);
    EXPECT_EQ(result.value.streakDays, 1);
    EXPECT_EQ(result.value.todayDosePercent, -1);
    EXPECT_DOUBLE_EQ(result.value.weeklyAvgDosePercent, 90.0 / 7);
    EXPECT_EQ(result.value.weeklySessionCount, 2);
    EXPECT_EQ(result.value.weeklyWarningDayCount, 1);
    EXPECT_EQ(result.dialog, "Streak: 1 day, Today -1.0%, weekly avg 12.9%");
}

TEST_F(VelmorIntentsTest, AStartNamesItsSession)
{
    StartMixingSessionIntent intent;
    intent.daw = " Logic Pro ";
    EXPECT_EQ(intent.perform(support), "Started Velmor session for Logic Pro.");
    EXPECT_EQ(session()->dawName, "Logic Pro");
    EXPECT_EQ(errorOf(intent), Case::sessionAlreadyActive);
}

TEST_F(VelmorIntentsTest, AStartWithABlankNameIsManual)
{
    StartMixingSessionIntent intent;
    intent.daw = "  \n";
    EXPECT_EQ(intent.perform(support), "Started Velmor session for Manual.");
    EXPECT_EQ(session()->dawName, "Manual");
}

TEST_F(VelmorIntentsTest, AnEndGivesTheFiguresOfTheMomentBefore)
{
    EXPECT_EQ(errorOf(EndMixingSessionIntent()), Case::sessionNotActive);
    hub->startSession(" Logic ");
    test::setLevels(*hub, 80, 90, 120, 95);
    host.loop.runFor(125.95);
    const auto result = EndMixingSessionIntent().perform(support);
    EXPECT_FALSE(session());
    EXPECT_EQ(result.value.daw, " Logic ");
    EXPECT_EQ(result.value.elapsedSeconds, 125);
    EXPECT_EQ(result.value.peakDBA, 80);
    EXPECT_EQ(result.value.peakDBC, 120);
    EXPECT_EQ(result.value.finalDosePercent, 0); // It is worked out at the end.
    EXPECT_EQ(result.dialog, "Session ended ( Logic ), 0.0% dose over 2 min");
}

TEST_F(VelmorIntentsTest, APauseOfADayIsTheLongest)
{
    PauseMonitoringIntent intent;
    intent.durationMinutes = 1440;
    const auto result = intent.perform(support);
    EXPECT_EQ(secondsBetween(host.loop.now(), hub->pauseService.pauseUntil.get().value()), 86400.0);
    EXPECT_TRUE(result.value.paused);
    EXPECT_EQ(result.value.resumeInSeconds, 86400);
    EXPECT_EQ(result.dialog, "Paused for 1440 min");
}

TEST_F(VelmorIntentsTest, ALongerPauseIsRefusedAndChangesNothing)
{
    PauseMonitoringIntent intent;
    intent.durationMinutes = 1441;
    try {
        intent.perform(support);
        ADD_FAILURE() << "not refused";
    } catch (const VelmorIntentError& error) {
        EXPECT_STREQ(error.what(), "Pause duration must be at most 1440 minutes (24 hours).");
    }
    EXPECT_FALSE(hub->pauseService.isPaused);
    intent.durationMinutes = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(errorOf(intent), Case::invalidArgument);
}

TEST_F(VelmorIntentsTest, NoMinutesAndLessAreAPauseWithoutEnd)
{
    for (const std::int64_t minutes :
         {std::int64_t(0), std::int64_t(-1), std::numeric_limits<std::int64_t>::min()}) {
        hub->pauseService.resume();
        PauseMonitoringIntent intent;
        intent.durationMinutes = minutes;
        const auto result = intent.perform(support);
        EXPECT_TRUE(hub->pauseService.isPaused);
        EXPECT_FALSE(hub->pauseService.pauseUntil.get());
        EXPECT_EQ(result.value.resumeInSeconds, std::nullopt);
        EXPECT_EQ(result.dialog, "Paused (indefinite)");
    }
}

TEST_F(VelmorIntentsTest, AResumeAnswersAlikeWhenNothingIsPaused)
{
    hub->pauseService.pause(60, host.loop.now());
    for (int i = 0; i < 2; ++i) {
        const auto result = ResumeMonitoringIntent().perform(support);
        EXPECT_FALSE(hub->pauseService.isPaused);
        EXPECT_FALSE(result.value.paused);
        EXPECT_EQ(result.value.resumeInSeconds, std::nullopt);
        EXPECT_EQ(result.dialog, "Resumed Velmor monitoring.");
    }
}

TEST_F(VelmorIntentsTest, ShortcutsHaveTheirPhrasesInOrder)
{
    std::string all;
    for (const VelmorAppShortcut& shortcut : velmorAppShortcuts) {
        all += std::string(shortcut.intent) + "|" + shortcut.phrase(0) + "|" + shortcut.phrase(1) + "|" +
               std::string(shortcut.shortTitle) + "|" + std::string(shortcut.symbol) + "\n";
    }
    EXPECT_EQ(
        all,
        "GetCurrentSPL|What's the SPL in Velmor|Get the SPL from Velmor|Get Current SPL|waveform\n"
        "GetTodaysDose|What's my dose in Velmor|Get today's dose from Velmor|Get Today's "
        "Dose|ear.badge.checkmark\n"
        "GetMonitoringStats|Get my monitoring stats in Velmor|Show my streak in Velmor|Get Monitoring Stats|"
        "chart.bar\n"
        "StartMixingSession|Start a mixing session in Velmor|Start session in Velmor|Start Mixing Session|"
        "play.circle\n"
        "EndMixingSession|End my mixing session in Velmor|End session in Velmor|End Mixing "
        "Session|stop.circle\n"
        "PauseMonitoring|Pause Velmor|Pause monitoring in Velmor|Pause Monitoring|pause.circle\n"
        "ResumeMonitoring|Resume Velmor|Resume monitoring in Velmor|Resume Monitoring|play.circle.fill\n");
}

TEST_F(VelmorIntentsTest, AnIntentIsPerformedByItsName)
{
    EXPECT_EQ(performIntent("StartMixingSession", support), "Started Velmor session for Manual.");
    EXPECT_EQ(performIntent("PauseMonitoring", support), "Paused (indefinite)");
    EXPECT_EQ(performIntent("ResumeMonitoring", support), "Resumed Velmor monitoring.");
    EXPECT_EQ(performIntent("GetTodaysDose", support), "0.0% (safe), 100.0% remaining today");
    EXPECT_EQ(performIntent("GetMonitoringStats", support), "Streak: 0 days, Today 0.0%, weekly avg 0.0%");
    EXPECT_EQ(performIntent("GetCurrentSPL", support), "0.0 dBA, 0.0 dBC, peak 0.0 dBA");
    EXPECT_EQ(performIntent("EndMixingSession", support), "Session ended (Manual), 0.0% dose over 0 min");
    EXPECT_EQ(performIntent("getTodaysDose", support), std::nullopt);
}

} // namespace
} // namespace velmor
