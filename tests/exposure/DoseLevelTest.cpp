// SPDX-License-Identifier: GPL-3.0-or-later
#include <exposure/DoseLevel.h>

#include <gtest/gtest.h>

#include <cmath>

namespace velmor {
namespace {

TEST(DoseLevel, ABoundaryBelongsToTheHigherBand)
{
    EXPECT_EQ(doseLevelFrom(0), DoseLevel::safe);
    EXPECT_EQ(doseLevelFrom(std::nextafter(40.0, 0)), DoseLevel::safe);
    EXPECT_EQ(doseLevelFrom(40), DoseLevel::caution);
    EXPECT_EQ(doseLevelFrom(std::nextafter(70.0, 0)), DoseLevel::caution);
    EXPECT_EQ(doseLevelFrom(70), DoseLevel::warning);
    EXPECT_EQ(doseLevelFrom(std::nextafter(90.0, 0)), DoseLevel::warning);
    EXPECT_EQ(doseLevelFrom(90), DoseLevel::danger);
    EXPECT_EQ(doseLevelFrom(1000), DoseLevel::danger);
}

TEST(DoseLevel, HasATextToStoreAndOneToRead)
{
    EXPECT_EQ(rawValue(DoseLevel::safe), "safe");
    EXPECT_EQ(rawValue(DoseLevel::caution), "caution");
    EXPECT_EQ(rawValue(DoseLevel::warning), "warning");
    EXPECT_EQ(rawValue(DoseLevel::danger), "danger");
    EXPECT_EQ(label(DoseLevel::safe), "Safe");
    EXPECT_EQ(label(DoseLevel::caution), "Caution");
    EXPECT_EQ(label(DoseLevel::warning), "Warning");
    EXPECT_EQ(label(DoseLevel::danger), "Over-exposed");
}

} // namespace
} // namespace velmor
