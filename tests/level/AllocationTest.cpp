// SPDX-License-Identifier: GPL-3.0-or-later
// Counts what the whole program allocates.
#include <level/BlockProcessor.h>
#include <level/MicFrequencyCorrection.h>
#include <platform/MemoryDefaultsStore.h>
#include <support/Sound.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::int64_t> allocations = 0;

} // namespace

// Not inlined, so that the compiler doesn't take one half of a pair for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    ++allocations;
    if (void* memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace velmor {
namespace {

/// Allocations while blocks of many lengths are processed.
std::int64_t allocationsOf(BlockProcessor& processor)
{
    const auto sound = test::noise(0.1, 8193);
    const std::int64_t before = allocations;
    for (const std::size_t frames : {1U, 15U, 1024U, 1024U, 8192U, 8193U})
        processor.process(sound.data(), frames);
    return allocations - before;
}

TEST(Allocations, TheBlockPathMakesNone)
{
    BlockProcessor processor(94);
    EXPECT_EQ(allocationsOf(processor), 0);
    double sum = 0;
    processor.setRawSampleCallback(
        [&sum](std::span<const float> samples, double) { sum += double(samples[0]); });
    EXPECT_EQ(allocationsOf(processor), 0);
}

TEST(Allocations, TheCorrectionMakesNone)
{
    MemoryDefaultsStore defaults;
    MicFrequencyCorrection correction(defaults);
    correction.save({test::noise(0.1, 128), 48000, {}, {}});
    correction.isEnabled = true;
    BlockProcessor processor(94);
    processor.setMicFreqCorrection(&correction);
    EXPECT_EQ(allocationsOf(processor), 0);
}

TEST(Allocations, FollowingAnotherRateMakesNone)
{
    BlockProcessor processor(94);
    for (const double rate : {44100.0, 192000.0, 48000.0}) {
        processor.changeSampleRate(rate);
        EXPECT_EQ(allocationsOf(processor), 0);
    }
}

TEST(Allocations, AreCounted)
{
    const std::int64_t before = allocations;
    const auto sound = test::noise(0.1, 100);
    EXPECT_GT(allocations, before);
}

} // namespace
} // namespace velmor
