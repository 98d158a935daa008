// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Levels.h>

#include <gtest/gtest.h>

namespace velmor {
namespace {

TEST(Levels, TheEnergyMeanIsNotTheMeanOfTheDecibels)
{
    // 10 lg((10^6 + 10^7) / 2)
    EXPECT_NEAR(energyMean(energyOfLevel(60) + energyOfLevel(70), 2), 67.4036, 0.0001);
    EXPECT_DOUBLE_EQ(energyMean(energyOfLevel(83), 1), 83);
}

TEST(Levels, ThePercentileIndexRoundsHalvesAwayFromZero)
{
    EXPECT_EQ(percentileIndex(0.5, 601), 300);
    EXPECT_EQ(percentileIndex(0.5, 600), 300); // 299.5
    EXPECT_EQ(percentileIndex(0.1, 2), 1);     // 0.9
    EXPECT_EQ(percentileIndex(0.5, 2), 1);     // 0.5
    EXPECT_EQ(percentileIndex(0.9, 2), 0);     // 0.1
    EXPECT_EQ(percentileIndex(0.1, 600), 539); // 539.1
    EXPECT_EQ(percentileIndex(0.9, 600), 60);  // 59.9
    EXPECT_EQ(percentileIndex(0.5, 1), 0);
}

} // namespace
} // namespace velmor
