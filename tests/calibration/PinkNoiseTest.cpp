// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/PinkNoiseGenerator.h>
#include <calibration/PinkNoisePlayer.h>
#include <calibration/RealTransform.h>
#include <support/CapturedOutput.h>
#include <support/FakeAudio.h>
#include <support/FakePlayback.h>
#include <support/GoldenFile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <ios>
#include <memory>
#include <string>
#include <vector>

namespace velmor {
namespace {

// pink_noise.py has worked them out, with each operation rounded to 32 bits.
TEST(PinkNoiseGenerator, ItsFirstTenThousandSamplesAreTheExpectedBits)
{
    auto golden = test::openGolden(VELMOR_CALIBRATION_GOLDEN "/pink_noise_golden.txt");
    PinkNoiseGenerator generator;
    golden >> std::hex;
    std::uint32_t expected = 0;
    std::size_t count = 0;
    while (golden >> expected) {
        ASSERT_EQ(std::bit_cast<std::uint32_t>(generator.next()), expected) << "sample " << count;
        ++count;
    }
    EXPECT_EQ(count, 10000U);
}

// Of the filters, all at rest, each gives its share of the first white sample.
TEST(PinkNoiseGenerator, TheFirstSampleFollowsFromTheSeedAloneAndIsNotTheSeed)
{
    std::uint32_t x = 0x1234ABCD;
    x ^= x << 13;
    x ^= x >> 17;
    x ^= x << 5;
    ASSERT_NE(x, 0x1234ABCDU);
    // The top 23 bits as a fraction of one to two.
    const double white = (static_cast<double>(x >> 9) / 8388608.0 + 1 - 1.5) * 2;
    const double shares = 0.0555179 + 0.0750759 + 0.153852 + 0.3104856 + 0.5329522 - 0.016898 + 0.5362;
    EXPECT_NEAR(static_cast<double>(PinkNoiseGenerator().next()), white * shares * 0.11, 1e-8);
}

TEST(PinkNoiseGenerator, TwoRunsAreBitIdentical)
{
    PinkNoiseGenerator first;
    PinkNoiseGenerator second;
    for (int i = 0; i < 100000; ++i)
        ASSERT_EQ(std::bit_cast<std::uint32_t>(first.next()), std::bit_cast<std::uint32_t>(second.next()));
}

TEST(PinkNoiseGenerator, ItsSpectrumFalls3DecibelsAnOctave)
{
    constexpr std::size_t size = 16384;
    constexpr int frames = 1500;
    auto transform = RealTransform::make(size).value();
    const auto window = normalizedHannWindow(size);
    std::vector<double> power(size / 2);
    PinkNoiseGenerator generator;
    std::vector<float> samples(size);
    for (int frame = 0; frame < frames; ++frame) {
        for (std::size_t n = 0; n < size; ++n)
            samples[n] = generator.next() * window[n];
        const auto bins = transform.forward(samples);
        for (std::size_t k = 0; k < power.size(); ++k)
            power[k] += static_cast<double>(std::norm(bins[k]));
    }
    // Pink noise has the same power in each third of an octave.
    const auto levelOfThird = [&](double centre) {
        const double binWidth = 44100.0 / size;
        const double low = centre * std::pow(2, -1.0 / 6) / binWidth;
        const double high = centre * std::pow(2, 1.0 / 6) / binWidth;
        double sum = 0;
        for (auto k = static_cast<std::size_t>(low); k <= static_cast<std::size_t>(high) + 1; ++k) {
            // A bin's share of the third.
            const double from = std::max(low, static_cast<double>(k) - 0.5);
            const double to = std::min(high, static_cast<double>(k) + 0.5);
            sum += power[k] * std::max(to - from, 0.0);
        }
        return 10 * std::log10(sum);
    };
    const double reference = levelOfThird(1000);
    for (double centre = 40; centre <= 16000; centre *= std::pow(2, 1.0 / 3))
        EXPECT_NEAR(levelOfThird(centre), reference, 0.5) << centre << " Hz";
}

class PinkNoisePlayerTest : public testing::Test
{
protected:
    test::FakeAudio audio;
    test::FakePlayback playback;
    PinkNoisePlayer player{playback, audio};
};

TEST_F(PinkNoisePlayerTest, PlaysTheSameSamplesOnBothChannels)
{
    EXPECT_TRUE(player.start(std::nullopt));
    EXPECT_TRUE(player.isPlaying);
    EXPECT_EQ(playback.engine().format, (PlaybackFormat{44100, 2}));
    const auto channels = playback.engine().rendered(500);
    PinkNoiseGenerator generator;
    for (std::size_t i = 0; i < 500; ++i) {
        const float sample = generator.next();
        EXPECT_EQ(channels[0][i], sample);
        EXPECT_EQ(channels[1][i], sample);
    }
}

TEST_F(PinkNoisePlayerTest, AChannelWithoutMemoryIsSkipped)
{
    player.start(std::nullopt);
    std::vector<float> right(10);
    float* const channels[] = {nullptr, right.data()};
    playback.engine().render(channels, 10);
    EXPECT_EQ(right[0], PinkNoiseGenerator().next());
}

TEST_F(PinkNoisePlayerTest, StartingWhilePlayingChangesNothing)
{
    player.start(std::nullopt);
    EXPECT_TRUE(player.start("interface"));
    EXPECT_EQ(playback.engines.size(), 1U);
    EXPECT_EQ(playback.engine().deviceID, std::nullopt);
    EXPECT_TRUE(playback.engine().isStarted);
}

TEST_F(PinkNoisePlayerTest, TwoRunsPlayTheSame)
{
    player.start(std::nullopt);
    const auto first = playback.engine().rendered(1000);
    player.stop();
    player.start(std::nullopt);
    EXPECT_EQ(playback.engine().rendered(1000), first);
}

TEST_F(PinkNoisePlayerTest, PlaysOnTheDeviceOfTheUID)
{
    EXPECT_TRUE(player.start("interface"));
    EXPECT_EQ(playback.engine().deviceID, 12U);
    EXPECT_EQ(playback.engine().calls, (std::vector<std::string>{"connect", "setOutputDevice", "start"}));
}

TEST_F(PinkNoisePlayerTest, PlaysOnTheDefaultWithoutAUIDAndForOneThatIsUnknown)
{
    EXPECT_TRUE(player.start(std::nullopt));
    EXPECT_EQ(playback.engine().deviceID, std::nullopt);
    player.stop();
    EXPECT_TRUE(player.start("mic")); // An input.
    EXPECT_EQ(playback.engine().deviceID, std::nullopt);
    EXPECT_TRUE(player.isPlaying);
}

TEST_F(PinkNoisePlayerTest, StoppingWhileStoppedDoesNothing)
{
    player.stop();
    EXPECT_FALSE(player.isPlaying);
    player.start(std::nullopt);
    player.stop();
    EXPECT_FALSE(playback.engine().isStarted);
    EXPECT_FALSE(playback.engine().observer);
    player.stop();
    EXPECT_FALSE(player.isPlaying);
}

TEST_F(PinkNoisePlayerTest, AConfigurationChangeEndsTheNoiseWithoutARestart)
{
    player.start(std::nullopt);
    const std::weak_ptr engine = playback.engines.back();
    playback.engine().changeConfiguration();
    EXPECT_FALSE(player.isPlaying);
    EXPECT_EQ(playback.engines.size(), 1U);
    // Let go of without being stopped.
    EXPECT_EQ(playback.engine().calls.back(), "start");
    playback.engines.clear();
    EXPECT_TRUE(engine.expired());
    EXPECT_TRUE(player.start(std::nullopt));
}

TEST_F(PinkNoisePlayerTest, AFailedStartIsPrintedAndLeavesItStopped)
{
    playback.prepareEngine = [](auto& engine) { engine.startError = "device busy"; };
    test::CapturedOutput output;
    EXPECT_FALSE(player.start(std::nullopt));
    EXPECT_EQ(output.text(), "[Velmor] PinkNoisePlayer failed to start: device busy\n");
    EXPECT_FALSE(player.isPlaying);
}

TEST_F(PinkNoisePlayerTest, AFormatThatCannotBeMadeIsNotPrinted)
{
    playback.prepareEngine = [](auto& engine) { engine.canPlayFormat = false; };
    test::CapturedOutput output;
    EXPECT_FALSE(player.start(std::nullopt));
    EXPECT_EQ(output.text(), "");
    EXPECT_EQ(playback.engine().calls, std::vector<std::string>{"connect"});
}

TEST_F(PinkNoisePlayerTest, ToggleStartsAndStops)
{
    player.toggle("interface");
    EXPECT_TRUE(player.isPlaying);
    EXPECT_EQ(playback.engine().deviceID, 12U);
    player.toggle("interface");
    EXPECT_FALSE(player.isPlaying);
}

} // namespace
} // namespace velmor
