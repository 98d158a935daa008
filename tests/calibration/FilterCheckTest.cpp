// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/FilterCheck.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

namespace velmor {
namespace {

TEST(FilterCheck, TheGainOfTwoEqualTapsIsACosine)
{
    const std::vector<float> taps = {0.5F, 0.5F};
    EXPECT_NEAR(filterGainDB(taps, 48000, 0), 0, 1e-9);
    // |1 + e^-jw| / 2 = cos(w / 2)
    EXPECT_NEAR(filterGainDB(taps, 48000, 12000), 20 * std::log10(std::cos(std::numbers::pi / 4)), 1e-9);
    EXPECT_NEAR(filterGainDB(taps, 48000, 16000), 20 * std::log10(0.5), 1e-9);
    EXPECT_EQ(filterGainDB({}, 48000, 1000), 0);
    EXPECT_EQ(filterGainDB(std::vector<float>{0}, 48000, 1000), -200);
}

TEST(FilterCheck, TheCurveIsStraightOverTheLogarithmOfFrequencyAndLevelBeyondItsEnds)
{
    const std::vector<FrequencyCurvePoint> curve = {{100, -6}, {1000, 0}, {10000, 4}};
    EXPECT_NEAR(curveGainDB(curve, 100), -6, 1e-9);
    EXPECT_NEAR(curveGainDB(curve, std::sqrt(100.0 * 1000)), -3, 1e-9);
    EXPECT_NEAR(curveGainDB(curve, std::sqrt(1000.0 * 10000)), 2, 1e-9);
    EXPECT_EQ(curveGainDB(curve, 20), -6);
    EXPECT_EQ(curveGainDB(curve, 20000), 4);
    EXPECT_EQ(curveGainDB({}, 1000), 0);
}

TEST(FilterCheck, AFilterThatDoesWhatItsCurveSaysDoesNotDepart)
{
    const MicCorrectionProfile profile{{0.5F}, 48000, {}, {{100, -6.0206F}, {1000, -6.0206F}}};
    EXPECT_NEAR(filterDeparture(profile), 0, 1e-4);
}

TEST(FilterCheck, TheLargestDepartureCountsAlsoBetweenThePointsAt1Kilohertz)
{
    // The filter is flat at 0 dB.
    EXPECT_NEAR(filterDeparture({{1.0F}, 48000, {}, {{100, 3}, {10000, -1}}}), 3, 1e-6);
    EXPECT_NEAR(filterDeparture({{1.0F}, 48000, {}, {{999, 2}, {1001, 2}}}), 2, 1e-6);
    EXPECT_NEAR(filterDeparture({{2.0F}, 48000, {}, {}}), 6.0206, 1e-4);
}

TEST(FilterCheck, WithoutTapsNothingIsFiltered)
{
    EXPECT_EQ(filterDeparture({{}, 48000, {}, {{1000, 3}}}), 3);
}

TEST(FilterCheck, NumbersThatMakeNoFilterAreAsFarAsItGets)
{
    EXPECT_EQ(filterDeparture({{0.0F}, 48000, {}, {{1000, 0}}}), 200);
    EXPECT_EQ(filterDeparture({{1.0F}, 0, {}, {{1000, 0}}}), 200);
    EXPECT_EQ(filterDeparture({{std::numeric_limits<float>::infinity()}, 48000, {}, {}}), 200);
    EXPECT_EQ(filterDeparture({std::vector<float>(2000000), 48000, {}, {}}), 200);
}

} // namespace
} // namespace velmor
