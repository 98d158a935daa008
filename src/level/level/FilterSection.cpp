// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/FilterSection.h>

#include <base/Print.h>

#include <cmath>
#include <cstddef>

namespace velmor {

void runSection(const SectionCoefficients& coefficients, SectionState& state, std::span<float> samples)
{
    const auto [b0, b1, b2, a1, a2] = coefficients;
    auto [s1, s2] = state;
    for (float& sample : samples) {
        const double x = static_cast<double>(sample);
        const double y = s1 + b0 * x;
        sample = static_cast<float>(y);
        s1 = s2 + (b1 * x - a1 * y);
        s2 = b2 * x - a2 * y;
    }
    state = {s1, s2};
}

void runCascade(const std::vector<SectionCoefficients>& coefficients, std::vector<SectionState>& states,
                std::span<float> samples, std::ptrdiff_t count)
{
    if (count < 0 || count > std::ssize(samples))
        stopOnProgrammingError(fmt::format("a filter was given {} samples of {}", count, samples.size()));
    for (std::size_t i = 0; i < coefficients.size(); ++i)
        runSection(coefficients[i], states[i], samples.first(static_cast<std::size_t>(count)));
}

void normalizeGainAt1kHz(std::vector<SectionCoefficients>& coefficients, double fs)
{
    if (coefficients.empty())
        return;

    const double w = 6283.185307179586 / fs;
    const double cosW = std::cos(w);
    const double sinW = std::sin(w);
    const double cos2W = std::cos(2 * w);
    const double sin2W = std::sin(2 * w);

    double gain = 1.0;
    for (const auto& [b0, b1, b2, a1, a2] : coefficients) {
        const double numeratorRe = b0 + b1 * cosW + b2 * cos2W;
        const double numeratorIm = b1 * sinW + b2 * sin2W;
        const double denominatorRe = 1.0 + a1 * cosW + a2 * cos2W;
        const double denominatorIm = a1 * sinW + a2 * sin2W;
        gain *= std::sqrt(numeratorRe * numeratorRe + numeratorIm * numeratorIm) /
                std::sqrt(denominatorRe * denominatorRe + denominatorIm * denominatorIm);
    }
    if (!(gain > 0.0))
        return;

    const double correction = 1.0 / gain;
    auto& first = coefficients.front();
    first[0] *= correction;
    first[1] *= correction;
    first[2] *= correction;
}

} // namespace velmor
