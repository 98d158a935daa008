// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/AlertSound.h>
#include <linux/PollMainLoop.h>
#include <support/PrivateAudioSession.h>
#include <support/Sound.h>
#include <support/WriteSound.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace velmor {
namespace {

class AlertSoundTest : public testing::Test
{
protected:
    void writeTheme(const char* name, const std::vector<std::vector<float>>& channels) const
    {
        const auto sounds = folder / "sounds/freedesktop/stereo";
        std::filesystem::create_directories(sounds);
        test::writeSound(sounds / name, channels, 48000);
    }

    std::optional<ThemeSound> read(const char* name) const
    {
        return readThemeSound({folder.path()}, name, 0.05F);
    }

    static float peakOf(const std::vector<float>& samples)
    {
        float peak = 0;
        for (const float sample : samples)
            peak = std::max(peak, std::abs(sample));
        return peak;
    }

    test::TemporaryFolder folder;
};

TEST_F(AlertSoundTest, ASoundIsNeverLouderThanAModestPeak)
{
    writeTheme("loud.wav", {test::sine(500, 1, 48000, 4800), test::sine(500, 0.5, 48000, 4800)});
    const auto loud = read("loud");
    ASSERT_TRUE(loud);
    EXPECT_EQ(loud->channelCount, 2);
    EXPECT_EQ(loud->sampleRate, 48000);
    EXPECT_EQ(loud->samples.size(), 9600U);
    EXPECT_NEAR(peakOf(loud->samples), 0.05, 1e-4);

    writeTheme("broken.wav", {{0.1F, std::numeric_limits<float>::quiet_NaN(),
                               std::numeric_limits<float>::infinity(), 1e30F, -1e30F}});
    const auto broken = read("broken");
    ASSERT_TRUE(broken);
    EXPECT_LE(peakOf(broken->samples), 0.05F);

    writeTheme("soft.wav", {test::sine(500, 0.01, 48000, 4800)});
    EXPECT_NEAR(peakOf(read("soft")->samples), 0.01, 1e-4);
    EXPECT_EQ(alertSoundPeak(NotificationSound::critical), 0.05F);
    EXPECT_EQ(alertSoundPeak(NotificationSound::standard), 0.025F);
}

TEST_F(AlertSoundTest, OnlyTheBeginningOfALongOneIsPlayed)
{
    writeTheme("long.wav", {test::sine(500, 0.1, 48000, 10 * 48000)});
    EXPECT_EQ(read("long")->samples.size(), 5U * 48000);
}

TEST_F(AlertSoundTest, WhatCannotBeReadIsNone)
{
    EXPECT_FALSE(read("missing"));
    writeTheme("many.wav", {{0.1F}, {0.1F}, {0.1F}});
    EXPECT_FALSE(read("many"));
    test::writeFile(folder / "sounds/freedesktop/stereo/text.oga", "no sound");
    EXPECT_FALSE(read("text"));
}

TEST_F(AlertSoundTest, IsPlayedOnTheDefaultOutputAtAModestLevel)
{
    test::PrivateAudioSession session;
    if (!session.problem().empty()) {
        ASSERT_FALSE(test::packagesMustBeThere()) << session.problem();
        // Without its packages there is nothing real to test against; where CI runs they are installed.
        GTEST_SKIP() << "no PipeWire can be started here: " << session.problem();
    }
    session.createNode("speakers", "Audio/Sink", "FL FR");
    writeTheme("alert.wav", {test::sine(500, 1, 48000, 24000), test::sine(500, 1, 48000, 24000)});
    const std::string recording = session / "recording.wav";
    {
        const test::Companion recorder({"pw-cat", "--record", "--format", "f32", "--target", "speakers",
                                        "--properties", "{ stream.capture.sink=true }", recording});
        ASSERT_TRUE(session.waitUntil([] {
            return test::run({"pw-link", "-l"}).output.find("speakers:monitor_FR") != std::string::npos;
        }));
        PollMainLoop loop;
        PipeWireGraph graph(loop);
        AlertSound sound(loop, graph, {folder.path()});
        sound.play("missing", NotificationSound::critical);
        // The critical one takes the other's place.
        sound.play("alert", NotificationSound::standard);
        sound.play("alert", NotificationSound::critical);
        sound.play("alert", NotificationSound::standard);
        loop.after(3, [&] { loop.quit(); });
        loop.run();
    }
    SF_INFO info = {};
    SNDFILE* file = ::sf_open(recording.c_str(), SFM_READ, &info);
    ASSERT_TRUE(file);
    std::vector<float> samples(static_cast<std::size_t>(info.frames * info.channels));
    ::sf_read_float(file, samples.data(), static_cast<sf_count_t>(samples.size()));
    ::sf_close(file);
    EXPECT_NEAR(peakOf(samples), 0.05, 0.003);
    // Half a second of it, not all the time.
    const auto sounding =
        std::ranges::count_if(samples, [](float sample) { return std::abs(sample) > 0.001F; });
    EXPECT_NEAR(static_cast<double>(sounding), 2 * 24000, 3000);
}

} // namespace
} // namespace velmor
