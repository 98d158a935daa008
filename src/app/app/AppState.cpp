// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/AppState.h>

namespace velmor {

AppState::AppState(const Host& host, double calibrationOffset)
    : deviceManager(host.hardware)
    , audioService(host.loop, host.capture, deviceManager, calibrationOffset)
    , doseCalculator(host.loop, host.defaults, host.calendar)
    , m_loop(host.loop)
{
    doseCalculator.restorePersistedDose();
    m_splUpdateTimer = m_loop.every(tickIntervalSeconds, [this] { tick(); });
}

// The peaks are those of the last block only. A peak in an earlier block since the tick before is not
// seen: the counts are of measurement intervals, not of events.
void AppState::tick()
{
    if (!audioService.isRunning)
        return;
    const double spl = audioService.currentSPL;
    const double dBC = audioService.currentDBC;
    const double peakDBC = audioService.peakDBC;
    const double peakDBA = audioService.peakDBA;
    doseCalculator.addMeasurement(spl, dBC, peakDBC, peakDBA, m_loop.now());
}

} // namespace velmor
