// SPDX-License-Identifier: GPL-3.0-or-later
// What the hub does by the clock: the tick, the reading sampler, the turn of the day.
#include <app/AppState.h>

namespace velmor {

namespace {

constexpr std::int64_t ticksPerAlertEvaluation = 10;
constexpr std::int64_t ticksPerWidgetSnapshot = 50;
/// The desktop may ration reloads; a record is cheap.
constexpr std::int64_t ticksPerWidgetReload = 600;
constexpr double readingSampleIntervalSeconds = 10.0;

} // namespace

void AppState::startSPLFeed()
{
    m_lastTickTime = m_loop.now();
    m_splUpdateTimer = m_loop.every(tickIntervalSeconds, [this] {
        followClock();
        tick();
    });
}

// The timer for midnight waits for a moment of the wall clock. When that is set back another midnight is
// the next one: after a start with a clock far ahead the day would never end.
void AppState::followClock()
{
    const Date now = m_loop.now();
    if (now < m_lastTickTime) {
        scheduleMidnightReset();
        announceChange();
    }
    m_lastTickTime = now;
}

// The peaks are those of the last block only. A peak in an earlier block since the tick before is not
// seen: the counts are of measurement intervals, not of events.
void AppState::tick()
{
    if (!audioService.isRunning)
        return;
    if (pauseService.state(m_loop.now()).isPaused)
        return;
    const double spl = audioService.currentSPL;
    const double dBC = audioService.currentDBC;
    const double peakDBC = audioService.peakDBC;
    const double peakDBA = audioService.peakDBA;
    doseCalculator.addMeasurement(spl, dBC, peakDBC, peakDBA, m_loop.now());
    leqStatistics.addReading(spl);
    if (sessionManager.currentSession.get())
        referenceTracker.tick(spl);
    sessionManager.updateCurrentSession(spl, dBC, peakDBC, peakDBA, doseCalculator.dosePercentage);
    notifications.checkSustainedExposure(spl);
    ++m_splTickCounter;
    if (m_splTickCounter % ticksPerAlertEvaluation == 0 && sessionManager.currentSession.get()) {
        alertDetector.evaluate(m_loop.now(), spl, referenceTracker.settings.get().target,
                               leqStatistics.leq30min);
    }
    if (m_splTickCounter % ticksPerWidgetSnapshot == 0)
        writeWidgetSnapshot(m_splTickCounter % ticksPerWidgetReload == 0);
}

void AppState::startReadingSampler()
{
    m_readingSampleTimer = m_loop.every(readingSampleIntervalSeconds, [this] { sampleReading(); });
}

// Doesn't ask for a pause: the series of a session has no gap there.
void AppState::sampleReading()
{
    if (!audioService.isRunning)
        return;
    sessionManager.addReading(audioService.currentSPL, audioService.currentDBC, doseCalculator.dosePercentage,
                              referenceTracker.currentZone);
    sessionManager.recordProgress(doseCalculator, referenceTracker.snapshotSummary());
}

void AppState::scheduleMidnightReset()
{
    m_midnightResetTimer.reset();
    if (const auto midnight = m_calendar.nextMidnight(m_loop.now()))
        m_midnightResetTimer = m_loop.at(*midnight, [this] { performDailyReset(); });
}

void AppState::timeZoneChanged()
{
    scheduleMidnightReset();
    // What is shown by days is shown by others now.
    announceChange();
}

// A session that runs over midnight stays open; its later dose counts into the new day.
void AppState::performDailyReset()
{
    doseCalculator.reset();
    leqStatistics.reset();
    sessionManager.loadHistory();
    scheduleMidnightReset();
    writeWidgetSnapshot(true);
}

} // namespace velmor
