// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/CalibrationTexts.h>

#include <fmt/format.h>

#include <cmath>

namespace velmor::CalibrationTexts {

namespace {

constexpr double onTargetBelow = 0.5;
constexpr double yellowBeyondTolerance = 3.0;
constexpr double sameTarget = 0.1;

struct TextOfState
{
    std::string operator()(const MicCalibration::Idle&) const { return {}; }
    std::string operator()(const MicCalibration::Settling&) const
    {
        return "Playing pink noise — letting room settle…";
    }
    std::string operator()(const MicCalibration::Measuring&) const { return "Capturing mic response…"; }
    std::string operator()(const MicCalibration::Computing&) const { return "Computing correction filter…"; }
    std::string operator()(const MicCalibration::Done&) const { return "Correction applied."; }
    std::string operator()(const MicCalibration::Failed& failed) const
    {
        return fmt::format("Measurement failed: {}", failed.message);
    }
};

} // namespace

std::string micCalibrationText(const MicCalibrationState& state)
{
    return std::visit(TextOfState(), state);
}

std::string_view micCorrectionText(bool hasProfile)
{
    return hasProfile ? "Correction measured" : "No measurement — flat response assumed";
}

std::string savedProfileSummary(double offset, bool hasCorrection, std::string_view deviceName)
{
    return fmt::format("Stores current level offset ({:.1f} dB){} for {}.", offset,
                       hasCorrection ? " + freq correction" : "", deviceName);
}

std::string offsetAtSave(double offset)
{
    return fmt::format("Offset at save: {:.1f}", offset);
}

std::string pinController(double target, double tolerance)
{
    return fmt::format("Pin your monitor controller to the {:.0f} ±{:.0f} dBA reference.", target, tolerance);
}

std::string calibratedFor(const TargetCalibrationRecord& record)
{
    return fmt::format("Calibrated for {}", record.outputDeviceName);
}

std::string calibrationAge(const TargetCalibrationRecord& record, Date now)
{
    return fmt::format("{} days ago", record.ageInDays(now));
}

std::optional<std::string> targetMismatch(const TargetCalibrationRecord& record, double currentTarget)
{
    if (!(std::abs(record.targetDBA - currentTarget) > sameTarget))
        return std::nullopt;
    return fmt::format("Captured for {:.0f} dBA target — current target is {:.0f} dBA", record.targetDBA,
                       currentTarget);
}

std::string guidance(bool isCaptureRunning, double reading, double target)
{
    if (!isCaptureRunning)
        return "Waiting for audio…";
    const double delta = reading - target;
    if (std::abs(delta) < onTargetBelow)
        return "On target — capture now";
    return fmt::format("{:.1f} dB {} — adjust monitor controller", std::abs(delta),
                       delta > 0 ? "too loud" : "too quiet");
}

ReadingColor readingColor(double reading, double target, double tolerance)
{
    const double distance = std::abs(reading - target);
    if (distance <= tolerance)
        return ReadingColor::green;
    return distance <= tolerance + yellowBeyondTolerance ? ReadingColor::yellow : ReadingColor::orange;
}

std::string capturedAt(double measured)
{
    return fmt::format("Captured at {:.1f} dBA", measured);
}

std::optional<std::string> outsideBand(double measured, double target, double tolerance)
{
    if (!(std::abs(measured - target) > tolerance))
        return std::nullopt;
    return fmt::format("outside ±{:.0f} band", tolerance);
}

std::string calibrationFailed(std::string_view message)
{
    return fmt::format("Calibration failed: {}", message);
}

} // namespace velmor::CalibrationTexts
