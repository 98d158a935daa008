// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/ClipDetector.h>

#include <gtest/gtest.h>

#include <vector>

namespace velmor {
namespace {

TEST(ClipDetector, CountsRunsOfThreeFullScaleSamplesOfEitherSign)
{
    ClipDetector detector;
    EXPECT_EQ(detector.runsIn(std::vector<float>{0, 1, 1, 0.5F, 1, -1, 0}), 0U);
    EXPECT_EQ(detector.runsIn(std::vector<float>{0, 1, 1, 1, 0, -1, -1, -1, -1, -1, 0}), 2U);
}

TEST(ClipDetector, FullScaleIsTheHighestSampleOfSixteenBits)
{
    ClipDetector detector;
    const float highest = 32767.0F / 32768.0F;
    EXPECT_EQ(detector.runsIn(std::vector<float>{highest, highest, highest}), 1U);
    detector.reset();
    const float below = 32766.0F / 32768.0F;
    EXPECT_EQ(detector.runsIn(std::vector<float>{below, below, below}), 0U);
}

TEST(ClipDetector, ARunMayLieAcrossTwoBlocksAndCountsOnce)
{
    ClipDetector detector;
    EXPECT_EQ(detector.runsIn(std::vector<float>{0, 1, 1}), 0U);
    EXPECT_EQ(detector.runsIn({}), 0U);
    EXPECT_EQ(detector.runsIn(std::vector<float>{1, 1, 0}), 1U);
    EXPECT_EQ(detector.runsIn(std::vector<float>{0, 1, 1}), 0U);
    EXPECT_EQ(detector.runsIn(std::vector<float>{0, 0}), 0U);
    EXPECT_EQ(detector.runsIn(std::vector<float>{1, 0}), 0U);
}

TEST(ClipDetector, AResetForgetsTheLastBlock)
{
    ClipDetector detector;
    detector.runsIn(std::vector<float>{1, 1});
    detector.reset();
    EXPECT_EQ(detector.runsIn(std::vector<float>{1, 0}), 0U);
}

} // namespace
} // namespace velmor
