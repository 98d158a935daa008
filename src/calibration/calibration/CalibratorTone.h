// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <calibration/RealTransform.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace velmor {

/// What is wrong with the tone of an acoustic calibrator (IEC 60942).
enum class CalibratorProblem {
    none,
    noTone,
    clipped,
    distorted,      ///< As by a stage that is driven too hard before the input.
    wrongFrequency, ///< More than 2 % off 1 kHz.
    hum,
    handlingNoise,
};

/// One look at the tone.
struct CalibratorReading
{
    CalibratorProblem problem = CalibratorProblem::none;
    double frequency = 0; ///< Hz: of the tone; of the hum or of the wrong tone, where that is the problem.
    double level = 0; ///< Unweighted level of the tone, dB re an RMS of 1. Only where there is no problem.
};

/// A sentence for the user; empty without a problem.
std::string describe(const CalibratorReading& reading);

/// Looks at frames of sound for a calibrator's tone. Main thread.
class CalibratorToneAnalyzer
{
public:
    /// \param sampleRate hertz.
    explicit CalibratorToneAnalyzer(double sampleRate);

    double sampleRate() const { return m_sampleRate; }

    /// Samples of a frame: a power of two, 0.15 to 0.35 seconds.
    std::size_t frameLength() const { return m_window.size(); }

    double frameSeconds() const { return static_cast<double>(frameLength()) / m_sampleRate; }

    CalibratorReading read(std::span<const float> frame);

private:
    struct Tone
    {
        double frequency = 0;
        double power = 0; ///< Of its main lobe.
    };

    double powerBetween(double low, double high) const;
    Tone strongestBetween(double low, double high) const;
    double powerAround(double frequency) const;

    double m_sampleRate;
    std::vector<float> m_window;
    std::vector<float> m_windowed;
    std::optional<RealTransform> m_transform;
    std::vector<double> m_power; ///< Of each bin.
};

} // namespace velmor
