// SPDX-License-Identifier: GPL-3.0-or-later
// The block path on noise blocks of 1024 frames. Per sample: the time over 1024.
//   plain         section outside, sample inside, then one walk for peak and sum, both paths
//   baseline/avx2 the kernel by its vector units
//   chain         what no form can go below: the recursion of one section, a chain of an addition, a
//                 multiplication, a subtraction and an addition a sample, each waiting for the last
#include <base/FlushToZero.h>
#include <level/BlockKernel.h>
#include <level/BlockProcessor.h>
#include <support/PlainBlock.h>
#include <support/Sound.h>

#include <benchmark/benchmark.h>

#include <vector>

namespace velmor {
namespace {

constexpr std::size_t frames = 1024;

struct Filters
{
    AWeightingFilter a{48000};
    CWeightingFilter c{48000};
    std::vector<float> aScratch = std::vector<float>(8192);
    std::vector<float> cScratch = std::vector<float>(8192);
    std::vector<float> block = test::noise(0.1, frames);
};

void countSamples(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(frames));
}

void plain(benchmark::State& state)
{
    Filters filters;
    for (auto _ : state)
        benchmark::DoNotOptimize(
            test::weighPlainly(filters.a, filters.c, filters.block, filters.aScratch, filters.cScratch));
    countSamples(state);
}
BENCHMARK(plain);

void kernel(benchmark::State& state, VectorUnit unit)
{
    if (unit == VectorUnit::avx2 && bestVectorUnit() != unit) {
        state.SkipWithError("this processor has no AVX2");
        return;
    }
    Filters filters;
    const BlockKernel blockKernel(unit);
    for (auto _ : state)
        benchmark::DoNotOptimize(
            blockKernel.weigh(filters.a, filters.c, filters.block, filters.aScratch, filters.cScratch));
    countSamples(state);
}
BENCHMARK_CAPTURE(kernel, baseline, VectorUnit::baseline);
BENCHMARK_CAPTURE(kernel, avx2, VectorUnit::avx2);

void chain(benchmark::State& state)
{
    const Filters filters;
    // The C-weighting's low pass, a section that decays: the values stay ordinary numbers.
    const auto [b0, b1, b2, a1, a2] = filters.c.coefficients()[1];
    std::vector<double> feed(frames);
    std::vector<double> offset(frames);
    for (std::size_t i = 0; i < frames; ++i) {
        feed[i] = b0 * static_cast<double>(filters.block[i]);
        offset[i] = b1 * static_cast<double>(filters.block[i]);
    }
    double s1 = 0;
    for (auto _ : state) {
        for (std::size_t i = 0; i < frames; ++i) {
            const double y = s1 + feed[i];
            s1 = b2 + (offset[i] - a1 * y);
        }
        benchmark::DoNotOptimize(s1);
    }
    countSamples(state);
}
BENCHMARK(chain);

void processor(benchmark::State& state, bool isSilent)
{
    const FlushToZero flushToZero;
    BlockProcessor blockProcessor(94);
    const auto noise = test::noise(0.1, frames);
    const std::vector<float> silence(frames);
    blockProcessor.process(noise.data(), frames);
    for (auto _ : state)
        benchmark::DoNotOptimize(blockProcessor.process(isSilent ? silence.data() : noise.data(), frames));
    countSamples(state);
}
BENCHMARK_CAPTURE(processor, noise, false);
BENCHMARK_CAPTURE(processor, silence_after_noise, true);

} // namespace
} // namespace velmor
