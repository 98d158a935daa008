// SPDX-License-Identifier: GPL-3.0-or-later
// What the hub tells widgets.
#include <app/AppState.h>

#include <integrations/VelmorIntentMath.h>
#include <integrations/VelmorWidgetSnapshot.h>
#include <integrations/WidgetMetrics.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace velmor {

namespace {

/// A day below this dose, in percent, goes on with a streak.
constexpr double streakThreshold = 50.0;

struct PresetLabel
{
    std::string_view presetID;
    std::string_view label;
};

constexpr std::array presetLabels = {
    PresetLabel{"mastering", "Mastering"},
    PresetLabel{"k14", "K-14"},
    PresetLabel{"k12", "K-12"},
    PresetLabel{"k20", "K-20"},
};

} // namespace

std::string AppState::shortPresetLabel(const std::string& presetID)
{
    const auto row = std::ranges::find(presetLabels, presetID, &PresetLabel::presetID);
    return std::string(row != presetLabels.end() ? row->label : "Custom");
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
    snapshot.streakDays = VelmorIntentMath::streak(history, streakThreshold, now, m_calendar);
    snapshot.weeklyLEX = WidgetMetrics::weeklyLEX(weekDoses);
    snapshot.monitoringPreset = shortPresetLabel(reference.presetID);
    snapshot.updatedAt = now;
    snapshot.save(*m_widgetSuite);
    if (reload && m_widgetCenter)
        m_widgetCenter->reloadAllTimelines();
}

} // namespace velmor
