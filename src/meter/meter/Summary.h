// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <calibration/CalibrationTrust.h>
#include <sessions/Session.h>

#include <cstdint>
#include <optional>
#include <string>

namespace velmor {

/// What the meter reports at the end.
struct Summary
{
    std::string file;   ///< As the user named it; empty for a live input.
    std::string device; ///< UID of the live input; empty for a file and for the system's default.
    double sampleRate = 0;
    int channel = 1;
    int channelCount = 1;
    std::int64_t frames = 0;
    std::int64_t blocks = 0;
    std::uint64_t droppedBlocks = 0;
    std::uint64_t unusableSamples = 0;
    double calibrationOffset = 0;
    CalibrationTrust calibration; ///< What the figures deserve.
    bool conservative = false;
    double currentSPL = 0;
    double currentDBC = 0;
    double peakDBA = 0;
    double peakDBC = 0;
    double todayPeakDBC = 0;
    double dosePercentage = 0;
    DoseLevel doseLevel = DoseLevel::safe;
    double projectedDoseAtEndOfDay = 0;
    std::int64_t peakCount135 = 0;
    std::int64_t peakCount137 = 0;
    std::int64_t peakCount140 = 0;
    std::int64_t peakDBACount115 = 0;
    std::optional<double> leq1min; ///< dB, as the ones below; absent while not known.
    std::optional<double> leq10min;
    std::optional<double> leq30min;
    std::optional<double> l10;
    std::optional<double> l50;
    std::optional<double> l90;
    Session session;           ///< As it is in the history.
    bool isSessionKept = true; ///< False where the history could not be written.
    std::string exportFailure; ///< Why an export could not be written; empty where all were.

    /// Takes the hub's present figures, all but the session.
    void take(const AppState& hub);

    double durationSeconds() const { return sampleRate > 0 ? static_cast<double>(frames) / sampleRate : 0; }
};

/// As one JSON object.
std::string jsonText(const Summary& summary);

/// As a page for people.
std::string humanText(const Summary& summary);

} // namespace velmor
