// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/VelmorIntentRecords.h>

#include <gtest/gtest.h>

namespace velmor {
namespace {

using Display = DisplayRepresentation;

TEST(VelmorIntentRecords, ALevelShowsItsThreeFigures)
{
    const VelmorSPLSnapshot snapshot{.dba = 78.4, .dbc = 82.1, .peakDBA = 91.0};
    EXPECT_EQ(snapshot.displayRepresentation(), (Display{"78.4 dBA", "82.1 dBC, peak 91.0 dBA"}));
    EXPECT_EQ(snapshot.displayRepresentation().dialog(), "78.4 dBA, 82.1 dBC, peak 91.0 dBA");
}

TEST(VelmorIntentRecords, ADoseShowsItsBandAndWhatRemains)
{
    const VelmorDoseSnapshot snapshot{
        .dosePercent = 41.26, .remainingPercent = 58.74, .doseLevel = "caution"};
    EXPECT_EQ(snapshot.displayRepresentation(), (Display{"41.3% (caution)", "58.7% remaining today"}));
}

TEST(VelmorIntentRecords, AStreakOfOneDayIsSingular)
{
    EXPECT_EQ((VelmorMonitoringStats{.streakDays = 1, .todayDosePercent = 12, .weeklyAvgDosePercent = 3.33})
                  .displayRepresentation(),
              (Display{"Streak: 1 day", "Today 12.0%, weekly avg 3.3%"}));
    EXPECT_EQ(VelmorMonitoringStats{.streakDays = 0}.displayRepresentation().title, "Streak: 0 days");
    EXPECT_EQ(VelmorMonitoringStats{.streakDays = 12}.displayRepresentation().title, "Streak: 12 days");
}

TEST(VelmorIntentRecords, AnEndedSessionShowsItsWholeMinutes)
{
    const VelmorSessionSummary summary{
        .finalDosePercent = 4.44, .daw = " Logic Pro ", .elapsedSeconds = 3659};
    EXPECT_EQ(summary.displayRepresentation(),
              (Display{"Session ended ( Logic Pro )", "4.4% dose over 60 min"}));
}

TEST(VelmorIntentRecords, APauseShowsItsWholeMinutes)
{
    EXPECT_EQ((VelmorPauseSnapshot{.paused = true, .resumeInSeconds = 1799}).displayRepresentation(),
              (Display{"Paused for 29 min", ""}));
    EXPECT_EQ(VelmorPauseSnapshot{.paused = true}.displayRepresentation().dialog(), "Paused (indefinite)");
    EXPECT_EQ(VelmorPauseSnapshot().displayRepresentation().dialog(), "Monitoring");
}

TEST(VelmorIntentRecords, EveryRecordHasAnIdentifierOfItsOwn)
{
    EXPECT_EQ(VelmorSPLSnapshot().id.size(), 36U);
    EXPECT_NE(VelmorSPLSnapshot().id, VelmorSPLSnapshot().id);
    EXPECT_NE(VelmorDoseSnapshot().id, VelmorDoseSnapshot().id);
    EXPECT_NE(VelmorMonitoringStats().id, VelmorMonitoringStats().id);
    EXPECT_NE(VelmorSessionSummary().id, VelmorSessionSummary().id);
    EXPECT_NE(VelmorPauseSnapshot().id, VelmorPauseSnapshot().id);
}

TEST(VelmorIntentRecords, EachErrorHasItsWords)
{
    using Case = VelmorIntentError::Case;
    EXPECT_STREQ(VelmorIntentError(Case::appNotReady).what(),
                 "Velmor hasn't finished launching yet. Try again in a moment.");
    EXPECT_STREQ(VelmorIntentError(Case::monitoringUnavailable).what(),
                 "Velmor's audio engine isn't running. Open Velmor and check the input device in Settings.");
    EXPECT_STREQ(VelmorIntentError(Case::sessionAlreadyActive).what(),
                 "A session is already running. End it first, or use the active session.");
    EXPECT_STREQ(
        VelmorIntentError(Case::sessionNotActive).what(),
        "No session is running. Start one from Velmor's menu or from the Start Mixing Session intent.");
    EXPECT_STREQ(VelmorIntentError::invalidArgument("No.").what(), "No.");
}

} // namespace
} // namespace velmor
