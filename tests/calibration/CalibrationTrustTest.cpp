// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/CalibrationTrust.h>
#include <platform/MemoryDefaultsStore.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velmor {
namespace {

const Date day = dateFromIsoText("2026-03-02T09:00:00Z").value();
const InputChain chain{"mic", "Measurement Mic", 0, 1.0, 0.0};

CalibrationRecord recordOf(CalibrationMethod method)
{
    return {method, 101.5, 94, day, chain};
}

CalibrationFacts facts()
{
    CalibrationFacts facts;
    facts.offset = 101.5;
    facts.isOffsetStored = true;
    facts.chain = chain;
    return facts;
}

std::vector<std::string> concerns(const CalibrationFacts& of)
{
    return calibrationTrust(recordOf(CalibrationMethod::calibrator), of).concerns;
}

TEST(CalibrationTrust, WithoutAnyCalibrationTheOffsetIsTheDefault)
{
    CalibrationFacts untouched;
    untouched.offset = 94;
    const auto trust = calibrationTrust(std::nullopt, untouched);
    EXPECT_EQ(trust.method, CalibrationMethod::never);
    EXPECT_EQ(trust.date, std::nullopt);
    EXPECT_EQ(trust.ageInDays(day), std::nullopt);
    EXPECT_TRUE(trust.concerns.empty());
}

TEST(CalibrationTrust, AnOffsetThatNobodyNotedWasSetByHandSomeTime)
{
    const auto trust = calibrationTrust(std::nullopt, facts());
    EXPECT_EQ(trust.method, CalibrationMethod::slider);
    EXPECT_EQ(trust.date, std::nullopt);
    // So was one that differs from the noted one.
    auto other = facts();
    other.offset = 100;
    EXPECT_EQ(calibrationTrust(recordOf(CalibrationMethod::calibrator), other).method,
              CalibrationMethod::slider);
}

TEST(CalibrationTrust, TellsTheMethodAndTheAge)
{
    const auto trust = calibrationTrust(recordOf(CalibrationMethod::calibrator), facts());
    EXPECT_EQ(trust.method, CalibrationMethod::calibrator);
    EXPECT_EQ(trust.calibratorLevel, 94);
    EXPECT_EQ(trust.ageInDays(day + std::chrono::hours(47)), 1);
    EXPECT_EQ(trust.ageInDays(day - std::chrono::hours(48)), 0);
    EXPECT_TRUE(trust.concerns.empty());
}

TEST(CalibrationTrust, TellsOfAnotherDeviceOrChannel)
{
    auto other = facts();
    other.chain = {"interface", "Interface", 0, 0.5, 0.0};
    EXPECT_EQ(concerns(other),
              std::vector<std::string>{"calibrated with Measurement Mic, measuring with Interface"});
    other.chain = {"", "", 0, std::nullopt, 0.0};
    EXPECT_EQ(concerns(other),
              std::vector<std::string>{"calibrated with Measurement Mic, measuring with no device"});
    other.chain = {"mic", "Measurement Mic", 1, 1.0, 0.0};
    EXPECT_EQ(concerns(other), std::vector<std::string>{"calibrated on channel 1, measuring channel 2"});
}

TEST(CalibrationTrust, TellsOfAVolumeThatWasChangedInTheMixer)
{
    auto other = facts();
    other.chain.volumeGain = 0.5;
    EXPECT_EQ(concerns(other), std::vector<std::string>{"input volume changed by -6.0 dB since calibration"});
    other.chain.volumeGain = 2.0;
    EXPECT_EQ(concerns(other), std::vector<std::string>{"input volume changed by +6.0 dB since calibration"});
    other.chain.volumeGain = 1.002;
    EXPECT_TRUE(concerns(other).empty());
    other.chain.volumeGain = 0.0;
    EXPECT_EQ(concerns(other), std::vector<std::string>{"input volume changed since calibration"});
    other.chain.volumeGain = std::nullopt;
    EXPECT_TRUE(concerns(other).empty());
    other.isMuted = true;
    EXPECT_EQ(concerns(other), std::vector<std::string>{"input is muted"});
}

TEST(CalibrationTrust, TellsOfACorrectionThatHasShiftedTheLevels)
{
    auto other = facts();
    other.chain.correctionGainDB = -2.5;
    EXPECT_EQ(concerns(other),
              std::vector<std::string>{"correction filter changed levels by -2.5 dB since calibration"});
    other.chain.correctionGainDB = 0.04;
    EXPECT_TRUE(concerns(other).empty());
}

TEST(CalibrationTrust, WhatIsNotKnownOfTheCalibrationIsNotCompared)
{
    auto record = recordOf(CalibrationMethod::profile);
    record.chain = {};
    auto other = facts();
    other.chain.correctionGainDB = -2.5;
    EXPECT_TRUE(calibrationTrust(record, other).concerns.empty());
}

TEST(CalibrationTrust, TellsOfAFilterThatDepartsFromItsCurveWhileItIsOn)
{
    auto other = facts();
    other.filterDeparture = 12.34;
    other.isCorrectionOn = true;
    EXPECT_EQ(concerns(other),
              std::vector<std::string>{"correction filter departs from its curve by 12.3 dB"});
    other.filterDeparture = 1.0;
    EXPECT_TRUE(concerns(other).empty());
    other.filterDeparture = 12.34;
    other.isCorrectionOn = false;
    EXPECT_TRUE(concerns(other).empty());
    EXPECT_EQ(calibrationTrust(std::nullopt, other).filterDeparture, 12.34);
}

TEST(CalibrationTrust, TellsOfAFilterThatRestsAtAnotherRate)
{
    auto other = facts();
    other.isCorrectionOn = true;
    other.correctionSampleRate = 48000;
    EXPECT_TRUE(concerns(other).empty());
    other.captureSampleRate = 48000;
    EXPECT_TRUE(concerns(other).empty());
    other.captureSampleRate = 44100;
    EXPECT_EQ(concerns(other),
              std::vector<std::string>{"correction filter is for 48000 Hz and rests at 44100 Hz"});
}

TEST(CalibrationTrust, TellsOfAClippedInputAndOfLostBlocks)
{
    auto other = facts();
    other.faults = {1, 1};
    EXPECT_EQ(concerns(other), (std::vector<std::string>{"input clipped once", "1 block of sound was lost"}));
    other.faults = {3, 2};
    EXPECT_EQ(concerns(other),
              (std::vector<std::string>{"input clipped 3 times", "2 blocks of sound were lost"}));
}

TEST(CalibrationTrustService, KeepsTheRecordAcrossARestartUntilItIsForgotten)
{
    MemoryDefaultsStore defaults;
    CalibrationTrustService service(defaults);
    EXPECT_EQ(service.record(), std::nullopt);
    service.note(recordOf(CalibrationMethod::calibrator));
    EXPECT_EQ(textOf(defaults.get<DefaultsData>("calibrationRecord_v1").value()),
              R"({"method":"calibrator","offset":101.5,"calibratorLevel":94,"date":794134800,)"
              R"("chain":{"deviceUID":"mic","deviceName":"Measurement Mic","channel":0,"volumeGain":1,)"
              R"("correctionGainDB":0}})");
    EXPECT_EQ(CalibrationTrustService(defaults).record(), recordOf(CalibrationMethod::calibrator));
    service.note({CalibrationMethod::slider, 100, std::nullopt, day, {}});
    EXPECT_EQ(CalibrationTrustService(defaults).record()->method, CalibrationMethod::slider);
    service.forget();
    EXPECT_EQ(service.record(), std::nullopt);
    EXPECT_EQ(CalibrationTrustService(defaults).record(), std::nullopt);
}

TEST(CalibrationTrustService, ARecordThatCannotBeReadCountsAsNone)
{
    for (const std::string text : {"", "{}", R"({"method":"guess","offset":1,"date":0,"chain":{}})"}) {
        MemoryDefaultsStore defaults;
        defaults.set("calibrationRecord_v1", dataOf(text));
        EXPECT_EQ(CalibrationTrustService(defaults).record(), std::nullopt);
    }
}

TEST(CalibrationTrustService, AnnouncesOnlyWhatChanges)
{
    MemoryDefaultsStore defaults;
    CalibrationTrustService service(defaults);
    int announcements = 0;
    const Subscription subscription = service.trust.subscribe([&](const auto&) { ++announcements; });
    service.update(facts());
    service.update(facts());
    EXPECT_EQ(announcements, 1);
    EXPECT_EQ(service.trust.get().method, CalibrationMethod::slider);
}

} // namespace
} // namespace velmor
