// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/VelmorIntentSupport.h>
#include <integrations/VelmorIntentRecords.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velmor {

/// A parameter of an intent, in words for the user.
struct IntentParameter
{
    std::string_view title;
    std::string_view description;
    std::string_view summary; ///< The whole intent in a sentence; the parameter stands in braces.
};

/// What an intent gives back: a record, and a sentence for the user.
template <typename Value>
struct IntentResult
{
    Value value;
    std::string dialog;
};

/// The commands that the desktop's automation has. Each performs at once, on the main thread, and throws a
/// VelmorIntentError where it can't; everything is then as it was.
struct GetCurrentSPLIntent
{
    static constexpr std::string_view name = "GetCurrentSPL";
    static constexpr std::string_view title = "Get Current SPL";

    IntentResult<VelmorSPLSnapshot> perform(const VelmorIntentSupport& support) const;
};

/// Needs no running measurement.
struct GetTodaysDoseIntent
{
    static constexpr std::string_view name = "GetTodaysDose";
    static constexpr std::string_view title = "Get Today's Dose";

    IntentResult<VelmorDoseSnapshot> perform(const VelmorIntentSupport& support) const;
};

struct GetMonitoringStatsIntent
{
    static constexpr std::string_view name = "GetMonitoringStats";
    static constexpr std::string_view title = "Get Monitoring Stats";

    IntentResult<VelmorMonitoringStats> perform(const VelmorIntentSupport& support) const;
};

struct StartMixingSessionIntent
{
    static constexpr std::string_view name = "StartMixingSession";
    static constexpr std::string_view title = "Start Mixing Session";
    static constexpr IntentParameter dawParameter = {
        "DAW", "Optional label for the session (e.g. 'Logic Pro'). Defaults to 'Manual' when blank.",
        "Start an Velmor session for {daw}"};

    std::optional<std::string> daw;

    /// \return the dialog.
    std::string perform(const VelmorIntentSupport& support) const;
};

struct EndMixingSessionIntent
{
    static constexpr std::string_view name = "EndMixingSession";
    static constexpr std::string_view title = "End Mixing Session";

    IntentResult<VelmorSessionSummary> perform(const VelmorIntentSupport& support) const;
};

struct PauseMonitoringIntent
{
    static constexpr std::string_view name = "PauseMonitoring";
    static constexpr std::string_view title = "Pause Monitoring";
    static constexpr IntentParameter durationParameter = {
        "Duration (minutes)",
        "Pause for this many minutes, then auto-resume. Enter 0 for an indefinite pause that lasts until you "
        "call Resume Monitoring.",
        "Pause Velmor monitoring for {durationMinutes} minutes"};

    std::int64_t durationMinutes = 0; ///< Below 1 for a pause without end; at most 1440.

    IntentResult<VelmorPauseSnapshot> perform(const VelmorIntentSupport& support) const;
};

struct ResumeMonitoringIntent
{
    static constexpr std::string_view name = "ResumeMonitoring";
    static constexpr std::string_view title = "Resume Monitoring";

    IntentResult<VelmorPauseSnapshot> perform(const VelmorIntentSupport& support) const;
};

/// A ready-made shortcut to an intent.
struct VelmorAppShortcut
{
    std::string_view intent;
    std::array<std::string_view, 2> phrases; ///< {app} stands for the program's name.
    std::string_view shortTitle;
    std::string_view symbol;

    /// A phrase as the user says it.
    std::string phrase(std::size_t index) const;
};

inline constexpr std::array<VelmorAppShortcut, 7> velmorAppShortcuts = {{
    {GetCurrentSPLIntent::name,
     {"What's the SPL in {app}", "Get the SPL from {app}"},
     "Get Current SPL",
     "waveform"},
    {GetTodaysDoseIntent::name,
     {"What's my dose in {app}", "Get today's dose from {app}"},
     "Get Today's Dose",
     "ear.badge.checkmark"},
    {GetMonitoringStatsIntent::name,
     {"Get my monitoring stats in {app}", "Show my streak in {app}"},
     "Get Monitoring Stats",
     "chart.bar"},
    {StartMixingSessionIntent::name,
     {"Start a mixing session in {app}", "Start session in {app}"},
     "Start Mixing Session",
     "play.circle"},
    {EndMixingSessionIntent::name,
     {"End my mixing session in {app}", "End session in {app}"},
     "End Mixing Session",
     "stop.circle"},
    {PauseMonitoringIntent::name,
     {"Pause {app}", "Pause monitoring in {app}"},
     "Pause Monitoring",
     "pause.circle"},
    {ResumeMonitoringIntent::name,
     {"Resume {app}", "Resume monitoring in {app}"},
     "Resume Monitoring",
     "play.circle.fill"},
}};

/// Performs an intent by its name, with no parameter given. \return its dialog; absent for a name that none
/// has. \throws VelmorIntentError
std::optional<std::string> performIntent(std::string_view name, const VelmorIntentSupport& support);

} // namespace velmor
