// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/MicFrequencyCorrection.h>

#include <base/JsonRecord.h>
#include <platform/MemoryDefaultsStore.h>
#include <support/PlainCorrelation.h>
#include <support/Sound.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace velmor {
namespace {

MicCorrectionProfile profileWith(std::vector<float> taps, double sampleRate = 48000)
{
    return {std::move(taps), sampleRate, dateFromIsoText("2026-03-02T09:00:00Z").value(), {{1000, -1.5F}}};
}

class MicFrequencyCorrectionTest : public testing::Test
{
protected:
    void make() { correction = std::make_unique<MicFrequencyCorrection>(defaults); }

    std::vector<float> applied(std::vector<float> samples, double sampleRate = 48000)
    {
        correction->apply(samples, sampleRate);
        return samples;
    }

    void store(std::string_view json) { defaults.set("micCorrectionProfile", dataOf(json)); }

    MemoryDefaultsStore defaults;
    std::unique_ptr<MicFrequencyCorrection> correction;
};

TEST_F(MicFrequencyCorrectionTest, WithoutStoredDataThereIsNoProfileAndSamplesPassUnchanged)
{
    make();
    EXPECT_EQ(correction->profile.get(), std::nullopt);
    EXPECT_FALSE(correction->isEnabled);
    correction->isEnabled = true;
    EXPECT_EQ(applied({1, 2, 3}), (std::vector<float>{1, 2, 3}));
}

TEST_F(MicFrequencyCorrectionTest, WritesBackAtOnceWhetherItIsOn)
{
    make();
    EXPECT_EQ(defaults.get<bool>("micFreqCorrectionEnabled"), false);
    correction->isEnabled = true;
    EXPECT_EQ(defaults.get<bool>("micFreqCorrectionEnabled"), true);
}

TEST_F(MicFrequencyCorrectionTest, CorrelatesWithoutReversingTheTaps)
{
    make();
    correction->save(profileWith({1, 2, 3}));
    correction->isEnabled = true;
    // Two zeros stand before the first samples: out[i] = 1 x[i - 2] + 2 x[i - 1] + 3 x[i].
    EXPECT_EQ(applied({1, 10, 100}), (std::vector<float>{3, 32, 321}));
    EXPECT_EQ(applied({1000}), (std::vector<float>{3210}));
}

TEST_F(MicFrequencyCorrectionTest, BlocksOfAnyLengthJoinWithoutASeam)
{
    make();
    const auto taps = test::noise(0.3, 128);
    const auto sound = test::noise(0.5, 8000);
    correction->save(profileWith(taps));
    correction->isEnabled = true;
    std::vector<float> joined(127);
    joined.insert(joined.end(), sound.begin(), sound.end());
    const auto expected = test::correlatePlainly(joined, taps, sound.size());

    std::vector<float> result = sound;
    std::span<float> rest = result;
    for (const std::size_t length : {1U, 5U, 0U, 126U, 127U, 128U, 1024U, 1023U, 1025U, 3000U}) {
        correction->apply(rest.first(length), 48000);
        rest = rest.subspan(length);
    }
    correction->apply(rest, 48000);
    EXPECT_EQ(result, expected);
}

TEST_F(MicFrequencyCorrectionTest, AnotherRatePassesUnchangedAndFilteringResumesOnTheStaleTail)
{
    make();
    correction->save(profileWith({1, 1}, 48000));
    correction->isEnabled = true;
    EXPECT_EQ(applied({5}), std::vector<float>{5});
    EXPECT_EQ(applied({7, 8}, 44100), (std::vector<float>{7, 8}));
    EXPECT_EQ(applied({1}), std::vector<float>{6}); // 5 is still the sample before it.
}

TEST_F(MicFrequencyCorrectionTest, TurningItOnBeginsFromSilenceAlsoWhenItIsOn)
{
    make();
    correction->save(profileWith({1, 1}));
    correction->isEnabled = true;
    EXPECT_EQ(applied({5}), std::vector<float>{5});
    EXPECT_EQ(applied({1}), std::vector<float>{6});
    correction->isEnabled = true;
    EXPECT_EQ(applied({1}), std::vector<float>{1});
    correction->isEnabled = false;
    EXPECT_EQ(applied({9}), std::vector<float>{9});
    correction->isEnabled = true;
    EXPECT_EQ(applied({2}), std::vector<float>{2});
}

TEST_F(MicFrequencyCorrectionTest, ClearLeavesNeitherKeyNorProfile)
{
    make();
    correction->save(profileWith({2}));
    correction->isEnabled = true;
    correction->clear();
    EXPECT_EQ(correction->profile.get(), std::nullopt);
    EXPECT_FALSE(correction->isEnabled);
    EXPECT_EQ(defaults.value("micCorrectionProfile"), std::nullopt);
    EXPECT_EQ(defaults.value("micFreqCorrectionEnabled"), std::nullopt);
    correction->isEnabled = true;
    EXPECT_EQ(applied({1}), std::vector<float>{1});
}

TEST_F(MicFrequencyCorrectionTest, UndecodableDataLeavesNoProfileAndIsKept)
{
    for (const std::string text :
         {"", "{", "[]", R"({"taps":[1],"sampleRate":48000,"measuredDate":0})",
          R"({"taps":[1e39],"sampleRate":48000,"measuredDate":0,"correctionCurve":[]})",
          R"({"taps":[1],"sampleRate":48000,"measuredDate":0,"correctionCurve":[{"frequency":1}]})",
          R"({"taps":[null],"sampleRate":48000,"measuredDate":0,"correctionCurve":[]})"}) {
        defaults.set("micFreqCorrectionEnabled", true);
        store(text);
        make();
        EXPECT_EQ(correction->profile.get(), std::nullopt) << text;
        EXPECT_TRUE(correction->isEnabled);
        EXPECT_EQ(defaults.get<DefaultsData>("micCorrectionProfile"), dataOf(text));
        EXPECT_EQ(applied({1, 2}), (std::vector<float>{1, 2}));
    }
}

TEST_F(MicFrequencyCorrectionTest, OneTapScalesTheSamples)
{
    make();
    correction->save(profileWith({0.5F}));
    correction->isEnabled = true;
    EXPECT_EQ(applied({2, -4, 6}), (std::vector<float>{1, -2, 3}));
    EXPECT_EQ(applied({2}), std::vector<float>{1});
}

TEST_F(MicFrequencyCorrectionTest, NoTapsPassUnchanged)
{
    make();
    correction->save(profileWith({}));
    correction->isEnabled = true;
    EXPECT_EQ(applied({2, -4}), (std::vector<float>{2, -4}));
}

TEST_F(MicFrequencyCorrectionTest, NoSamplesLeaveTheMemoryAsItIs)
{
    make();
    correction->save(profileWith({1, 1}));
    correction->isEnabled = true;
    EXPECT_EQ(applied({5}), std::vector<float>{5});
    EXPECT_EQ(applied({}), std::vector<float>{});
    EXPECT_EQ(applied({1}), std::vector<float>{6});
}

TEST_F(MicFrequencyCorrectionTest, SaveDoesNotTurnItOn)
{
    make();
    correction->save(profileWith({2}));
    EXPECT_FALSE(correction->isEnabled);
    EXPECT_EQ(defaults.get<bool>("micFreqCorrectionEnabled"), false);
    EXPECT_EQ(applied({1}), std::vector<float>{1});
}

TEST_F(MicFrequencyCorrectionTest, SaveBeginsFromSilence)
{
    make();
    correction->save(profileWith({1, 1}));
    correction->isEnabled = true;
    EXPECT_EQ(applied({5}), std::vector<float>{5});
    correction->save(profileWith({1, 1}));
    EXPECT_EQ(applied({1}), std::vector<float>{1});
}

TEST_F(MicFrequencyCorrectionTest, WhileAWriterHoldsTheLockSamplesPassUnchangedAtOnce)
{
    make();
    correction->save(profileWith({2}));
    correction->isEnabled = true;
    // The profile is published in the middle of save(), under the lock.
    std::vector<float> meanwhile;
    const Subscription subscription = correction->profile.subscribe([&](const auto&) {
        std::thread([&] { meanwhile = applied({1, 2}); }).join();
    });
    correction->save(profileWith({3}));
    EXPECT_EQ(meanwhile, (std::vector<float>{1, 2}));
    EXPECT_EQ(applied({1, 2}), (std::vector<float>{3, 6}));
}

TEST_F(MicFrequencyCorrectionTest, IsStoredAsOneObjectAndSurvivesARestart)
{
    make();
    const auto profile = profileWith({0.1F, 1e-12F, -0.25F}, 44100);
    correction->save(profile);
    correction->isEnabled = true;
    EXPECT_EQ(textOf(defaults.get<DefaultsData>("micCorrectionProfile").value()),
              R"({"taps":[0.1,1e-12,-0.25],"sampleRate":44100,"measuredDate":794134800,)"
              R"("correctionCurve":[{"frequency":1000,"gainDB":-1.5}]})");
    make();
    EXPECT_EQ(correction->profile.get(), profile);
    EXPECT_TRUE(correction->isEnabled);
    EXPECT_NE(applied({1}, 44100), std::vector<float>{1});
}

TEST_F(MicFrequencyCorrectionTest, ReloadTakesWhatSomebodyElseHasWritten)
{
    make();
    correction->save(profileWith({2}));
    defaults.set("micFreqCorrectionEnabled", true);
    store(encodedJson(profileWith({3})).value());
    correction->reload();
    EXPECT_EQ(correction->profile.get(), profileWith({3}));
    EXPECT_TRUE(correction->isEnabled);
    EXPECT_EQ(applied({1}), std::vector<float>{3});

    store("{}");
    correction->reload();
    EXPECT_EQ(correction->profile.get(), std::nullopt);
    EXPECT_EQ(applied({1}), std::vector<float>{1});

    defaults.remove("micCorrectionProfile");
    defaults.remove("micFreqCorrectionEnabled");
    correction->reload();
    EXPECT_EQ(correction->profile.get(), std::nullopt);
    EXPECT_FALSE(correction->isEnabled);
    EXPECT_EQ(defaults.get<bool>("micFreqCorrectionEnabled"), false);
}

TEST_F(MicFrequencyCorrectionTest, ATapThatIsNoNumberIsNotStoredAndStandsInMemory)
{
    make();
    correction->save(profileWith({2}));
    const auto stored = defaults.get<DefaultsData>("micCorrectionProfile");
    correction->save(profileWith({std::numeric_limits<float>::infinity()}));
    EXPECT_EQ(defaults.get<DefaultsData>("micCorrectionProfile"), stored);
    EXPECT_EQ(correction->profile.get()->taps.front(), std::numeric_limits<float>::infinity());
}

TEST_F(MicFrequencyCorrectionTest, WritersAndTheCaptureThreadDoNotDisturbOneAnother)
{
    make();
    std::atomic<bool> ends = false;
    std::atomic<int> blocks = 0;
    std::thread capture([&] {
        std::vector<float> block(1024);
        while (!ends) {
            std::ranges::fill(block, 1.0F);
            correction->apply(block, 48000);
            // Each block is either as it was or wholly of one profile, whose four taps begin from silence.
            const float middle = block[512];
            EXPECT_TRUE(middle == 1.0F || middle == 2.0F || middle == 8.0F) << middle;
            EXPECT_EQ(block.back(), middle);
            EXPECT_TRUE(block.front() == middle || (middle == 8.0F && block.front() == 4.0F));
            ++blocks;
        }
    });
    for (int round = 0; round < 300; ++round) {
        correction->save(profileWith({2}));
        correction->isEnabled = true;
        correction->save(profileWith({1, 1, 2, 4}));
        correction->reload();
        if (round % 3 == 0)
            correction->clear();
    }
    while (blocks == 0)
        std::this_thread::yield();
    ends = true;
    capture.join();
}

} // namespace
} // namespace velmor
