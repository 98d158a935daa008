// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/CalibrationTexts.h>

#include <gtest/gtest.h>

namespace velmor {
namespace {

using namespace CalibrationTexts;

const Date day = dateFromIsoText("2026-03-02T09:00:00Z").value();
const TargetCalibrationRecord record{day, "interface", "Interface", 79, 3, 78.6, ""};

TEST(CalibrationTexts, TellWhereTheMeasurementOfTheMicrophoneStands)
{
    EXPECT_EQ(micCalibrationText(MicCalibration::Idle()), "");
    EXPECT_EQ(micCalibrationText(MicCalibration::Settling()), "Playing pink noise — letting room settle…");
    EXPECT_EQ(micCalibrationText(MicCalibration::Measuring{0.5}), "Capturing mic response…");
    EXPECT_EQ(micCalibrationText(MicCalibration::Computing()), "Computing correction filter…");
    EXPECT_EQ(micCalibrationText(MicCalibration::Done()), "Correction applied.");
    EXPECT_EQ(micCalibrationText(MicCalibration::Failed{"Could not start microphone input"}),
              "Measurement failed: Could not start microphone input");
    EXPECT_EQ(micCorrectionText(true), "Correction measured");
    EXPECT_EQ(micCorrectionText(false), "No measurement — flat response assumed");
}

TEST(CalibrationTexts, TellWhatAProfileKeeps)
{
    EXPECT_EQ(savedProfileSummary(94, true, "Mic"),
              "Stores current level offset (94.0 dB) + freq correction for Mic.");
    EXPECT_EQ(savedProfileSummary(101.25, false, "Mic"), "Stores current level offset (101.2 dB) for Mic.");
    EXPECT_EQ(offsetAtSave(94), "Offset at save: 94.0");
}

TEST(CalibrationTexts, TellWhatTheControllerIsPinnedTo)
{
    EXPECT_EQ(pinController(79, 3), "Pin your monitor controller to the 79 ±3 dBA reference.");
    EXPECT_EQ(calibratedFor(record), "Calibrated for Interface");
    EXPECT_EQ(calibrationAge(record, day + std::chrono::hours(24 * 12)), "12 days ago");
    EXPECT_EQ(capturedAt(78.64), "Captured at 78.6 dBA");
    EXPECT_EQ(calibrationFailed("x"), "Calibration failed: x");
}

TEST(CalibrationTexts, TellOfAnotherTargetBeyondATenthOfADecibel)
{
    EXPECT_EQ(targetMismatch(record, 79), std::nullopt);
    EXPECT_EQ(targetMismatch(record, 79.0625), std::nullopt);
    EXPECT_EQ(targetMismatch({day, "", "", 79, 3, 0, ""}, 79.1), std::nullopt);
    EXPECT_EQ(targetMismatch(record, 79.125), "Captured for 79 dBA target — current target is 79 dBA");
    EXPECT_EQ(targetMismatch(record, 83), "Captured for 79 dBA target — current target is 83 dBA");
}

TEST(CalibrationTexts, GuideTheHandOnTheController)
{
    EXPECT_EQ(guidance(false, 79, 79), "Waiting for audio…");
    EXPECT_EQ(guidance(true, 79, 79), "On target — capture now");
    EXPECT_EQ(guidance(true, 79.4375, 79), "On target — capture now");
    EXPECT_EQ(guidance(true, 79.5, 79), "0.5 dB too loud — adjust monitor controller");
    EXPECT_EQ(guidance(true, 78.5, 79), "0.5 dB too quiet — adjust monitor controller");
    EXPECT_EQ(guidance(true, 90.25, 79), "11.2 dB too loud — adjust monitor controller");
}

TEST(CalibrationTexts, ColourTheReadingByItsDistance)
{
    EXPECT_EQ(readingColor(82, 79, 3), ReadingColor::green);
    EXPECT_EQ(readingColor(76, 79, 3), ReadingColor::green);
    EXPECT_EQ(readingColor(82.125, 79, 3), ReadingColor::yellow);
    EXPECT_EQ(readingColor(85, 79, 3), ReadingColor::yellow);
    EXPECT_EQ(readingColor(85.125, 79, 3), ReadingColor::orange);
    EXPECT_EQ(readingColor(0, 79, 3), ReadingColor::orange);
}

TEST(CalibrationTexts, TellOfACaptureOutsideOfTheBand)
{
    EXPECT_EQ(outsideBand(82, 79, 3), std::nullopt);
    EXPECT_EQ(outsideBand(82.125, 79, 3), "outside ±3 band");
    EXPECT_EQ(outsideBand(75, 79, 3), "outside ±3 band");
}

} // namespace
} // namespace velmor
