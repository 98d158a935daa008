// SPDX-License-Identifier: GPL-3.0-or-later
// The correction's 128 taps on blocks of 1024 samples (per sample: the time over 1024), and what a
// measurement costs.
//   plainDotProduct     one sum after the other, each addition waiting for the one before it
//   correlation         the tiled one, by vector units
//   correction          a block through MicFrequencyCorrection
//   measurementCapture  the capture thread's part for 1024 samples
//   analysis            from the sum of 200 frames to the profile
#include <base/FlushToZero.h>
#include <calibration/MicResponseAnalysis.h>
#include <calibration/PinkNoiseGenerator.h>
#include <level/MicFrequencyCorrection.h>
#include <level/TapCorrelation.h>
#include <platform/MemoryDefaultsStore.h>
#include <support/PlainCorrelation.h>
#include <support/Sound.h>

#include <benchmark/benchmark.h>

#include <vector>

namespace velmor {
namespace {

constexpr std::size_t frames = 1024;
constexpr std::size_t tapCount = 128;

struct Filter
{
    std::vector<float> taps = test::noise(0.1, tapCount, 2);
    std::vector<float> joined = test::noise(0.1, frames + tapCount - 1);
    std::vector<float> output = std::vector<float>(frames);
};

void countSamples(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(frames));
}

void plainDotProduct(benchmark::State& state)
{
    Filter filter;
    for (auto _ : state) {
        for (std::size_t i = 0; i < frames; ++i)
            filter.output[i] = test::plainDotProduct(filter.joined.data() + i, filter.taps);
        benchmark::DoNotOptimize(filter.output.data());
        benchmark::ClobberMemory();
    }
    countSamples(state);
}
BENCHMARK(plainDotProduct);

void correlation(benchmark::State& state, VectorUnit unit)
{
    if (unit == VectorUnit::avx2 && bestVectorUnit() != unit) {
        state.SkipWithError("this processor has no AVX2");
        return;
    }
    Filter filter;
    for (auto _ : state) {
        correlate(filter.joined, filter.taps, filter.output, unit);
        benchmark::DoNotOptimize(filter.output.data());
        benchmark::ClobberMemory();
    }
    countSamples(state);
}
BENCHMARK_CAPTURE(correlation, baseline, VectorUnit::baseline);
BENCHMARK_CAPTURE(correlation, avx2, VectorUnit::avx2);

void correction(benchmark::State& state)
{
    MemoryDefaultsStore defaults;
    MicFrequencyCorrection filter(defaults);
    filter.save({test::noise(0.1, tapCount, 2), 48000, {}, {}});
    filter.isEnabled = true;
    const FlushToZero flushToZero;
    std::vector<float> block = test::noise(0.1, frames);
    const std::vector<float> source = block;
    for (auto _ : state) {
        block = source;
        filter.apply(block, 48000);
        benchmark::DoNotOptimize(block.data());
    }
    countSamples(state);
}
BENCHMARK(correction);

std::vector<float> recordedNoise()
{
    PinkNoiseGenerator generator;
    std::vector<float> samples(MicResponse::sampleCount);
    for (float& sample : samples)
        sample = generator.next();
    return samples;
}

void measurementCapture(benchmark::State& state)
{
    const auto samples = recordedNoise();
    MicResponseAccumulator accumulator;
    accumulator.reset();
    const FlushToZero flushToZero;
    std::size_t position = 0;
    for (auto _ : state) {
        if (position + frames > samples.size()) {
            state.PauseTiming();
            accumulator.reset();
            position = 0;
            state.ResumeTiming();
        }
        accumulator.receive({samples.data() + position, frames});
        position += frames;
    }
}
BENCHMARK(measurementCapture)->Unit(benchmark::kMicrosecond);

void analysis(benchmark::State& state)
{
    MicResponseAccumulator accumulator;
    accumulator.reset();
    accumulator.receive(recordedNoise());
    for (auto _ : state) {
        const auto transform = RealTransform::make(MicResponse::fftSize);
        benchmark::DoNotOptimize(
            micCorrectionProfile(accumulator.accumulatedPower(), 200, 48000, *transform, Date()));
    }
}
BENCHMARK(analysis)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace velmor
