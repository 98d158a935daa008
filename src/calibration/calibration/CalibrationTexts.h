// SPDX-License-Identifier: GPL-3.0-or-later
// What the calibrations' windows say, and in which colour, for a state and the live level. All levels in dBA,
// differences and tolerances in dB.
#pragma once

#include <base/Date.h>
#include <calibration/MicResponseCalibrationService.h>
#include <calibration/TargetCalibrationStore.h>

#include <optional>
#include <string>
#include <string_view>

namespace velmor::CalibrationTexts {

inline constexpr std::string_view noiseInUse = "Pink noise in use by mic response measurement";
inline constexpr std::string_view targetUnderWay = "Step 3 is under way: save or cancel it first";
inline constexpr std::string_view staleCalibration = "Recalibration recommended (>90 days old)";
inline constexpr std::string_view notCalibrated = "Not yet calibrated";
inline constexpr std::string_view calibrationSaved = "Calibration saved";
inline constexpr std::string_view playingNoise = "Calibration noise playing";

/// What the measurement of the microphone's response says; empty while it is idle, where a button stands.
std::string micCalibrationText(const MicCalibrationState& state);

/// Whether there is a measured correction.
std::string_view micCorrectionText(bool hasProfile);

/// What saving a calibration profile keeps.
std::string savedProfileSummary(double offset, bool hasCorrection, std::string_view deviceName);

/// Beside the date of a saved profile, dB.
std::string offsetAtSave(double offset);

/// What calibrating the monitor controller is for.
std::string pinController(double target, double tolerance);

/// For the record of an output: whose it is, and how old.
std::string calibratedFor(const TargetCalibrationRecord& record);
std::string calibrationAge(const TargetCalibrationRecord& record, Date now);

/// Where the record was captured for another target than the present one, by more than 0.1 dB.
std::optional<std::string> targetMismatch(const TargetCalibrationRecord& record, double currentTarget);

/// Which way to turn the controller, while the noise plays.
std::string guidance(bool isCaptureRunning, double reading, double target);

enum class ReadingColor {
    green,  ///< Within the tolerance.
    yellow, ///< Up to 3 dB beyond it.
    orange,
};

ReadingColor readingColor(double reading, double target, double tolerance);

std::string capturedAt(double measured);

/// Where the captured level lies outside of the band; a check mark stands in its place otherwise.
std::optional<std::string> outsideBand(double measured, double target, double tolerance);

std::string calibrationFailed(std::string_view message);

} // namespace velmor::CalibrationTexts
