// SPDX-License-Identifier: GPL-3.0-or-later
// What the popover says, before anybody draws it: each section's texts and colours, and which sections there
// are. Levels in dB, doses and shares in percent.
#pragma once

#include <app/AppState.h>
#include <ui/Style.h>

#include <cstdint>
#include <optional>
#include <string>

namespace velmor {

struct TintedText
{
    std::string text;
    Tint tint = Tint::primary;

    bool operator==(const TintedText&) const = default;
};

/// A text with the symbol that stands before it.
struct SymbolText
{
    const char* symbol = "";
    std::string text;
    Tint tint = Tint::primary;
};

/// The sections that have something to say.
struct MenuBarGates
{
    bool currentLevel = false;
    bool discipline = false;
    bool statistics = false;
    bool activeSession = false;
    bool today = false;

    static MenuBarGates of(const AppState& hub);
    bool operator==(const MenuBarGates&) const = default;
};

/// As in 42.3%.
std::string doseText(double dosePercentage);

/// How much of the dose's bar is filled, 0 to 1.
double doseFill(double dosePercentage);

/// As in 78.4 dBA; an em dash where there is none. \param unit "dBA" or "dBC".
std::string levelText(std::optional<double> level, const char* unit);

/// The energy that A-weighting hides, where it is more than 6 dB. Without a level there is none.
std::optional<SymbolText> lowFrequencyNote(double currentSPL, double currentDBC);

/// As in Peak: 136 dBC.
std::string peakAlertText(double peakDBC);

Tint disciplineColor(double forPercentage);

/// As in 72% on target; the words for a session that is too short to have a share.
TintedText onTargetText(std::optional<double> percentage);

/// As in 79 ±3 dBA.
std::string referenceBandText(double target, double tolerance);

/// As in 3 dB over. \param deviation dB
std::string driftLabel(double deviation);
Tint driftColor(double deviation, double tolerance);

/// What stands beside the band: the drift, or the word for silence.
TintedText driftText(std::optional<double> deviation, double tolerance);

/// Shares of the time that was spent in the three zones, 0 to 1.
struct ZoneShares
{
    double under = 0;
    double onTarget = 0;
    double over = 0;

    bool operator==(const ZoneShares&) const = default;
};

/// Of seconds.
ZoneShares zoneShares(double under, double onTarget, double over);

/// As in Avg: 78.4 dBA, Peak: 91.0 dBA, Session dose: 2.5%.
std::string averageText(const Session& session);
std::string peakLevelText(const Session& session);
std::string sessionDoseText(double sessionDose);

/// Red from 140 dBC, orange from 135, the limits of EU 2003/10/EC.
Tint peakColor(double peakDBC);

/// The session's highest peak, as in Peak: 136 dBC.
TintedText sessionPeakText(double peakDBC);

/// As in 1 session, 2 sessions.
std::string sessionCountText(std::size_t count);

/// The day's share on target, and the reference level that it was measured against; absent with less than
/// half a minute of measured time.
struct DaysDiscipline
{
    TintedText share;   ///< As in 72%.
    std::string target; ///< As in (79 dBA), or (2 targets).
};
std::optional<DaysDiscipline> todaysDiscipline(const ReferenceLevelTracker::DailySummary& day);

/// As in Today peak: 136 dBC.
std::string todayPeakText(double todayPeakDBC);

/// As in ≥115 dBA today: 3.
std::string todayCount115Text(std::int64_t count);

/// The banner of a pause.
std::string pauseText(const std::optional<Date>& pauseUntil, const Calendar& calendar);

} // namespace velmor
