// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/PopoverStates.h>
#include <ui/MenuBarContent.h>
#include <ui/PauseDurations.h>

#include <gtest/gtest.h>

#include <tuple>
#include <utility>

namespace velmor {
namespace {

using namespace velmor::test;

TEST(MenuBarContent, TheDoseFillsItsBarAndNoMore)
{
    EXPECT_EQ(doseText(250), "250.0%");
    EXPECT_EQ(doseFill(250), 1.0);
    EXPECT_EQ(doseFill(100), 1.0);
    EXPECT_EQ(doseFill(42.5), 0.425);
    EXPECT_EQ(doseFill(0), 0.0);
    EXPECT_EQ(label(doseLevelFrom(250)), "Over-exposed");
    EXPECT_EQ(doseText(42.34), "42.3%");
}

TEST(MenuBarContent, AGapOfSixIsNoNoteAndOfTenALargeOne)
{
    EXPECT_FALSE(lowFrequencyNote(70, 76.0));
    EXPECT_FALSE(lowFrequencyNote(70, 64));
    const auto small = lowFrequencyNote(70, 76.1);
    ASSERT_TRUE(small);
    EXPECT_STREQ(small->symbol, "waveform.badge.exclamationmark");
    EXPECT_EQ(small->text, "LF gap +6");
    EXPECT_EQ(small->tint, Tint::yellow);
    EXPECT_EQ(lowFrequencyNote(70, 79.9)->tint, Tint::yellow);
    const auto large = lowFrequencyNote(70, 80);
    ASSERT_TRUE(large);
    EXPECT_STREQ(large->symbol, "exclamationmark.triangle.fill");
    EXPECT_EQ(large->text, "LF gap +10");
    EXPECT_EQ(large->tint, Tint::orange);
    // Without a level there is nothing to compare.
    EXPECT_FALSE(lowFrequencyNote(0, 20));
    EXPECT_FALSE(lowFrequencyNote(-3, 20));
}

TEST(MenuBarContent, LevelsHaveOneDecimalAndADashStandsForNone)
{
    EXPECT_EQ(levelText(78.44, "dBA"), "78.4 dBA");
    EXPECT_EQ(levelText(0.0, "dBC"), "0.0 dBC");
    EXPECT_EQ(levelText({}, "dBA"), "—");
    EXPECT_EQ(peakAlertText(136.4), "Peak: 136 dBC");
}

TEST(MenuBarContent, SharesOnTargetAreColouredByTheirLimits)
{
    for (const auto& [share, tint] :
         {std::pair(100.0, Tint::green), std::pair(70.0, Tint::green), std::pair(69.9, Tint::yellow),
          std::pair(40.0, Tint::yellow), std::pair(39.9, Tint::orange), std::pair(0.0, Tint::orange)})
        EXPECT_EQ(disciplineColor(share), tint) << share;
    // The text is rounded, the colour is not.
    EXPECT_EQ(onTargetText(69.5), (TintedText{"70% on target", Tint::yellow}));
    EXPECT_EQ(onTargetText(72.4), (TintedText{"72% on target", Tint::green}));
    EXPECT_EQ(onTargetText({}).text, "warming up");
}

TEST(MenuBarContent, TheBandAndTheDriftBesideIt)
{
    EXPECT_EQ(referenceBandText(79, 3), "79 ±3 dBA");
    EXPECT_EQ(driftLabel(0.49), "on target");
    EXPECT_EQ(driftLabel(-0.49), "on target");
    EXPECT_EQ(driftLabel(0.6), "1 dB over");
    EXPECT_EQ(driftLabel(-4.3), "4 dB under");
    // From 0.5 on it is a number, printed to the nearest even one.
    EXPECT_EQ(driftLabel(0.5), "0 dB over");
    for (const auto& [deviation, tint] :
         {std::pair(3.0, Tint::green), std::pair(-3.0, Tint::green), std::pair(3.1, Tint::yellow),
          std::pair(-6.0, Tint::yellow), std::pair(6.1, Tint::orange), std::pair(-9.0, Tint::orange)})
        EXPECT_EQ(driftColor(deviation, 3), tint) << deviation;
    EXPECT_EQ(driftText({}, 3), (TintedText{"silent", Tint::tertiary}));
    EXPECT_EQ(driftText(-4.3, 3), (TintedText{"4 dB under", Tint::yellow}));
}

TEST(MenuBarContent, ZonesShareTheTimeThatIsNotSilent)
{
    EXPECT_EQ(zoneShares(1, 2, 1), (ZoneShares{0.25, 0.5, 0.25}));
    EXPECT_EQ(zoneShares(0, 0, 0), (ZoneShares{0, 0, 0}));
    // The sum has a floor of a thousandth of a second.
    EXPECT_EQ(zoneShares(0, 0.0005, 0), (ZoneShares{0, 0.5, 0}));
}

TEST(MenuBarContent, FiguresOfTheSession)
{
    Session session;
    session.averageSPL = 78.44;
    session.peakSPL = 91.26;
    EXPECT_EQ(averageText(session), "Avg: 78.4 dBA");
    EXPECT_EQ(peakLevelText(session), "Peak: 91.3 dBA");
    EXPECT_EQ(sessionDoseText(2.45), "Session dose: 2.5%");
    EXPECT_EQ(sessionPeakText(134.9), (TintedText{"Peak: 135 dBC", Tint::secondary}));
    EXPECT_EQ(sessionPeakText(135), (TintedText{"Peak: 135 dBC", Tint::orange}));
    EXPECT_EQ(sessionPeakText(139.9).tint, Tint::orange);
    EXPECT_EQ(sessionPeakText(140), (TintedText{"Peak: 140 dBC", Tint::red}));
}

TEST(MenuBarContent, TheDaysSessionsAreCounted)
{
    EXPECT_EQ(sessionCountText(0), "0 sessions");
    EXPECT_EQ(sessionCountText(1), "1 session");
    EXPECT_EQ(sessionCountText(2), "2 sessions");
    EXPECT_EQ(todayPeakText(136.4), "Today peak: 136 dBC");
    EXPECT_EQ(todayCount115Text(3), "≥115 dBA today: 3");
}

TEST(MenuBarContent, TheDaysDisciplineNeedsHalfAMinute)
{
    ReferenceLevelTracker::DailySummary day = {.secondsOnTarget = 29.9, .distinctTargets = {79}};
    EXPECT_FALSE(todaysDiscipline(day));
    day.secondsOnTarget = 30;
    auto discipline = todaysDiscipline(day);
    ASSERT_TRUE(discipline);
    EXPECT_EQ(discipline->share, (TintedText{"100%", Tint::green}));
    EXPECT_EQ(discipline->target, "(79 dBA)");
    day.secondsOver = 70;
    day.distinctTargets = {79, 83};
    discipline = todaysDiscipline(day);
    EXPECT_EQ(discipline->share, (TintedText{"30%", Tint::orange}));
    EXPECT_EQ(discipline->target, "(2 targets)");
}

TEST(MenuBarContent, ThePauseTellsItsEndInLocalTime)
{
    const Calendar berlin = Calendar::inZone("Europe/Berlin").value();
    EXPECT_EQ(pauseText({}, berlin), "Monitoring paused.");
    EXPECT_EQ(pauseText(dateFromIsoText("2025-07-01T07:05:59Z"), berlin),
              "Monitoring paused. Resumes 09:05.");
    EXPECT_EQ(pauseText(dateFromIsoText("2025-01-01T22:30:00Z"), berlin),
              "Monitoring paused. Resumes 23:30.");
}

TEST(MenuBarContent, PausesAreOfferedFromAQuarterOfAnHourOn)
{
    std::vector<std::optional<double>> seconds;
    for (const PauseDuration& duration : pauseDurations)
        seconds.push_back(duration.seconds);
    EXPECT_EQ(seconds, (std::vector<std::optional<double>>{900, 1800, 3600, 7200, std::nullopt}));
}

TEST(MenuBarGates, WithoutAMeasurementThereIsTheDoseAndWhatTheDayHasBrought)
{
    PosedHub posed;
    EXPECT_EQ(MenuBarGates::of(*posed.hub), MenuBarGates{});
    posed.hub->doseCalculator.todayPeakDBC = 0.1;
    EXPECT_EQ(MenuBarGates::of(*posed.hub), MenuBarGates{.today = true});
    posed.hub->doseCalculator.todayPeakDBC = 0;
    posed.history({sampleSession(posed.host.loop.now() - std::chrono::hours(25), 10)});
    EXPECT_FALSE(MenuBarGates::of(*posed.hub).today);
    posed.history({sampleSession(posed.host.loop.now() - std::chrono::hours(1), 10)});
    EXPECT_EQ(MenuBarGates::of(*posed.hub), MenuBarGates{.today = true});
}

TEST(MenuBarGates, AMeasurementOpensItsSections)
{
    PosedHub posed;
    posed.session("REAPER");
    EXPECT_EQ(
        MenuBarGates::of(*posed.hub),
        (MenuBarGates{.currentLevel = true, .discipline = true, .statistics = true, .activeSession = true}));
    ReferenceLevelSettings settings = posed.hub->referenceTracker.settings;
    settings.enabled = false;
    posed.hub->referenceTracker.settings = settings;
    EXPECT_FALSE(MenuBarGates::of(*posed.hub).discipline);
}

} // namespace
} // namespace velmor
