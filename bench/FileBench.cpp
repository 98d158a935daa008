// SPDX-License-Identifier: GPL-3.0-or-later
// The whole of velmor-meter on an hour of noise at 48 kHz, mono. The file is in the page cache.
#include <support/RunProgram.h>
#include <support/Sound.h>
#include <support/TemporaryFolder.h>

#include <benchmark/benchmark.h>
#include <sndfile.h>

#include <algorithm>
#include <string>

namespace velmor {
namespace {

constexpr int sampleRate = 48000;
constexpr int seconds = 3600;

void hourOfWav(benchmark::State& state, int subformat)
{
    const test::TemporaryFolder folder;
    const std::string path = folder / "hour.wav";
    SF_INFO info = {};
    info.samplerate = sampleRate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | subformat;
    SNDFILE* file = ::sf_open(path.c_str(), SFM_WRITE, &info);
    const auto minute = test::noise(0.05, 60 * sampleRate);
    for (int i = 0; i < seconds / 60; ++i)
        ::sf_writef_float(file, minute.data(), static_cast<sf_count_t>(minute.size()));
    ::sf_close(file);

    test::run({VELMOR_METER, path});
    long peakMemoryKiB = 0;
    for (auto _ : state) {
        const auto outcome = test::run({VELMOR_METER, "--json", path});
        if (outcome.status != 0)
            state.SkipWithError("the meter failed");
        peakMemoryKiB = std::max(peakMemoryKiB, outcome.peakMemoryKiB);
    }
    state.counters["times_real_time"] = benchmark::Counter(
        static_cast<double>(seconds) * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["peak_MiB"] = static_cast<double>(peakMemoryKiB) / 1024;
}
BENCHMARK_CAPTURE(hourOfWav, pcm16, SF_FORMAT_PCM_16)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3);
BENCHMARK_CAPTURE(hourOfWav, pcm24, SF_FORMAT_PCM_24)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3);
BENCHMARK_CAPTURE(hourOfWav, float32, SF_FORMAT_FLOAT)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3);

} // namespace
} // namespace velmor
