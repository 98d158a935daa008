// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/CaptureThread.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <mutex>
#include <thread>
#include <vector>

namespace velmor {
namespace {

/// Gathers what a tap gets.
struct Received
{
    std::mutex mutex;
    std::vector<float> samples;
    std::vector<std::size_t> lengths;

    CaptureEngine::Tap tap()
    {
        return [this](const float* block, std::size_t frames) {
            const std::lock_guard lock(mutex);
            samples.insert(samples.end(), block, block + frames);
            lengths.push_back(frames);
        };
    }

    /// Waits until so many samples are there.
    bool waitFor(std::size_t count)
    {
        for (int i = 0; i < 2000; ++i) {
            {
                const std::lock_guard lock(mutex);
                if (samples.size() >= count)
                    return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return false;
    }
};

TEST(CaptureThread, CutsWhatComesIntoBlocksOfOneLengthWithoutLosingASample)
{
    Received received;
    CaptureThread capture(1024, received.tap());
    std::vector<float> sound(100 * 1024);
    for (std::size_t i = 0; i < sound.size(); ++i)
        sound[i] = static_cast<float>(i);
    std::size_t sent = 0;
    for (std::size_t size = 1; sent < sound.size(); size = size % 3000 + 257) {
        const std::size_t length = std::min(size, sound.size() - sent);
        capture.push(std::span(sound).subspan(sent, length));
        sent += length;
    }
    ASSERT_TRUE(received.waitFor(sound.size()));
    const std::lock_guard lock(received.mutex);
    EXPECT_EQ(received.samples, sound);
    EXPECT_EQ(received.lengths, std::vector<std::size_t>(100, 1024));
    EXPECT_EQ(capture.lostSamples(), 0U);
    EXPECT_EQ(capture.unusableSamples(), 0U);
}

TEST(CaptureThread, HandsOnFiniteSamplesOnlyAndCountsTheOthers)
{
    Received received;
    CaptureThread capture(4, received.tap());
    const std::vector<float> sound = {0.5F, std::nanf(""), -std::numeric_limits<float>::infinity(), -0.5F};
    capture.push(sound);
    ASSERT_TRUE(received.waitFor(4));
    const std::lock_guard lock(received.mutex);
    EXPECT_EQ(received.samples, (std::vector<float>{0.5F, 0, 0, -0.5F}));
    EXPECT_EQ(capture.unusableSamples(), 2U);
}

TEST(CaptureThread, TreatsDenormalsAsZero)
{
    std::atomic<double> half = 1;
    std::atomic<bool> isDone = false;
    CaptureThread capture(1, [&](const float*, std::size_t) {
        volatile double smallest = std::numeric_limits<double>::min();
        half = smallest / 2;
        isDone = true;
    });
    const float sample = 0;
    capture.push({&sample, 1});
    for (int i = 0; i < 2000 && !isDone; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(half, 0);
}

TEST(CaptureThread, CountsWhatFindsNoRoom)
{
    std::atomic<bool> mayGoOn = false;
    CaptureThread capture(1024, [&](const float*, std::size_t) {
        while (!mayGoOn)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    });
    const std::vector<float> second(48000);
    for (int i = 0; i < 4; ++i)
        capture.push(second);
    EXPECT_GT(capture.lostSamples(), 48000U);
    EXPECT_LT(capture.lostSamples(), 4 * 48000U);
    mayGoOn = true;
}

TEST(CaptureThread, EndsWithoutABlockUnderWay)
{
    std::atomic<int> blocks = 0;
    for (int i = 0; i < 50; ++i) {
        CaptureThread capture(16, [&](const float*, std::size_t) { ++blocks; });
        const std::vector<float> sound(1600);
        capture.push(sound);
    }
    const int atTheEnd = blocks;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(blocks, atTheEnd);
}

} // namespace
} // namespace velmor
