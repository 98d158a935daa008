// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/VirtualMainLoop.h>
#include <exposure/DoseCalculator.h>
#include <platform/MemoryDefaultsStore.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace velmor {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class DoseCalculatorTest : public testing::Test
{
protected:
    DoseCalculatorTest() { follow(calculator); }

    void follow(DoseCalculator& followed)
    {
        followed.onThresholdCrossed = [this](DoseLevel level) { crossings.push_back(level); };
        followed.onPeakAlert = [this](double peak) { peakAlerts.push_back(peak); };
        followed.onInstantaneousPeakAlert = [this](double peak) { instantaneousAlerts.push_back(peak); };
    }

    /// One measurement, and the turn of the loop after it.
    void measure(double dBA, double dBC, double peakDBC, double peakDBA)
    {
        calculator.addMeasurement(dBA, dBC, peakDBC, peakDBA, loop.now());
        loop.runPosted();
    }
    void measure(double dBA) { measure(dBA, 0, 0, 0); }

    /// Time passes, then one measurement.
    void measureAfter(std::chrono::nanoseconds gap, double dBA)
    {
        loop.runUntil(loop.now() + gap);
        measure(dBA);
    }

    /// Measurements every 0.1 s for so long, after a first one.
    void hold(double dBA, std::chrono::seconds duration)
    {
        measure(dBA);
        for (auto passed = 0ns; passed < duration; passed += 100ms)
            measureAfter(100ms, dBA);
    }

    template <typename Type>
    std::optional<Type> stored(const char* key) const
    {
        return defaults.get<Type>(std::string("DoseCalculator.") + key);
    }

    VirtualMainLoop loop{dateFromIsoText("2026-03-02T09:00:00Z").value()};
    MemoryDefaultsStore defaults;
    Calendar calendar = Calendar::inZone("Europe/Berlin").value();
    DoseCalculator calculator{loop, defaults, calendar};
    std::vector<DoseLevel> crossings;
    std::vector<double> peakAlerts;
    std::vector<double> instantaneousAlerts;
};

TEST(AllowedExposureTime, IsEightHoursAt85HalvedForEvery3Decibels)
{
    EXPECT_DOUBLE_EQ(allowedExposureTime(85), 8);
    EXPECT_DOUBLE_EQ(allowedExposureTime(88), 4);
    EXPECT_DOUBLE_EQ(allowedExposureTime(91), 2);
    EXPECT_DOUBLE_EQ(allowedExposureTime(100), 0.25);
    EXPECT_NEAR(allowedExposureTime(80), 25.398, 0.001); // 8 * 2^(5/3)
    EXPECT_EQ(allowedExposureTime(79.99), std::numeric_limits<double>::infinity());
}

TEST_F(DoseCalculatorTest, EightHoursAt85FourAt88AndTwoAt91AreEachTheWholeDose)
{
    hold(85, 8h);
    EXPECT_NEAR(calculator.accumulatedDose, 1, 1e-9);
    EXPECT_NEAR(calculator.dosePercentage, 100, 1e-7);
    calculator.reset();
    hold(88, 4h);
    EXPECT_NEAR(calculator.accumulatedDose, 1, 1e-9);
    calculator.reset();
    hold(91, 2h);
    EXPECT_NEAR(calculator.accumulatedDose, 1, 1e-9);
}

TEST_F(DoseCalculatorTest, ALevelOfExactly80AccumulatesAnd7999DoesNot)
{
    measure(79.99);
    measureAfter(100ms, 79.99);
    EXPECT_EQ(calculator.accumulatedDose, 0);
    measureAfter(100ms, 80.0);
    EXPECT_NEAR(calculator.accumulatedDose, 0.1 / (25.398416831491197 * 3600), 1e-18);
}

TEST_F(DoseCalculatorTest, TheFirstMeasurementAddsNothingWhateverTheLevel)
{
    measure(139);
    EXPECT_EQ(calculator.accumulatedDose, 0);
    EXPECT_EQ(calculator.dosePercentage, 0);
    EXPECT_THAT(defaults.values(), IsEmpty());
    measureAfter(100ms, 85);
    EXPECT_NEAR(calculator.accumulatedDose, 0.1 / 28800, 1e-18);
}

TEST_F(DoseCalculatorTest, AGapOf599SecondsCountsInFullAndOneOf60CountsAsNothing)
{
    const double secondsAllowedAt90 = 8 * 3600 / std::pow(2, 5.0 / 3);
    measure(90);
    measureAfter(59900ms, 90);
    EXPECT_NEAR(calculator.accumulatedDose, 59.9 / secondsAllowedAt90, 1e-15);

    const double before = calculator.accumulatedDose;
    measureAfter(60s, 90);
    EXPECT_EQ(calculator.accumulatedDose, before);
    measureAfter(100ms, 90);
    EXPECT_NEAR(calculator.accumulatedDose - before, 0.1 / secondsAllowedAt90, 1e-15);
}

TEST_F(DoseCalculatorTest, AnEarlierDateAddsNothingAndMovesTheLastMeasurementBack)
{
    const Date now = loop.now();
    calculator.addMeasurement(85, 0, 0, 0, now);
    calculator.addMeasurement(85, 0, 0, 0, now - 30s);
    EXPECT_EQ(calculator.accumulatedDose, 0);
    calculator.addMeasurement(85, 0, 0, 0, now - 30s);
    EXPECT_EQ(calculator.accumulatedDose, 0);
    // From the earlier date on 10 seconds count.
    calculator.addMeasurement(85, 0, 0, 0, now - 20s);
    EXPECT_NEAR(calculator.accumulatedDose, 10.0 / 28800, 1e-15);
}

TEST_F(DoseCalculatorTest, AStretchBelowTheThresholdLeavesNoOpenInterval)
{
    measure(90);
    measureAfter(10s, 60);
    EXPECT_EQ(calculator.accumulatedDose, 0);
    measureAfter(100ms, 85);
    EXPECT_NEAR(calculator.accumulatedDose, 0.1 / 28800, 1e-18);
}

TEST_F(DoseCalculatorTest, InConservativeModeTheHigherOfTheTwoLevelsCounts)
{
    calculator.conservativeMode = true;
    measure(70, 90, 0, 0);
    loop.runFor(1);
    measure(70, 90, 0, 0);
    const double at90 = 1 / (8 * 3600 / std::pow(2, 5.0 / 3));
    EXPECT_NEAR(calculator.accumulatedDose, at90, 1e-15);
    loop.runFor(1);
    measure(90, 70, 0, 0);
    EXPECT_NEAR(calculator.accumulatedDose, 2 * at90, 1e-15);

    calculator.conservativeMode = false;
    loop.runFor(1);
    measure(70, 90, 0, 0);
    EXPECT_NEAR(calculator.accumulatedDose, 2 * at90, 1e-15);
}

TEST_F(DoseCalculatorTest, APeakOfExactly135CountsAnd13499OnlyRaisesTheDaysPeak)
{
    measure(0, 0, 134.99, 0);
    EXPECT_EQ(calculator.peakCount135, 0);
    EXPECT_EQ(calculator.todayPeakDBC, 134.99);
    EXPECT_THAT(peakAlerts, IsEmpty());

    measure(0, 0, 135.0, 0);
    EXPECT_EQ(calculator.peakCount135, 1);
    EXPECT_EQ(calculator.peakCount137, 0);
    EXPECT_EQ(calculator.todayPeakDBC, 135.0);
    EXPECT_THAT(peakAlerts, ElementsAre(135.0));

    measure(0, 0, 120, 0);
    measure(0, 0, 0, 0);
    measure(0, 0, -5, 0);
    EXPECT_EQ(calculator.todayPeakDBC, 135.0);
    EXPECT_EQ(peakAlerts.size(), 1U);
}

TEST_F(DoseCalculatorTest, TheCountsAreNested)
{
    measure(0, 0, 136.9, 0);
    measure(0, 0, 137.0, 0);
    measure(0, 0, 139.9, 0);
    measure(0, 0, 140.0, 0);
    measure(0, 0, 141.0, 0);
    EXPECT_EQ(calculator.peakCount135, 5);
    EXPECT_EQ(calculator.peakCount137, 4);
    EXPECT_EQ(calculator.peakCount140, 2);
    EXPECT_THAT(peakAlerts, ElementsAre(136.9, 137.0, 139.9, 140.0, 141.0));
}

TEST_F(DoseCalculatorTest, APeakOf115DBACountsAndCallsBackOnEveryMeasurement)
{
    measure(0, 0, 0, 114.99);
    for (int i = 0; i < 5; ++i)
        measure(0, 0, 0, 115.0);
    EXPECT_EQ(calculator.peakDBACount115, 5);
    EXPECT_THAT(instantaneousAlerts, ElementsAre(115.0, 115.0, 115.0, 115.0, 115.0));
    EXPECT_THAT(peakAlerts, IsEmpty());
}

TEST_F(DoseCalculatorTest, PeaksAreCountedAndAnnouncedAtOnceTheImpulseFirst)
{
    std::vector<std::string> events;
    calculator.onInstantaneousPeakAlert = [&](double) {
        events.push_back("115: " + std::to_string(calculator.peakDBACount115.get()));
    };
    calculator.onPeakAlert = [&](double) {
        events.push_back("135: " + std::to_string(calculator.peakCount135.get()));
    };
    calculator.addMeasurement(0, 0, 135, 115, loop.now());
    EXPECT_THAT(events, ElementsAre("135: 1", "115: 1"));
    EXPECT_EQ(calculator.todayPeakDBC, 135);
}

TEST_F(DoseCalculatorTest, OverrideDoseLeavesTheProjection)
{
    calculator.accumulatedDose = 0.25;
    measure(88);
    const double projection = calculator.projectedDoseAtEndOfDay;
    ASSERT_GT(projection, 0);
    calculator.overrideDose(10);
    loop.runPosted();
    EXPECT_EQ(calculator.projectedDoseAtEndOfDay, projection);
}

TEST_F(DoseCalculatorTest, SettingTheModeWritesNothingByItself)
{
    calculator.conservativeMode = true;
    EXPECT_THAT(defaults.values(), IsEmpty());
    calculator.persistConservativeMode();
    EXPECT_EQ(stored<bool>("conservativeMode"), true);
}

TEST_F(DoseCalculatorTest, TheProjectionSpendsTheRestOfEightHoursAtThePresentLevel)
{
    calculator.accumulatedDose = 0.25;
    measure(88);
    // 6 hours are left; at 88 dBA a quarter of the dose an hour.
    EXPECT_NEAR(calculator.projectedDoseAtEndOfDay, 25 + 6 * 25, 1e-9);
    measureAfter(100ms, 79);
    EXPECT_NEAR(calculator.projectedDoseAtEndOfDay, 175, 1e-9);
}

TEST_F(DoseCalculatorTest, AtADoseOf100PercentOrMoreTheProjectionIsThePresentDose)
{
    calculator.accumulatedDose = 1.0;
    measure(100);
    EXPECT_EQ(calculator.projectedDoseAtEndOfDay, 100);
    calculator.accumulatedDose = 1.75;
    measureAfter(100ms, 100);
    EXPECT_EQ(calculator.projectedDoseAtEndOfDay, calculator.accumulatedDose * 100);
    EXPECT_NEAR(calculator.projectedDoseAtEndOfDay, 175 + 100 * 0.1 / 900, 1e-9); // 15 minutes are allowed
}

TEST_F(DoseCalculatorTest, AtADoseOfExactly40PercentTheBandIsCautionAndIsAnnouncedOnce)
{
    calculator.accumulatedDose = 0.4;
    measure(85);
    EXPECT_EQ(calculator.doseLevel, DoseLevel::caution);
    EXPECT_THAT(crossings, ElementsAre(DoseLevel::caution));
    measureAfter(100ms, 85);
    EXPECT_THAT(crossings, ElementsAre(DoseLevel::caution));
}

TEST_F(DoseCalculatorTest, ACrossingIsAnnouncedInEitherDirection)
{
    calculator.accumulatedDose = 0.95;
    measure(85);
    calculator.accumulatedDose = 0.5;
    measureAfter(100ms, 85);
    EXPECT_THAT(crossings, ElementsAre(DoseLevel::danger, DoseLevel::caution));
}

TEST_F(DoseCalculatorTest, ThePublishedDoseFollowsOneTurnLaterAndTheCrossingSeesIt)
{
    double seen = 0;
    calculator.onThresholdCrossed = [&](DoseLevel) { seen = calculator.dosePercentage; };
    calculator.accumulatedDose = 0.5;
    calculator.addMeasurement(85, 0, 0, 0, loop.now());
    EXPECT_EQ(calculator.dosePercentage, 0);
    EXPECT_EQ(calculator.doseLevel, DoseLevel::safe);
    loop.runPosted();
    EXPECT_EQ(calculator.dosePercentage, 50);
    EXPECT_EQ(seen, 50);
}

TEST_F(DoseCalculatorTest, AMeasurementBelowTheThresholdOrAfterAGapPublishesNothing)
{
    calculator.accumulatedDose = 0.5;
    measure(79);
    EXPECT_EQ(calculator.dosePercentage, 0);
    measureAfter(60s, 85);
    EXPECT_EQ(calculator.dosePercentage, 0);
    EXPECT_THAT(crossings, IsEmpty());
}

TEST_F(DoseCalculatorTest, AfterOverrideDoseTheBandIsNewWithoutACallback)
{
    calculator.overrideDose(95);
    loop.runPosted();
    EXPECT_EQ(calculator.doseLevel, DoseLevel::danger);
    EXPECT_EQ(calculator.dosePercentage, 95);
    measure(85);
    measureAfter(100ms, 85);
    EXPECT_THAT(crossings, IsEmpty());
}

TEST_F(DoseCalculatorTest, OverrideDoseKeepsTheCountsAndLowersTheSessionsStartAtMost)
{
    measure(0, 0, 141, 115);
    calculator.accumulatedDose = 0.5;
    calculator.markSessionStart();
    calculator.overrideDose(80);
    EXPECT_DOUBLE_EQ(calculator.sessionDose(), 30);
    calculator.overrideDose(20);
    EXPECT_DOUBLE_EQ(calculator.sessionDose(), 0);
    EXPECT_EQ(calculator.peakCount140, 1);
    EXPECT_EQ(calculator.peakDBACount115, 1);
    EXPECT_EQ(stored<double>("accumulatedDose"), 0.2);
}

TEST_F(DoseCalculatorTest, ReconciliationOnlyRaisesTheDose)
{
    calculator.accumulatedDose = 0.5;
    calculator.reconcileWithSessions(50);
    loop.runPosted();
    EXPECT_EQ(calculator.accumulatedDose, 0.5);
    EXPECT_EQ(calculator.dosePercentage, 0);

    calculator.reconcileWithSessions(75);
    loop.runPosted();
    EXPECT_EQ(calculator.accumulatedDose, 0.75);
    EXPECT_EQ(calculator.sessionDose(), 0);
    EXPECT_EQ(calculator.dosePercentage, 75);
    EXPECT_EQ(calculator.doseLevel, DoseLevel::warning);
    EXPECT_EQ(stored<double>("accumulatedDose"), 0.75);
    measure(85);
    EXPECT_THAT(crossings, IsEmpty());
}

TEST_F(DoseCalculatorTest, ResetBeginsTheDayAnewAndKeepsTheMode)
{
    calculator.conservativeMode = true;
    calculator.persistConservativeMode();
    calculator.accumulatedDose = 0.95;
    measure(90, 0, 141, 116);
    measureAfter(1s, 90);
    ASSERT_THAT(crossings, ElementsAre(DoseLevel::danger));

    calculator.reset();
    EXPECT_EQ(calculator.accumulatedDose, 0);
    EXPECT_EQ(calculator.sessionDose(), 0);
    EXPECT_EQ(calculator.peakCount135, 0);
    EXPECT_EQ(calculator.peakCount137, 0);
    EXPECT_EQ(calculator.peakCount140, 0);
    EXPECT_EQ(calculator.todayPeakDBC, 0);
    EXPECT_EQ(calculator.peakDBACount115, 0);
    EXPECT_TRUE(calculator.conservativeMode);
    EXPECT_NE(calculator.dosePercentage, 0);
    loop.runPosted();
    EXPECT_EQ(calculator.dosePercentage, 0);
    EXPECT_EQ(calculator.doseLevel, DoseLevel::safe);
    EXPECT_EQ(calculator.projectedDoseAtEndOfDay, 0);
    EXPECT_EQ(defaults.values().size(), 1U);
    EXPECT_EQ(stored<bool>("conservativeMode"), true);

    // The measurement before is forgotten too, and the old band is not announced as a crossing.
    measureAfter(1s, 90);
    EXPECT_EQ(calculator.accumulatedDose, 0);
    EXPECT_THAT(crossings, ElementsAre(DoseLevel::danger));
}

TEST_F(DoseCalculatorTest, TheSessionsDoseCountsFromTheMark)
{
    calculator.accumulatedDose = 0.3;
    calculator.markSessionStart();
    hold(85, 2880s);
    EXPECT_NEAR(calculator.sessionDose(), 10, 1e-9);
}

TEST_F(DoseCalculatorTest, EveryMeasurementAboveTheThresholdIsWrittenOut)
{
    measure(85, 0, 141, 116);
    EXPECT_THAT(defaults.values(), IsEmpty());
    measureAfter(1s, 85);
    EXPECT_EQ(stored<double>("accumulatedDose"), 1.0 / 28800);
    EXPECT_EQ(stored<Date>("doseDate"), loop.now());
    EXPECT_EQ(stored<std::int64_t>("peakCount135"), 1);
    EXPECT_EQ(stored<std::int64_t>("peakCount137"), 1);
    EXPECT_EQ(stored<std::int64_t>("peakCount140"), 1);
    EXPECT_EQ(stored<double>("todayPeakDBC"), 141);
    EXPECT_EQ(stored<std::int64_t>("peakDBACount115"), 1);
    EXPECT_FALSE(stored<bool>("conservativeMode"));
}

TEST_F(DoseCalculatorTest, ARestartGoesOnWithTheDayAndAnnouncesNothingAgain)
{
    calculator.conservativeMode = true;
    calculator.persistConservativeMode();
    calculator.accumulatedDose = 0.9;
    measure(85, 0, 141, 116);
    measureAfter(1s, 85);

    DoseCalculator restarted(loop, defaults, calendar);
    follow(restarted);
    crossings.clear();
    restarted.restorePersistedDose();
    EXPECT_EQ(restarted.dosePercentage, 0);
    loop.runPosted();
    EXPECT_TRUE(restarted.conservativeMode);
    EXPECT_EQ(restarted.accumulatedDose, calculator.accumulatedDose);
    EXPECT_EQ(restarted.sessionDose(), 0);
    EXPECT_EQ(restarted.dosePercentage, calculator.dosePercentage);
    EXPECT_EQ(restarted.doseLevel, DoseLevel::danger);
    EXPECT_EQ(restarted.peakCount135, 1);
    EXPECT_EQ(restarted.peakCount137, 1);
    EXPECT_EQ(restarted.peakCount140, 1);
    EXPECT_EQ(restarted.todayPeakDBC, 141);
    EXPECT_EQ(restarted.peakDBACount115, 1);

    restarted.addMeasurement(85, 0, 0, 0, loop.now());
    loop.runPosted();
    EXPECT_THAT(crossings, IsEmpty());
}

TEST_F(DoseCalculatorTest, AStoreDatedYesterdayIsClearedAndTheModeSurvives)
{
    defaults.set("DoseCalculator.conservativeMode", true);
    defaults.set("DoseCalculator.accumulatedDose", 0.5);
    defaults.set("DoseCalculator.peakCount135", std::int64_t(3));
    // In Berlin this is the last second of the day before.
    defaults.set("DoseCalculator.doseDate", dateFromIsoText("2026-03-01T22:59:59Z").value());
    calculator.restorePersistedDose();
    loop.runPosted();
    EXPECT_EQ(calculator.accumulatedDose, 0);
    EXPECT_EQ(calculator.peakCount135, 0);
    EXPECT_TRUE(calculator.conservativeMode);
    EXPECT_EQ(defaults.values().size(), 1U);
}

TEST_F(DoseCalculatorTest, AStoreOfTodayWithoutADoseIsKeptAsItIs)
{
    defaults.set("DoseCalculator.doseDate", dateFromIsoText("2026-03-01T23:00:00Z").value());
    defaults.set("DoseCalculator.accumulatedDose", 0.0);
    defaults.set("DoseCalculator.peakCount135", std::int64_t(3));
    calculator.restorePersistedDose();
    EXPECT_EQ(calculator.peakCount135, 0);
    EXPECT_EQ(defaults.values().size(), 3U);
}

TEST_F(DoseCalculatorTest, AForeignValueReadsAsZeroOrAsAnotherDay)
{
    defaults.set("DoseCalculator.conservativeMode", std::string("yes"));
    defaults.set("DoseCalculator.accumulatedDose", 0.5);
    defaults.set("DoseCalculator.doseDate", 794134800.0);
    calculator.restorePersistedDose();
    EXPECT_FALSE(calculator.conservativeMode);
    EXPECT_EQ(calculator.accumulatedDose, 0);
    EXPECT_FALSE(stored<double>("accumulatedDose"));

    defaults.set("DoseCalculator.doseDate", loop.now());
    defaults.set("DoseCalculator.accumulatedDose", 0.5);
    defaults.set("DoseCalculator.peakCount135", 3.0);
    defaults.set("DoseCalculator.todayPeakDBC", true);
    calculator.restorePersistedDose();
    EXPECT_EQ(calculator.accumulatedDose, 0.5);
    EXPECT_EQ(calculator.peakCount135, 0);
    EXPECT_EQ(calculator.todayPeakDBC, 0);
}

TEST_F(DoseCalculatorTest, ACalculatorThatIsGonePublishesNothingAnyMore)
{
    {
        DoseCalculator shortLived(loop, defaults, calendar);
        follow(shortLived);
        shortLived.overrideDose(95);
        shortLived.addMeasurement(90, 0, 0, 0, loop.now());
        shortLived.reset();
    }
    loop.runPosted();
    EXPECT_THAT(crossings, IsEmpty());
}

} // namespace
} // namespace velmor
