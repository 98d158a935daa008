// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/CWeightingFilter.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velmor {

namespace {

/// K of the bilinear transform with the corner prewarped; the corner in hertz.
double prewarped(double frequency, double fs)
{
    return std::tan(frequency * std::numbers::pi / fs);
}

} // namespace

CWeightingFilter::CWeightingFilter(double sampleRate)
    : m_sampleRate(sampleRate)
{
    computeCoefficients();
}

void CWeightingFilter::updateSampleRate(double sampleRate)
{
    if (sampleRate == m_sampleRate)
        return;
    m_sampleRate = sampleRate;
    computeCoefficients();
}

void CWeightingFilter::process(std::span<float> samples)
{
    process(samples, std::ssize(samples));
}

void CWeightingFilter::process(std::span<float> samples, std::ptrdiff_t count)
{
    runCascade(m_coefficients, m_states, samples, count);
}

void CWeightingFilter::reset()
{
    std::ranges::fill(m_states, SectionState{});
}

// IEC 61672-1, annex E: double poles at 20.598997 and 12194.217 Hz, two zeros at DC.
void CWeightingFilter::computeCoefficients()
{
    m_coefficients.clear();
    m_states.clear();
    addHighPass2(20.598997, m_sampleRate);
    addLowPass2(12194.217, m_sampleRate);
    normalizeGainAt1kHz(m_coefficients, m_sampleRate);
}

void CWeightingFilter::addHighPass2(double frequency, double fs)
{
    const double k = prewarped(frequency, fs);
    const double n = 1 / (k * k + (2 * k + 1));
    m_coefficients.push_back({n, -2 * n, n, 2 * (k * k - 1) * n, (k * k + (1 - 2 * k)) * n});
    m_states.push_back({});
}

void CWeightingFilter::addLowPass2(double frequency, double fs)
{
    const double k = prewarped(frequency, fs);
    const double n = 1 / (k * k + (2 * k + 1));
    m_coefficients.push_back(
        {k * k * n, 2 * k * k * n, k * k * n, 2 * (k * k - 1) * n, (k * k + (1 - 2 * k)) * n});
    m_states.push_back({});
}

} // namespace velmor
