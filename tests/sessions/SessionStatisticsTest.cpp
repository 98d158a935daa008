// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/Session.h>
#include <support/SampleSessions.h>

#include <gtest/gtest.h>

#include <chrono>
#include <vector>

namespace velmor {
namespace {

Session sessionOf(const std::vector<double>& levels)
{
    Session session = newSession("REAPER", test::moment("2025-03-02T09:00:00Z"));
    for (std::size_t i = 0; i < levels.size(); ++i)
        session.readings.push_back(
            {session.startDate + std::chrono::seconds(10 * (i + 1)), levels[i], 0, 0, {}});
    return session;
}

TEST(SessionStatistics, ThereAreNoneWithoutReadingsOrWithOne)
{
    EXPECT_FALSE(sessionOf({}).statistics());
    EXPECT_FALSE(sessionOf({80}).statistics());
}

TEST(SessionStatistics, TwoReadingsHaveTheirEnergyMeanAndTheNearestLevels)
{
    const auto statistics = sessionOf({60, 70}).statistics().value();
    // 10 * log10((10^6 + 10^7) / 2)
    EXPECT_NEAR(statistics.leq, 67.4036, 0.0001);
    EXPECT_EQ(statistics.l10, 70);
    EXPECT_EQ(statistics.l50, 70);
    EXPECT_EQ(statistics.l90, 60);
}

TEST(SessionStatistics, AnIndexThatLiesBetweenTwoIsTheOneFartherFromZero)
{
    // Six readings: the half of 5 is 2.5, which is the fourth in ascending order.
    EXPECT_EQ(sessionOf({6, 5, 4, 3, 2, 1}).statistics().value().l50, 4);
}

TEST(SessionStatistics, LevelsAreSortedAndNothingIsInterpolated)
{
    const auto statistics = sessionOf({90, 50, 80, 60, 70, 55, 65, 75, 85, 95, 45}).statistics().value();
    // 45 50 55 60 65 70 75 80 85 90 95: places 9, 5 and 1.
    EXPECT_EQ(statistics.l10, 90);
    EXPECT_EQ(statistics.l50, 70);
    EXPECT_EQ(statistics.l90, 50);
}

TEST(SessionStatistics, EqualLevelsAreTheirOwnMean)
{
    const auto statistics = sessionOf(std::vector<double>(2880, 83.25)).statistics().value();
    EXPECT_NEAR(statistics.leq, 83.25, 1e-9);
    EXPECT_EQ(statistics.l10, 83.25);
    EXPECT_EQ(statistics.l90, 83.25);
}

TEST(SessionStatistics, CWeightedLevelsAndZonesPlayNoPart)
{
    Session session = sessionOf({60, 70});
    const auto expected = session.statistics();
    session.readings[0].dBC = 120;
    session.readings[0].zone = Zone::over;
    EXPECT_EQ(session.statistics(), expected);
}

} // namespace
} // namespace velmor
