// SPDX-License-Identifier: GPL-3.0-or-later
#include <meter/CalibrationTasks.h>

#include <base/JsonRecord.h>
#include <calibration/FilterCheck.h>
#include <calibration/MicResponseAnalysis.h>
#include <calibration/PinkNoiseGenerator.h>
#include <calibration/PinkNoisePlayer.h>
#include <meter/MeterError.h>
#include <meter/OutputFile.h>
#include <meter/SoundFile.h>

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <vector>

namespace velmor {

namespace {

constexpr std::size_t chunkFrames = 4096;

MicCorrectionProfile profileOf(const Options& options)
{
    SoundFile recording(options.file);
    if (options.channel > recording.channelCount())
        throw MeterError(fmt::format("{}: no channel {}, the file has {}", options.file, options.channel,
                                     recording.channelCount()));
    MicResponseAccumulator accumulator;
    accumulator.reset();
    std::vector<float> samples(chunkFrames);
    while (!accumulator.isComplete()) {
        const std::size_t count = recording.read(options.channel - 1, samples);
        accumulator.receive(std::span(samples).first(count));
        if (count < samples.size())
            break;
    }
    if (!accumulator.transform())
        throw MeterError("FFT setup unavailable");
    if (!accumulator.isComplete())
        throw MeterError(fmt::format("{}: too short, {} samples of noise are needed", options.file,
                                     MicResponse::sampleCount));
    return micCorrectionProfile(accumulator.accumulatedPower(), accumulator.framesAccumulated(),
                                recording.sampleRate(), *accumulator.transform(),
                                std::chrono::system_clock::now());
}

std::string humanText(const Options& options, const MicCorrectionProfile& profile)
{
    std::string text = fmt::format("{}\nCorrection at {} Hz, {} taps\n\n", options.file, profile.sampleRate,
                                   profile.taps.size());
    for (const FrequencyCurvePoint& point : profile.correctionCurve)
        fmt::format_to(std::back_inserter(text), "{:>9.0f} Hz{:>+8.1f} dB\n", point.frequency, point.gainDB);
    fmt::format_to(std::back_inserter(text), "\nThe filter departs from this curve by {:.1f} dB at most.\n",
                   filterDeparture(profile));
    return text;
}

} // namespace

void writeNoise(const Options& options)
{
    const int channels = PinkNoisePlayer::format.channelCount;
    const double rate = PinkNoisePlayer::format.sampleRate;
    const auto frames = static_cast<std::size_t>(std::llround(options.seconds.value() * rate));
    std::vector<float> samples;
    samples.reserve(frames * static_cast<std::size_t>(channels));
    PinkNoiseGenerator generator;
    for (std::size_t frame = 0; frame < frames; ++frame)
        samples.insert(samples.end(), static_cast<std::size_t>(channels), generator.next());
    OutputFile file(options.noisePath);
    file.write(waveFile(samples, channels, static_cast<int>(rate)));
    file.commit();
}

std::string analyzeMicResponse(const Options& options)
{
    const MicCorrectionProfile profile = profileOf(options);
    if (options.json)
        return encodedJson(profile, JsonWriter::Layout::pretty).value() + "\n";
    return humanText(options, profile);
}

} // namespace velmor
