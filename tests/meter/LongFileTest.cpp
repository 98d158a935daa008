// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/Meter.h>
#include <support/Sound.h>
#include <support/TemporaryFolder.h>

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

namespace velmor {
namespace {

/// A WAV file of a steady 1 kHz tone at 32 kHz, which has whole periods in 32 samples: made in no time
/// whatever its length.
std::string writeTone(const test::TemporaryFolder& folder, int seconds, double level, double offset)
{
    constexpr int sampleRate = 32000;
    std::string path = folder / "tone.wav";
    SF_INFO info = {};
    info.samplerate = sampleRate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* file = ::sf_open(path.c_str(), SFM_WRITE, &info);
    const double amplitude = std::numbers::sqrt2 * std::pow(10, (level - offset) / 20);
    const auto second = test::sine(1000, amplitude, sampleRate, sampleRate);
    std::vector<short> samples(second.size());
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<short>(std::lround(second[i] * 32768));
    for (int i = 0; i < seconds; ++i)
        ::sf_write_short(file, samples.data(), sampleRate);
    ::sf_close(file);
    return path;
}

class LongFile : public testing::TestWithParam<std::pair<int, double>>
{};

TEST_P(LongFile, IsTheWholeDoseInTheHoursAllowedAtItsLevel)
{
    const auto [hours, level] = GetParam();
    const test::TemporaryFolder folder;
    const std::string path = writeTone(folder, hours * 3600, level, 100);
    const auto outcome = test::meter({"--json", "--offset", "100", "--start", "2026-03-02T06:00:00Z", path});
    ASSERT_EQ(outcome.status, 0) << outcome.error;
    const test::JsonObject json(outcome.output);
    EXPECT_NEAR(json["currentSPL"], level, 0.005);
    // While the level rises the first tick or two count less: some millionths of the whole.
    EXPECT_NEAR(json["dosePercentage"], 100, 0.05);
    EXPECT_EQ(json["durationSeconds"], hours * 3600);
    EXPECT_EQ(json.texts.at("doseLevel"), "danger");
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_LT(outcome.peakMemoryKiB, 30 * 1024);
#endif
}

INSTANTIATE_TEST_SUITE_P(Levels, LongFile,
                         testing::Values(std::pair(8, 85.0), std::pair(4, 88.0), std::pair(2, 91.0)),
                         [](const auto& instance) {
                             return std::to_string(instance.param.first) + "HoursAt" +
                                    std::to_string(static_cast<int>(instance.param.second));
                         });

} // namespace
} // namespace velmor
