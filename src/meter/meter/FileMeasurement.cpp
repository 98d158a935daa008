// SPDX-License-Identifier: GPL-3.0-or-later
#include <meter/FileMeasurement.h>

#include <base/FlushToZero.h>
#include <base/Print.h>
#include <base/VirtualMainLoop.h>
#include <meter/FileInput.h>
#include <meter/MeasuredHub.h>
#include <meter/MeterError.h>
#include <meter/SoundFile.h>

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

namespace velmor {

namespace {

const std::chrono::nanoseconds tickInterval = nanosecondsFrom(AppState::tickIntervalSeconds);

/// Blocks between two looks at whether the measurement is to go on.
constexpr std::int64_t blocksBetweenLooks = 64;

/// How long the given number of frames sounds, to the nanosecond below.
std::chrono::nanoseconds duration(std::int64_t frames, int sampleRate)
{
    const std::int64_t seconds = frames / sampleRate;
    const std::int64_t rest = frames % sampleRate;
    return std::chrono::seconds(seconds) + std::chrono::nanoseconds(rest * 1'000'000'000 / sampleRate);
}

/// The first tick at or after a moment; there is none at the start itself.
std::chrono::nanoseconds tickAtOrAfter(std::chrono::nanoseconds moment)
{
    const auto ticks = (moment + tickInterval - std::chrono::nanoseconds(1)) / tickInterval;
    return std::max<std::int64_t>(ticks, 1) * tickInterval;
}

void check(const Options& options, const SoundFile& file)
{
    if (options.channel > file.channelCount())
        throw MeterError(fmt::format("{}: no channel {}, the file has {}", options.file, options.channel,
                                     file.channelCount()));
    if (file.sampleRate() <= AWeightingFilter::divergentSampleRate)
        throw MeterError(
            fmt::format("{}: a sample rate of {} Hz is too low for A-weighting (above {:.0f} Hz)",
                        options.file, file.sampleRate(), AWeightingFilter::divergentSampleRate));
}

} // namespace

std::optional<Summary> measureFile(const Options& options, const std::function<bool(double share)>& progress)
{
    SoundFile file(options.file);
    check(options, file);
    const Date start = options.start.value_or(std::chrono::system_clock::now());
    VirtualMainLoop loop(start);
    FileInput input(file);
    MeasuredHub measured(loop, input, input, options);

    Summary summary;
    summary.file = options.file;
    summary.channel = options.channel;
    summary.channelCount = file.channelCount();
    summary.conservative = options.conservative;

    const FlushToZero flushToZero;
    // How a file is routed is no news; what becomes of a history is.
    setPrintedLines(PrintedLines::nowhere);
    measured.start(FileInput::uid, std::filesystem::path(options.file).filename().native());
    if (!options.historyFolder.empty())
        setPrintedLines(PrintedLines::onStandardError);
    while (const std::size_t frames = input.readBlock()) {
        summary.frames += static_cast<std::int64_t>(frames);
        loop.runBefore(start + duration(summary.frames, file.sampleRate()));
        input.deliverBlock();
        loop.runPosted();
        if (measured.blockCount() % blocksBetweenLooks == 0) {
            const auto total = static_cast<double>(file.frameCount().value_or(0));
            const double share = total > 0 ? std::min(static_cast<double>(summary.frames) / total, 1.0) : 0;
            if (progress(share))
                return std::nullopt;
        }
    }
    if (progress(1))
        return std::nullopt;
    loop.runUntil(start + tickAtOrAfter(duration(summary.frames, file.sampleRate())));
    measured.finish(summary);
    return summary;
}

} // namespace velmor
