// SPDX-License-Identifier: GPL-3.0-or-later
// What the hub tells widgets.
#include <app/AppState.h>

#include <base/Vocabulary.h>
#include <discipline/ReferenceLevelSettings.h>
#include <integrations/VelmorIntentMath.h>
#include <integrations/VelmorWidgetSnapshot.h>
#include <integrations/WidgetMetrics.h>

namespace velmor {

std::string AppState::shortPresetLabel(const std::string& presetID)
{
    const auto preset = valueFromRaw(referenceLevelPresets, presetID).value_or(ReferenceLevelPreset::custom);
    return std::string(rowOf(referenceLevelPresets, preset).shortLabel);
}

void AppState::writeWidgetSnapshot(bool reload)
{
    if (!m_widgetSuite)
        return;
    const Date now = m_loop.now();
    const auto& history = sessionManager.sessionHistory.get();
    const auto& session = sessionManager.currentSession.get();
    const ReferenceLevelSettings& reference = referenceTracker.settings;

    VelmorWidgetSnapshot snapshot;
    snapshot.todayDosePercent = doseCalculator.dosePercentage;
    const auto weekDoses = WidgetMetrics::weekDoses(history, snapshot.todayDosePercent, m_calendar, now);
    snapshot.weeklyDoses.assign(weekDoses.begin(), weekDoses.end());
    snapshot.monitoringEnabled = reference.enabled;
    snapshot.monitoringTarget = reference.target;
    snapshot.monitoringTolerance = reference.tolerance;
    snapshot.paused = pauseService.state(now).isPaused;
    if (reference.enabled && audioService.isRunning && !snapshot.paused)
        snapshot.disciplineZone = disciplineZoneFromRaw(rawValue(referenceTracker.currentZone.get()));
    if (session) {
        snapshot.sessionActive = true;
        snapshot.dawName = session->dawName;
        snapshot.onTargetPercent = referenceTracker.onTargetPercentage();
    }
    const auto weeklyOnTarget = WidgetMetrics::weeklyOnTarget(history, m_calendar, now);
    snapshot.weeklyOnTargetPercent = weeklyOnTarget.overall;
    snapshot.weeklyOnTargetByDay.assign(weeklyOnTarget.perDay.begin(), weeklyOnTarget.perDay.end());
    snapshot.lastDBA = audioService.currentSPL;
    snapshot.lastDBC = audioService.currentDBC;
    snapshot.isMeasuring = audioService.isRunning;
    snapshot.streakDays =
        VelmorIntentMath::streak(history, VelmorIntentMath::streakThreshold, now, m_calendar);
    snapshot.weeklyLEX = WidgetMetrics::weeklyLEX(weekDoses);
    snapshot.monitoringPreset = shortPresetLabel(reference.presetID);
    snapshot.updatedAt = now;
    snapshot.save(*m_widgetSuite);
    if (reload && m_widgetCenter)
        m_widgetCenter->reloadAllTimelines();
}

} // namespace velmor
