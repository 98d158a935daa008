// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Calendar.h>
#include <base/MainLoop.h>
#include <exposure/DoseCalculator.h>
#include <level/AudioDeviceManager.h>
#include <level/AudioMeasurementService.h>
#include <platform/AudioCapture.h>
#include <platform/AudioHardware.h>
#include <platform/DefaultsStore.h>

namespace velmor {

/// What the hub asks of its host. Everything outlives the hub.
struct Host
{
    MainLoop& loop;
    AudioCapture& capture;
    const AudioHardware& hardware;
    DefaultsStore& defaults;
    const Calendar& calendar;
};

/// Owns the services and runs the measurement loop. The services don't know one another: data moves
/// between them here. Main thread.
class AppState final
{
public:
    static constexpr double tickIntervalSeconds = 0.1;

    /// Restores the day's dose and starts the tick.
    /// \param calibrationOffset dB that are added to every level.
    AppState(const Host& host, double calibrationOffset);

    AudioDeviceManager deviceManager;
    AudioMeasurementService audioService;
    DoseCalculator doseCalculator;

private:
    void tick();

    MainLoop& m_loop;
    Timer m_splUpdateTimer;
};

} // namespace velmor
