// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/MenuBarContent.h>

#include <exposure/PeakLimits.h>
#include <ui/ScoreGrade.h>

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace velmor {

namespace {

constexpr auto warningSymbol = "exclamationmark.triangle.fill";

} // namespace

MenuBarGates MenuBarGates::of(const AppState& hub)
{
    const bool isRunning = hub.audioService.isRunning;
    return {.currentLevel = isRunning,
            .discipline = hub.referenceTracker.settings.get().enabled && isRunning,
            .statistics = isRunning,
            .activeSession = hub.sessionManager.currentSession.get().has_value(),
            .today = !hub.sessionManager.todaysSessions().empty() || hub.doseCalculator.todayPeakDBC > 0};
}

std::string doseText(double dosePercentage)
{
    return fmt::format("{:.1f}%", dosePercentage);
}

double doseFill(double dosePercentage)
{
    return std::clamp(dosePercentage / 100.0, 0.0, 1.0);
}

std::string levelText(std::optional<double> level, const char* unit)
{
    return level ? fmt::format("{:.1f} {}", *level, unit) : "—";
}

std::optional<SymbolText> lowFrequencyNote(double currentSPL, double currentDBC)
{
    constexpr double leastGap = 6.0;
    constexpr double largeGap = 10.0;
    const double gap = currentDBC - currentSPL;
    if (!(currentSPL > 0) || !(gap > leastGap))
        return std::nullopt;
    const bool isLarge = gap >= largeGap;
    return SymbolText{isLarge ? warningSymbol : "waveform.badge.exclamationmark",
                      fmt::format("LF gap +{:.0f}", gap), isLarge ? Tint::orange : Tint::yellow};
}

std::string peakAlertText(double peakDBC)
{
    return fmt::format("Peak: {:.0f} dBC", peakDBC);
}

Tint disciplineColor(double forPercentage)
{
    return tintOf(gradeOf(forPercentage));
}

TintedText onTargetText(std::optional<double> percentage)
{
    if (!percentage)
        return {"warming up", Tint::secondary};
    return {fmt::format("{:.0f}% on target", std::round(*percentage)), disciplineColor(*percentage)};
}

std::string referenceBandText(double target, double tolerance)
{
    return fmt::format("{:.0f} ±{:.0f} dBA", target, tolerance);
}

std::string driftLabel(double deviation)
{
    constexpr double leastDrift = 0.5;
    if (std::abs(deviation) < leastDrift)
        return "on target";
    return fmt::format("{:.0f} dB {}", std::abs(deviation), deviation > 0 ? "over" : "under");
}

Tint driftColor(double deviation, double tolerance)
{
    constexpr double nearby = 3.0;
    if (std::abs(deviation) <= tolerance)
        return Tint::green;
    return std::abs(deviation) <= tolerance + nearby ? Tint::yellow : Tint::orange;
}

TintedText driftText(std::optional<double> deviation, double tolerance)
{
    if (!deviation)
        return {"silent", Tint::tertiary};
    return {driftLabel(*deviation), driftColor(*deviation, tolerance)};
}

ZoneShares zoneShares(double under, double onTarget, double over)
{
    constexpr double leastSum = 0.001;
    const double sum = std::max(under + onTarget + over, leastSum);
    return {under / sum, onTarget / sum, over / sum};
}

std::string averageText(const Session& session)
{
    return fmt::format("Avg: {:.1f} dBA", session.averageSPL);
}

std::string peakLevelText(const Session& session)
{
    return fmt::format("Peak: {:.1f} dBA", session.peakSPL);
}

std::string sessionDoseText(double sessionDose)
{
    return fmt::format("Session dose: {:.1f}%", sessionDose);
}

Tint peakColor(double peakDBC)
{
    if (peakDBC >= limitPeakDBC)
        return Tint::red;
    return peakDBC >= lowerActionPeakDBC ? Tint::orange : Tint::secondary;
}

TintedText sessionPeakText(double peakDBC)
{
    return {peakAlertText(peakDBC), peakColor(peakDBC)};
}

std::string sessionCountText(std::size_t count)
{
    return fmt::format("{} {}", count, count == 1 ? "session" : "sessions");
}

std::optional<DaysDiscipline> todaysDiscipline(const ReferenceLevelTracker::DailySummary& day)
{
    const std::optional<double> share = day.onTargetPercentage();
    if (!share)
        return std::nullopt;
    // A share that several levels have contributed to belongs to none of them.
    const std::string levels = day.hasSingleTarget() ? fmt::format("{:.0f} dBA", *day.distinctTargets.begin())
                                                     : fmt::format("{} targets", day.distinctTargets.size());
    return DaysDiscipline{{fmt::format("{:.0f}%", std::round(*share)), disciplineColor(*share)},
                          fmt::format("({})", levels)};
}

std::string todayPeakText(double todayPeakDBC)
{
    return fmt::format("Today peak: {:.0f} dBC", todayPeakDBC);
}

std::string todayCount115Text(std::int64_t count)
{
    return fmt::format("≥115 dBA today: {}", count);
}

std::string pauseText(const std::optional<Date>& pauseUntil, const Calendar& calendar)
{
    if (!pauseUntil)
        return "Monitoring paused.";
    const LocalTime time = calendar.localTime(*pauseUntil);
    return fmt::format("Monitoring paused. Resumes {:02}:{:02}.", time.hour, time.minute);
}

} // namespace velmor
