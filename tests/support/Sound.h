// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <cstddef>
#include <numbers>
#include <random>
#include <vector>

namespace velmor::test {

/// A sine that begins at phase 0, or in mid-course where `firstFrame` says so.
inline std::vector<float> sine(double frequency, double amplitude, double sampleRate, std::size_t frames,
                               std::size_t firstFrame = 0)
{
    std::vector<float> samples(frames);
    for (std::size_t i = 0; i < frames; ++i) {
        const double phase =
            2 * std::numbers::pi * frequency * static_cast<double>(firstFrame + i) / sampleRate;
        samples[i] = static_cast<float>(amplitude * std::sin(phase));
    }
    return samples;
}

/// White noise of normal distribution, the same in each run.
inline std::vector<float> noise(double standardDeviation, std::size_t frames, unsigned seed = 1)
{
    std::mt19937 generator(seed);
    std::normal_distribution<double> distribution(0, standardDeviation);
    std::vector<float> samples(frames);
    for (float& sample : samples)
        sample = static_cast<float>(distribution(generator));
    return samples;
}

/// The level of an RMS of 1 is the offset; a sine's RMS is its amplitude over the root of 2.
inline double levelOfSine(double amplitude, double offset)
{
    return 20 * std::log10(amplitude / std::numbers::sqrt2) + offset;
}

} // namespace velmor::test
