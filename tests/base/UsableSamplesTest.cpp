// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/UsableSamples.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <limits>

namespace velmor {
namespace {

TEST(UsableSamples, WhatIsNoNumberOrNoSoundBecomesSilenceAndIsCounted)
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    std::array samples = {
        0.5F, std::numeric_limits<float>::quiet_NaN(), -infinity, infinity, -200.0F, 3e38F, -1e20F, 1e-40F};
    EXPECT_EQ(silenceUnusableSamples(samples), 4U);
    EXPECT_THAT(samples, testing::ElementsAre(0.5F, 0.0F, 0.0F, 0.0F, -200.0F, 0.0F, -1e20F, 1e-40F));
    EXPECT_EQ(silenceUnusableSamples({}), 0U);
}

} // namespace
} // namespace velmor
