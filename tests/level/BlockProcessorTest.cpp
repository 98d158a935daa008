// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/BlockProcessor.h>
#include <support/Sound.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <numbers>
#include <thread>
#include <vector>

namespace velmor {
namespace {

using test::levelOfSine;
using test::noise;
using test::sine;

/// Blocks of a sine until the smoothed level has settled.
BlockPeaks settle(BlockProcessor& processor, double frequency, double amplitude)
{
    BlockPeaks peaks;
    for (std::size_t block = 0; block < 200; ++block)
        peaks = processor.process(sine(frequency, amplitude, 48000, 1024, block * 1024).data(), 1024).value();
    return peaks;
}

std::optional<BlockPeaks> process(BlockProcessor& processor, const std::vector<float>& block)
{
    return processor.process(block.data(), block.size());
}

TEST(BlockProcessor, ASineReadsItsLevelAndItsPeakLies3DecibelsAbove)
{
    BlockProcessor processor(94);
    const BlockPeaks peaks = settle(processor, 1000, 0.5);
    EXPECT_NEAR(processor.smoothedDBA(), levelOfSine(0.5, 94), 0.01);
    EXPECT_NEAR(processor.smoothedDBC(), levelOfSine(0.5, 94), 0.01);
    EXPECT_NEAR(peaks.peakDBA, 20 * std::log10(0.5) + 94, 0.01);
    EXPECT_NEAR(peaks.peakDBC, 20 * std::log10(0.5) + 94, 0.01);
    EXPECT_FALSE(peaks.peakAlert);
}

TEST(BlockProcessor, AnotherFrequencyReadsByTheWeightingsOfBothPaths)
{
    BlockProcessor processor(94);
    settle(processor, 4000, 0.5);
    EXPECT_NEAR(processor.smoothedDBA(), levelOfSine(0.5, 94) + 1.26, 0.02);
    EXPECT_NEAR(processor.smoothedDBC(), levelOfSine(0.5, 94) - 0.53, 0.02);
}

TEST(BlockProcessor, DigitalSilenceDecaysByAFactorOf07ABlockAndHasPeaksOfExactlyZero)
{
    BlockProcessor fresh(94);
    const std::vector<float> silence(1024);
    EXPECT_EQ(process(fresh, silence), (BlockPeaks{0, 0, false}));
    EXPECT_EQ(fresh.smoothedDBA(), 0);

    BlockProcessor processor(94);
    settle(processor, 1000, 0.5);
    // The filters ring on; once what is left is below the threshold of silence, nothing counts.
    for (int block = 0; block < 60; ++block)
        process(processor, silence);
    double expectedDBA = processor.smoothedDBA();
    double expectedDBC = processor.smoothedDBC();
    ASSERT_GT(expectedDBA, 0);
    for (int block = 0; block < 20; ++block) {
        EXPECT_EQ(process(processor, silence), (BlockPeaks{0, 0, false}));
        expectedDBA *= 0.7;
        expectedDBC *= 0.7;
        EXPECT_DOUBLE_EQ(processor.smoothedDBA(), expectedDBA);
        EXPECT_DOUBLE_EQ(processor.smoothedDBC(), expectedDBC);
    }
}

TEST(BlockProcessor, AFullScaleSineIsClampedTo0WithoutAnOffsetAndReads97WithOneOf100)
{
    BlockProcessor without(0);
    settle(without, 1000, 1);
    EXPECT_EQ(without.smoothedDBA(), 0); // -3.01 dB
    EXPECT_EQ(without.smoothedDBC(), 0);
    BlockProcessor typical(100);
    settle(typical, 1000, 1);
    EXPECT_NEAR(typical.smoothedDBA(), 96.99, 0.01);
    EXPECT_NEAR(typical.smoothedDBC(), 96.99, 0.01);
}

TEST(BlockProcessor, ALevelAbove140EntersTheSmoothingAs140AndAPeakAbove160IsPublishedAs160)
{
    BlockProcessor processor(200);
    const auto peaks = process(processor, sine(1000, 0.5, 48000, 1024));
    EXPECT_DOUBLE_EQ(processor.smoothedDBA(), 42);
    EXPECT_DOUBLE_EQ(processor.smoothedDBC(), 42);
    EXPECT_EQ(peaks, (BlockPeaks{160, 160, true}));
    process(processor, sine(1000, 0.5, 48000, 1024, 1024));
    EXPECT_DOUBLE_EQ(processor.smoothedDBA(), 42 + 0.7 * 42);
}

TEST(BlockProcessor, SmoothingTakes03OfTheNewLevelInDecibelsRisingAndFalling)
{
    // One level holds within a block of whole periods once the filters have settled.
    BlockProcessor processor(94);
    settle(processor, 1000, 0.5);
    for (const double amplitude : {0.05, 0.05, 0.8}) {
        // The filters take some blocks for themselves; compare the recursion with their own level.
        const double before = processor.smoothedDBA();
        process(processor, sine(1000, amplitude, 48000, 1024));
        const double taken = (processor.smoothedDBA() - 0.7 * before) / 0.3;
        EXPECT_NEAR(taken, levelOfSine(amplitude, 94), 1.5);
    }
}

TEST(BlockProcessor, ABlockOf8193FramesChangesNothingAndOneOf8192IsProcessed)
{
    BlockProcessor processor(94);
    EXPECT_FALSE(process(processor, noise(0.1, 8193)));
    EXPECT_EQ(processor.smoothedDBA(), 0);
    EXPECT_TRUE(process(processor, noise(0.1, 8192)));
    EXPECT_GT(processor.smoothedDBA(), 0);

    // The filters did not see the long block.
    BlockProcessor other(94);
    process(other, noise(0.1, 8192));
    EXPECT_EQ(processor.smoothedDBA(), other.smoothedDBA());
    EXPECT_EQ(process(processor, noise(0.1, 100)), process(other, noise(0.1, 100)));
}

TEST(BlockProcessor, ABlockWithoutSamplesIsNone)
{
    BlockProcessor processor(94);
    EXPECT_FALSE(processor.process(nullptr, 1024));
    const float sample = 0.5F;
    EXPECT_FALSE(processor.process(&sample, 0));
    EXPECT_EQ(processor.smoothedDBA(), 0);
}

TEST(BlockProcessor, APeakOfExactly135AlertsAndTheFirstLaterBlockBelowItDoesNot)
{
    // A sound above full scale, so that its level without an offset is above 0 and can be seen.
    const auto block = sine(1000, 4, 48000, 1024);
    const double level = process(*std::make_unique<BlockProcessor>(0), block)->peakDBC;
    ASSERT_GT(level, 10);
    const double offset = 135.0 - level;
    ASSERT_EQ(level + offset, 135.0);

    BlockProcessor processor(offset);
    const auto peaks = process(processor, block);
    EXPECT_EQ(peaks->peakDBC, 135.0);
    EXPECT_TRUE(peaks->peakAlert);
    const auto quieter = process(processor, std::vector<float>(1024));
    EXPECT_LT(quieter->peakDBC, 135.0);
    EXPECT_FALSE(quieter->peakAlert);

    processor.setCalibrationOffset(std::nextafter(offset, 0));
    processor.prepare(48000);
    EXPECT_FALSE(process(processor, block)->peakAlert);
}

TEST(BlockProcessor, ANewOffsetTakesEffectFromTheNextBlock)
{
    BlockProcessor processor(90);
    settle(processor, 1000, 0.5);
    const double before = processor.smoothedDBA();
    processor.setCalibrationOffset(100);
    EXPECT_EQ(processor.smoothedDBA(), before);
    const auto peaks = process(processor, sine(1000, 0.5, 48000, 1024, 200 * 1024));
    EXPECT_NEAR(processor.smoothedDBA(), before + 0.3 * 10, 0.01);
    EXPECT_NEAR(peaks->peakDBA, 20 * std::log10(0.5) + 100, 0.01);
}

TEST(BlockProcessor, TheRawSampleCallbackGetsTheUnweightedBlockAndTheRate)
{
    BlockProcessor processor(94);
    processor.prepare(44100);
    std::vector<float> seen;
    double seenRate = 0;
    processor.setRawSampleCallback([&](std::span<const float> samples, double rate) {
        seen.assign(samples.begin(), samples.end());
        seenRate = rate;
    });
    const auto block = noise(0.1, 500);
    const auto peaks = process(processor, block);
    EXPECT_EQ(seen, block);
    EXPECT_EQ(seenRate, 44100);

    BlockProcessor without(94);
    without.prepare(44100);
    EXPECT_EQ(process(without, block), peaks);
    seen.clear();
    processor.setRawSampleCallback(nullptr);
    process(processor, block);
    EXPECT_TRUE(seen.empty());
}

TEST(BlockProcessor, PreparingStartsFromSilence)
{
    const auto block = noise(0.1, 1024);
    BlockProcessor fresh(94);
    const auto expected = process(fresh, block);

    BlockProcessor processor(94);
    process(processor, noise(0.5, 1024, 2));
    processor.prepare(48000);
    EXPECT_EQ(processor.smoothedDBA(), 0);
    EXPECT_EQ(processor.smoothedDBC(), 0);
    EXPECT_EQ(process(processor, block), expected);
    EXPECT_EQ(processor.smoothedDBA(), fresh.smoothedDBA());
}

TEST(BlockProcessor, AChangeOfTheRateWhileBlocksRunIsFollowedByTheNextBlock)
{
    const auto block = noise(0.1, 1024);
    BlockProcessor fresh(94);
    fresh.prepare(96000);
    const auto expected = process(fresh, block);

    BlockProcessor processor(94);
    process(processor, block);
    processor.changeSampleRate(96000);
    EXPECT_EQ(processor.sampleRate(), 96000);
    EXPECT_EQ(process(processor, block), expected);
    EXPECT_EQ(processor.smoothedDBA(), fresh.smoothedDBA());
}

// For the thread sanitizer: what the main thread may do while blocks run.
TEST(BlockProcessor, EverythingMayBeChangedWhileBlocksRun)
{
    BlockProcessor processor(94);
    std::atomic<bool> ends = false;
    std::atomic<int> callbacks = 0;
    std::thread capture([&] {
        const auto block = noise(0.1, 1024);
        while (!ends)
            process(processor, block);
    });
    for (int i = 0; i < 200; ++i) {
        processor.setCalibrationOffset(90 + i % 10);
        processor.changeSampleRate(i % 2 == 0 ? 44100 : 48000);
        int ownedByTheMainThread = 0;
        processor.setRawSampleCallback([&](std::span<const float>, double) {
            ++ownedByTheMainThread;
            ++callbacks;
        });
        std::this_thread::sleep_for(std::chrono::microseconds(200));
        EXPECT_GE(processor.smoothedDBA(), 0);
        processor.setRawSampleCallback(nullptr);
        // The callback has ended for good: what it used may go.
        ownedByTheMainThread = -1;
    }
    ends = true;
    capture.join();
    EXPECT_GT(callbacks, 0);
}

} // namespace
} // namespace velmor
