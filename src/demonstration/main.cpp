// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>
#include <sndfile.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <vector>

namespace {

constexpr int sampleRate = 48000;
constexpr double offsetDB = 94.0; ///< The default calibration offset: the level of an RMS of 1.

double amplitudeOfSine(double level)
{
    return std::numbers::sqrt2 * std::pow(10.0, (level - offsetDB) / 20);
}

void appendTone(std::vector<float>& sound, double seconds, double level)
{
    const double amplitude = amplitudeOfSine(level);
    const auto frames = static_cast<int>(seconds * sampleRate);
    for (int i = 0; i < frames; ++i)
        sound.push_back(
            static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * 1000 * i / sampleRate)));
}

/// White noise, each value from -1 to 1, through three one-pole low passes whose corners lie a decade
/// and a half apart: their sum falls by 3 dB an octave within half a decibel.
void appendPinkNoise(std::vector<float>& sound, double seconds, double gain)
{
    std::uint64_t seed = 1;
    double b0 = 0;
    double b1 = 0;
    double b2 = 0;
    const auto frames = static_cast<int>(seconds * sampleRate);
    for (int i = 0; i < frames; ++i) {
        seed = seed * 6364136223846793005U + 1442695040888963407U;
        const double white = static_cast<double>(seed >> 11) / 4503599627370496.0 - 1;
        b0 = 0.99765 * b0 + white * 0.0990460;
        b1 = 0.96300 * b1 + white * 0.2965164;
        b2 = 0.57000 * b2 + white * 1.0526913;
        sound.push_back(static_cast<float>(gain * (b0 + b1 + b2 + white * 0.1848)));
    }
}

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 2) {
        fmt::print(stderr, "velmor-demonstration: name the file to write\n");
        return 2;
    }
    std::vector<float> sound;
    appendTone(sound, 20, 85.0);
    // Far above full scale, which a file of floating-point samples can hold: a sine's peak lies 3 dB
    // above its level.
    appendTone(sound, 0.2, 135.0);
    appendPinkNoise(sound, 20, 0.1);

    SF_INFO info = {};
    info.samplerate = sampleRate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* file = ::sf_open(arguments[1], SFM_WRITE, &info);
    const auto frames = static_cast<sf_count_t>(sound.size());
    const bool isWritten =
        file && ::sf_writef_float(file, sound.data(), frames) == frames && ::sf_close(file) == 0;
    if (!isWritten)
        fmt::print(stderr, "velmor-demonstration: {} can't be written\n", arguments[1]);
    return isWritten ? EXIT_SUCCESS : EXIT_FAILURE;
}
