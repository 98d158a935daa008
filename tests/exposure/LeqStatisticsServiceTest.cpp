// SPDX-License-Identifier: GPL-3.0-or-later
#include <exposure/LeqStatisticsService.h>
#include <support/PlainLeq.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace velmor {
namespace {

void add(LeqStatisticsService& service, int count, double level)
{
    for (int i = 0; i < count; ++i)
        service.addReading(level);
}

TEST(LeqStatisticsService, TheFirstMinuteShowsNothingAndItsLastReadingAllOfTheMinute)
{
    LeqStatisticsService service(10.0);
    add(service, 599, 80);
    EXPECT_FALSE(service.leq1min.get());
    EXPECT_FALSE(service.l10.get());
    add(service, 1, 80);
    EXPECT_NEAR(service.leq1min.get().value(), 80, 1e-9);
    EXPECT_EQ(service.l10.get(), 80);
    EXPECT_EQ(service.l50.get(), 80);
    EXPECT_EQ(service.l90.get(), 80);
    EXPECT_FALSE(service.leq10min.get());
}

TEST(LeqStatisticsService, ThePercentileLevelsWaitForTheNextFullSecond)
{
    LeqStatisticsService service(10.5); // 630 readings a minute, an update every 10
    add(service, 629, 70);
    EXPECT_FALSE(service.l50.get());
    add(service, 1, 70);
    EXPECT_TRUE(service.l50.get());

    LeqStatisticsService other(10.25); // 615 readings a minute
    add(other, 615, 70);
    EXPECT_TRUE(other.leq1min.get());
    EXPECT_FALSE(other.l50.get());
    add(other, 5, 70);
    EXPECT_TRUE(other.l50.get());
}

TEST(LeqStatisticsService, TheThirtyMinuteLevelComesWithItsLastReadingAndStays)
{
    LeqStatisticsService service(10.0);
    add(service, 1, 120);
    add(service, 17998, 60);
    EXPECT_FALSE(service.leq30min.get());
    add(service, 1, 60);
    // One reading of 120 dB among 17999 of 60 dB.
    EXPECT_NEAR(service.leq30min.get().value(), 10 * std::log10((1e12 + 17999e6) / 18000), 1e-9);
    // The 18001st takes the loud one out.
    add(service, 1, 60);
    EXPECT_NEAR(service.leq30min.get().value(), 60, 1e-9);
    EXPECT_NEAR(service.leq10min.get().value(), 60, 1e-9);
}

TEST(LeqStatisticsService, TheMeanIsOneOfEnergies)
{
    // 20 readings a minute: ten of 80 dB and ten of 60 dB make 10 lg((10^8 + 10^6) / 2).
    LeqStatisticsService service(20.0 / 60);
    add(service, 10, 80);
    add(service, 10, 60);
    EXPECT_NEAR(service.leq1min.get().value(), 77.033, 0.001);
}

TEST(LeqStatisticsService, ThePercentileIsTheElementAtTheRoundedIndex)
{
    LeqStatisticsService service(10.0);
    for (int i = 0; i < 600; ++i)
        service.addReading(600 - i);   // 1 to 600 in descending order
    EXPECT_EQ(service.l50.get(), 301); // index round(299.5) = 300 from 0
    EXPECT_EQ(service.l10.get(), 540); // index round(539.1)
    EXPECT_EQ(service.l90.get(), 61);  // index round(59.9)

    // With 601 readings and an update at each of them the index of the median is 300, too.
    LeqStatisticsService other(0.99); // 59 readings a minute
    for (int i = 0; i < 601; ++i)
        other.addReading(i);
    EXPECT_EQ(other.l50.get(), 300);
}

TEST(LeqStatisticsService, TheLevelsAreInOrder)
{
    LeqStatisticsService service(10.0);
    std::mt19937 generator(7);
    std::normal_distribution<double> level(78, 9);
    for (int i = 0; i < 30000; ++i) {
        service.addReading(level(generator));
        if (service.l10.get()) {
            ASSERT_LE(service.l90.get(), service.l50.get());
            ASSERT_LE(service.l50.get(), service.l10.get());
        }
    }
}

TEST(LeqStatisticsService, AResetForgetsAll)
{
    LeqStatisticsService service(10.0);
    add(service, 20007, 85);
    ASSERT_TRUE(service.leq30min.get());
    service.reset();
    const auto isEmpty = [&] {
        return !service.leq1min.get() && !service.leq10min.get() && !service.leq30min.get() &&
               !service.l10.get() && !service.l50.get() && !service.l90.get();
    };
    EXPECT_TRUE(isEmpty());
    add(service, 1, 85);
    EXPECT_TRUE(isEmpty());
    add(service, 598, 70);
    EXPECT_TRUE(isEmpty());
    add(service, 1, 70);
    EXPECT_NEAR(service.leq1min.get().value(), 10 * std::log10((std::pow(10, 8.5) + 599e7) / 600), 1e-9);
    EXPECT_EQ(service.l50.get(), 70);
}

TEST(LeqStatisticsService, ARateBelowOneUpdatesThePercentileLevelsOnEveryReading)
{
    LeqStatisticsService service(0.5); // 30 readings a minute
    add(service, 30, 60);
    EXPECT_EQ(service.l50.get(), 60);
    add(service, 1, 90);
    EXPECT_EQ(service.l10.get(), 60);
    add(service, 3, 90);
    EXPECT_EQ(service.l10.get(), 90); // 4 of 34: index round(29.7) = 30
}

TEST(LeqStatisticsService, ARateBelowOneAMinuteTakesEachReadingForAMinute)
{
    LeqStatisticsService service(1.0 / 100);
    add(service, 1, 73);
    EXPECT_NEAR(service.leq1min.get().value(), 73, 1e-12);
    EXPECT_EQ(service.l90.get(), 73);
    add(service, 1, 93);
    EXPECT_NEAR(service.leq1min.get().value(), 93, 1e-12);
    add(service, 4, 93);
    EXPECT_TRUE(service.leq10min.get()); // 6 readings
    EXPECT_FALSE(service.leq30min.get());
}

TEST(LeqStatisticsServiceDeathTest, ARateWithoutACountableNumberOfReadingsStopsTheProgram)
{
    const auto inf = std::numeric_limits<double>::infinity();
    const auto nan = std::numeric_limits<double>::quiet_NaN();
    for (const double rate : {inf, -inf, nan, 1e16, -1e16})
        EXPECT_DEATH(LeqStatisticsService service(rate), "programming error") << rate;
}

/// Levels as a day has them: steady, jumping, silence, a burst that would leave a running sum in error.
double levelAt(int reading, std::mt19937& generator)
{
    std::uniform_real_distribution<double> spread(-6, 6);
    const int stretch = reading / 2500 % 5;
    if (reading % 9001 == 42)
        return 138.5;
    if (stretch == 1)
        return 0;
    if (stretch == 3)
        return 71.25; // many equal ones
    return (stretch == 4 ? -20 : 80) + spread(generator);
}

void expectSameBits(double rate, int readings, int resetAt)
{
    SCOPED_TRACE(testing::Message() << "rate " << rate << ", reset at " << resetAt);
    LeqStatisticsService service(rate);
    test::PlainLeq plain(rate);
    std::mt19937 generator(11);
    for (int i = 0; i < readings; ++i) {
        if (i == resetAt) {
            service.reset();
            plain = test::PlainLeq(rate);
        }
        const double level = levelAt(i, generator);
        service.addReading(level);
        plain.addReading(level);
        ASSERT_EQ(service.leq1min.get(), plain.leq1min) << i;
        ASSERT_EQ(service.leq10min.get(), plain.leq10min) << i;
        ASSERT_EQ(service.leq30min.get(), plain.leq30min) << i;
        ASSERT_EQ(service.l10.get(), plain.l10) << i;
        ASSERT_EQ(service.l50.get(), plain.l50) << i;
        ASSERT_EQ(service.l90.get(), plain.l90) << i;
    }
}

TEST(LeqStatisticsService, TheResultsAreThoseOfThePlainMethodToTheLastBit)
{
    expectSameBits(10.0, 21000, 1111);
}

TEST(LeqStatisticsService, TheResultsAreThoseOfThePlainMethodAtOtherRatesToo)
{
    for (const double rate : {1.0 / 1800, 1.0 / 100, 1.0 / 60, 0.05, 0.2, 0.25, 1.0, 3.7})
        expectSameBits(rate, 9000, 4321);
}

} // namespace
} // namespace velmor
