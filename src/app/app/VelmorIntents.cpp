// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/VelmorIntents.h>

#include <integrations/VelmorIntentMath.h>

#include <algorithm>
#include <utility>

namespace velmor {

namespace {

using Case = VelmorIntentError::Case;

/// From this dose on, in percent, a day counts as a warning.
constexpr double warningThreshold = 70.0;

template <typename Value>
IntentResult<Value> shown(Value value)
{
    std::string dialog = value.displayRepresentation().dialog();
    return {std::move(value), std::move(dialog)};
}

} // namespace

IntentResult<VelmorSPLSnapshot> GetCurrentSPLIntent::perform(const VelmorIntentSupport& support) const
{
    const auto hub = support.resolve();
    const AudioMeasurementService& audio = hub->audioService;
    if (!audio.isRunning)
        throw VelmorIntentError(Case::monitoringUnavailable);
    return shown(
        VelmorSPLSnapshot{.dba = audio.currentSPL, .dbc = audio.currentDBC, .peakDBA = audio.peakDBA});
}

IntentResult<VelmorDoseSnapshot> GetTodaysDoseIntent::perform(const VelmorIntentSupport& support) const
{
    const auto hub = support.resolve();
    const DoseCalculator& dose = hub->doseCalculator;
    return shown(VelmorDoseSnapshot{.dosePercent = std::max(0.0, dose.dosePercentage.get()),
                                    .remainingPercent = std::max(0.0, 100.0 - dose.dosePercentage),
                                    .doseLevel = std::string(rawValue(dose.doseLevel.get())),
                                    .peakCount135 = dose.peakCount135,
                                    .peakCount137 = dose.peakCount137,
                                    .peakCount140 = dose.peakCount140,
                                    .peakCount115DBA = dose.peakDBACount115});
}

IntentResult<VelmorMonitoringStats>
GetMonitoringStatsIntent::perform(const VelmorIntentSupport& support) const
{
    const auto hub = support.resolve();
    const auto& history = hub->sessionManager.sessionHistory.get();
    const Date now = hub->now();
    const auto weekly = VelmorIntentMath::weeklySummary(history, warningThreshold, now, hub->calendar());
    return shown(VelmorMonitoringStats{.streakDays = VelmorIntentMath::streak(
                                           history, VelmorIntentMath::streakThreshold, now, hub->calendar()),
                                       .todayDosePercent = hub->doseCalculator.dosePercentage,
                                       .weeklyAvgDosePercent = weekly.avgDosePercent,
                                       .weeklySessionCount = weekly.sessionCount,
                                       .weeklyWarningDayCount = weekly.warningDayCount});
}

std::string StartMixingSessionIntent::perform(const VelmorIntentSupport& support) const
{
    const auto hub = support.resolve();
    if (hub->sessionManager.currentSession.get())
        throw VelmorIntentError(Case::sessionAlreadyActive);
    const std::string sessionName = VelmorIntentMath::normaliseDAWName(daw);
    hub->startSession(sessionName);
    return "Started Velmor session for " + sessionName + ".";
}

IntentResult<VelmorSessionSummary> EndMixingSessionIntent::perform(const VelmorIntentSupport& support) const
{
    const auto hub = support.resolve();
    const auto& session = hub->sessionManager.currentSession.get();
    if (!session)
        throw VelmorIntentError(Case::sessionNotActive);
    auto result =
        shown(VelmorSessionSummary{.finalDosePercent = session->doseAccumulated,
                                   .daw = session->dawName,
                                   .elapsedSeconds = wholeSecondsBetween(session->startDate, hub->now()),
                                   .peakDBA = session->peakSPL,
                                   .peakDBC = session->peakDBC});
    hub->endSession();
    return result;
}

IntentResult<VelmorPauseSnapshot> PauseMonitoringIntent::perform(const VelmorIntentSupport& support) const
{
    const auto hub = support.resolve();
    std::optional<double> duration;
    if (durationMinutes >= 1)
        duration = VelmorIntentMath::pauseSeconds(durationMinutes);
    // One moment for both: between two of them a pause of 15 minutes would say 14.
    const Date now = hub->now();
    hub->pauseService.pause(duration, now);
    const PauseState state = hub->pauseService.state(now);
    VelmorPauseSnapshot snapshot{.paused = state.isPaused};
    if (state.pauseUntil)
        snapshot.resumeInSeconds = wholeSecondsBetween(now, *state.pauseUntil);
    return {snapshot, snapshot.displayRepresentation().title};
}

IntentResult<VelmorPauseSnapshot> ResumeMonitoringIntent::perform(const VelmorIntentSupport& support) const
{
    support.resolve()->pauseService.resume();
    return {VelmorPauseSnapshot(), "Resumed Velmor monitoring."};
}

std::string VelmorAppShortcut::phrase(std::size_t index) const
{
    constexpr std::string_view token = "{app}";
    std::string text(phrases[index]);
    if (const auto position = text.find(token); position != std::string::npos)
        text.replace(position, token.size(), "Velmor");
    return text;
}

std::optional<std::string> performIntent(std::string_view name, const VelmorIntentSupport& support)
{
    if (name == GetCurrentSPLIntent::name)
        return GetCurrentSPLIntent().perform(support).dialog;
    if (name == GetTodaysDoseIntent::name)
        return GetTodaysDoseIntent().perform(support).dialog;
    if (name == GetMonitoringStatsIntent::name)
        return GetMonitoringStatsIntent().perform(support).dialog;
    if (name == StartMixingSessionIntent::name)
        return StartMixingSessionIntent().perform(support);
    if (name == EndMixingSessionIntent::name)
        return EndMixingSessionIntent().perform(support).dialog;
    if (name == PauseMonitoringIntent::name)
        return PauseMonitoringIntent().perform(support).dialog;
    if (name == ResumeMonitoringIntent::name)
        return ResumeMonitoringIntent().perform(support).dialog;
    return std::nullopt;
}

} // namespace velmor
