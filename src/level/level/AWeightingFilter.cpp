// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/AWeightingFilter.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velmor {

namespace {

constexpr double pi = std::numbers::pi;

/// K of the bilinear transform with the corner prewarped; the corner in radians per second.
double prewarped(double angularFrequency, double fs)
{
    return std::tan((angularFrequency / 6.283185307179586) * pi / fs);
}

} // namespace

AWeightingFilter::AWeightingFilter(double sampleRate)
    : m_sampleRate(sampleRate)
{
    computeCoefficients();
}

void AWeightingFilter::updateSampleRate(double sampleRate)
{
    if (sampleRate == m_sampleRate)
        return;
    m_sampleRate = sampleRate;
    computeCoefficients();
}

void AWeightingFilter::process(std::span<float> samples)
{
    process(samples, std::ssize(samples));
}

void AWeightingFilter::process(std::span<float> samples, std::ptrdiff_t count)
{
    runCascade(m_coefficients, m_states, samples, count);
}

void AWeightingFilter::reset()
{
    std::ranges::fill(m_states, SectionState{});
}

// The poles of the A curve (IEC 61672-1, annex E) lie at 20.598997, 107.65265, 737.86223 and
// 12194.217 Hz. The 12194 Hz pair takes two of the zeros at DC and the two middle poles become
// low passes: the product is the same curve up to a factor, which the normalisation takes out. The
// samples between sections are rounded to 32 bits, so the order and grouping decide the last bits.
void AWeightingFilter::computeCoefficients()
{
    m_coefficients.clear();
    m_states.clear();
    addHighPass2(129.42731529303637, m_sampleRate);
    addHighPass2(76618.52508695953, m_sampleRate);
    addLowPass1(676.4015487589464, m_sampleRate);
    addLowPass1(4636.125122258764, m_sampleRate);
    normalizeGainAt1kHz(m_coefficients, m_sampleRate);
}

void AWeightingFilter::addHighPass2(double angularFrequency, double fs)
{
    const double k = prewarped(angularFrequency, fs);
    const double n = 1 / (k * k + (2 * k + 1));
    m_coefficients.push_back({n, -2 * n, n, 2 * (k * k - 1) * n, (k * k + (1 - 2 * k)) * n});
    m_states.push_back({});
}

void AWeightingFilter::addLowPass1(double angularFrequency, double fs)
{
    const double k = prewarped(angularFrequency, fs);
    const double n = 1 / (k + 1);
    m_coefficients.push_back({k * n, k * n, 0, (k - 1) * n, 0});
    m_states.push_back({});
}

} // namespace velmor
