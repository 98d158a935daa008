// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <level/FilterSection.h>

#include <cstddef>
#include <span>
#include <vector>

namespace velmor {

/// The A curve of IEC 61672-1 as a cascade of four second-order sections, with 0 dB at exactly
/// 1 kHz. Has no lock: `process` runs on the capture thread, the other operations only while no
/// block can be under way.
class AWeightingFilter
{
public:
    /// From this rate down, in hertz, the upper corner lies at or beyond Nyquist and the filter diverges.
    static constexpr double divergentSampleRate = 2 * 12194.217;

    /// \param sampleRate hertz. There is no guard against a divergent one.
    explicit AWeightingFilter(double sampleRate);

    /// Builds the cascade anew, registers at zero, unless the rate is exactly the present one.
    void updateSampleRate(double sampleRate);

    /// Filters all samples in place.
    void process(std::span<float> samples);

    /// Filters the first `count` samples in place. A count out of range stops the program.
    void process(std::span<float> samples, std::ptrdiff_t count);

    /// Sets the delay registers to zero.
    void reset();

    const std::vector<SectionCoefficients>& coefficients() const { return m_coefficients; }
    const std::vector<SectionState>& states() const { return m_states; }
    double sampleRate() const { return m_sampleRate; }

private:
    friend class BlockKernel;

    void computeCoefficients();
    void addHighPass2(double angularFrequency, double fs);
    void addLowPass1(double angularFrequency, double fs);

    std::vector<SectionCoefficients> m_coefficients;
    std::vector<SectionState> m_states;
    double m_sampleRate;
};

} // namespace velmor
