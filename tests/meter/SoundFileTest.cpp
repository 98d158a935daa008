// SPDX-License-Identifier: GPL-3.0-or-later
#include <meter/MeterError.h>
#include <meter/SoundFile.h>
#include <support/Sound.h>
#include <support/TemporaryFolder.h>
#include <support/WriteSound.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace velmor {
namespace {

using test::TemporaryFolder;
using test::writeSound;

std::vector<float> readAll(SoundFile& file, int channel)
{
    std::vector<float> samples;
    std::vector<float> chunk(1000);
    while (const std::size_t count = file.read(channel, chunk))
        samples.insert(samples.end(), chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(count));
    return samples;
}

TEST(SoundFile, ReadsOneChannelOfManyFormats)
{
    const TemporaryFolder folder;
    const std::vector<std::vector<float>> channels = {test::sine(100, 0.5, 48000, 5000),
                                                      test::sine(200, 0.25, 48000, 5000),
                                                      test::sine(300, 0.125, 48000, 5000)};
    struct Format
    {
        int code;
        double tolerance;
    };
    for (const auto& [code, tolerance] :
         {Format{SF_FORMAT_WAV | SF_FORMAT_FLOAT, 0}, Format{SF_FORMAT_WAV | SF_FORMAT_PCM_16, 4e-5},
          Format{SF_FORMAT_RF64 | SF_FORMAT_PCM_24, 2e-7}, Format{SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 2e-7},
          Format{SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 4e-5}, Format{SF_FORMAT_OGG | SF_FORMAT_VORBIS, 0.05}}) {
        const std::string path = folder / "sound";
        writeSound(path, channels, 48000, code);
        for (int channel = 0; channel < 3; ++channel) {
            SoundFile file(path);
            EXPECT_EQ(file.sampleRate(), 48000);
            EXPECT_EQ(file.channelCount(), 3);
            EXPECT_EQ(file.frameCount(), 5000);
            const auto samples = readAll(file, channel);
            ASSERT_EQ(samples.size(), 5000U);
            for (std::size_t i = 0; i < samples.size(); ++i)
                ASSERT_NEAR(samples[i], channels[static_cast<std::size_t>(channel)][i], tolerance)
                    << std::hex << code << " " << i;
        }
    }
}

TEST(SoundFile, SamplesThatAreNoNumbersBecomeSilenceAndAreCounted)
{
    const TemporaryFolder folder;
    const std::string path = folder / "sound.wav";
    constexpr float infinity = std::numeric_limits<float>::infinity();
    writeSound(path, {{0.5F, std::nanf(""), 150.0F, -infinity}}, 48000);
    SoundFile file(path);
    EXPECT_EQ(readAll(file, 0), (std::vector<float>{0.5F, 0, 150.0F, 0}));
    EXPECT_EQ(file.unusableSamples(), 2U);
}

TEST(SoundFile, AFileCutShortEndsEarly)
{
    const TemporaryFolder folder;
    const std::string path = folder / "sound.wav";
    writeSound(path, {test::sine(100, 0.5, 48000, 5000)}, 48000);
    std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2);
    SoundFile file(path);
    EXPECT_LT(readAll(file, 0).size(), 5000U);
}

TEST(SoundFile, WhatCantBeReadIsRefusedWithItsReason)
{
    const TemporaryFolder folder;
    const auto reasonFor = [](const std::string& path) -> std::string {
        try {
            SoundFile file(path);
        } catch (const MeterError& error) {
            return error.what();
        }
        return "none";
    };
    const std::string missing = folder / "missing.wav";
    EXPECT_EQ(reasonFor(missing), missing + ": No such file or directory");
    EXPECT_EQ(reasonFor(folder.path()), folder.path().native() + ": is a folder");
    test::writeFile(folder / "text.wav", "no sound at all");
    EXPECT_NE(reasonFor(folder / "text.wav").find("text.wav: not a sound file that can be read ("),
              std::string::npos);
    test::writeFile(folder / "empty.wav", "");
    EXPECT_NE(reasonFor(folder / "empty.wav").find("not a sound file"), std::string::npos);
}

} // namespace
} // namespace velmor
