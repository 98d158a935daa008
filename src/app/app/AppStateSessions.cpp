// SPDX-License-Identifier: GPL-3.0-or-later
// What the hub does with sessions, and with the day that they make up.
#include <app/AppState.h>

#include <sessions/DailyDiscipline.h>

#include <optional>
#include <utility>

namespace velmor {

void AppState::startSession(const std::string& dawName)
{
    cancelCalibrations();
    sessionManager.startSession(dawName);
    doseCalculator.markSessionStart();
    referenceTracker.beginSession();
    alertDetector.beginSession(m_loop.now());
    sessionManager.recordProgress(doseCalculator, referenceTracker.snapshotSummary());
    audioService.start();
    startReadingSampler();
    writeWidgetSnapshot(true);
}

void AppState::manualStartSession()
{
    startSession("Manual");
}

void AppState::endSession()
{
    const double sessionDose = doseCalculator.sessionDose();
    const double totalDose = doseCalculator.dosePercentage;
    const auto disciplineSummary = referenceTracker.snapshotSummary();
    std::optional<Uuid> ended;
    if (const auto& running = sessionManager.currentSession.get()) {
        ended = running->id;
        doseCalculator.persistDose();
    }
    sessionManager.endSession(doseCalculator, disciplineSummary);
    audioService.stop();
    m_readingSampleTimer.reset();
    leqStatistics.reset();
    alertDetector.endSession();
    notifications.clearSustainedExposure();
    if (!ended) {
        if (const auto newest = sessionManager.newestSession())
            ended = newest->id;
    }
    notifications.sendSessionRecapNotification(sessionDose, totalDose, ended);
    writeWidgetSnapshot(true);
}

void AppState::endForGood()
{
    dawDetection.onDAWLaunched = nullptr;
    dawDetection.onAllDAWsQuit = nullptr;
    audioService.onDeviceDisconnected = nullptr;
    cancelCalibrations();
    if (sessionManager.currentSession.get())
        endSession();
    // Another instance may begin on the same files: nothing of this one writes to them any more.
    for (Timer* timer :
         {&m_splUpdateTimer, &m_readingSampleTimer, &m_midnightResetTimer, &m_captureRetryTimer})
        timer->reset();
    m_widgetSuite = nullptr;
    m_widgetCenter = nullptr;
    m_self.reset();
}

void AppState::requestOpenReport(const Session& session)
{
    pendingReportSessionID = session.id;
}

void AppState::deleteSession(const Session& session)
{
    const bool isOfToday = m_calendar.isSameDay(session.startDate, m_loop.now());
    sessionManager.deleteSession(session.id);
    if (isOfToday)
        doseCalculator.overrideDose(todaysCompletedDose());
}

void AppState::resetDose()
{
    sessionManager.sessionHistory.update([&](auto& history) {
        std::erase_if(history, [&](const Session& session) {
            return session.endDate && m_calendar.isSameDay(session.startDate, m_loop.now());
        });
    });
    sessionManager.saveHistory();
    doseCalculator.reset();
}

void AppState::captureFocusPreEnableSessionState(bool wasActive)
{
    m_focusPreEnableSessionState = FocusPreEnableSessionState{wasActive};
}

std::optional<FocusPreEnableSessionState> AppState::consumeFocusPreEnableSessionState()
{
    return std::exchange(m_focusPreEnableSessionState, std::nullopt);
}

DoseLevel AppState::displayDoseLevel() const
{
    return simulatedDoseLevel.get().value_or(doseCalculator.doseLevel);
}

ReferenceLevelTracker::DailySummary AppState::todaysMonitoringDiscipline() const
{
    return aggregateDay(sessionManager.todaysSessions(), &referenceTracker);
}

} // namespace velmor
