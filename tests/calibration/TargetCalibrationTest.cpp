// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/VirtualMainLoop.h>
#include <calibration/TargetCalibrationService.h>
#include <calibration/TargetCalibrationStore.h>
#include <platform/MemoryDefaultsStore.h>
#include <support/CapturedOutput.h>
#include <support/FakeAudio.h>
#include <support/FakePlayback.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace velmor {
namespace {

using namespace TargetCalibration;
using testing::StartsWith;

const Date day = dateFromIsoText("2026-03-02T09:00:00Z").value();

TargetCalibrationRecord recordOf(const std::string& uid)
{
    return {day, uid, "Interface (Acme)", 79, 3, 78.6, "11 o'clock"};
}

TEST(TargetCalibrationRecord, IsStaleASecondAfter90Days)
{
    const auto record = recordOf("interface");
    EXPECT_FALSE(record.isStale(day));
    EXPECT_FALSE(record.isStale(day + std::chrono::seconds(7776000)));
    EXPECT_TRUE(record.isStale(day + std::chrono::seconds(7776001)));
}

TEST(TargetCalibrationRecord, ItsAgeIsInWholeDaysAndNeverBelow0)
{
    const auto record = recordOf("interface");
    EXPECT_EQ(record.ageInDays(day), 0);
    EXPECT_EQ(record.ageInDays(day + std::chrono::seconds(86399)), 0);
    EXPECT_EQ(record.ageInDays(day + std::chrono::seconds(86400)), 1);
    EXPECT_EQ(record.ageInDays(day + std::chrono::hours(24 * 91)), 91);
    EXPECT_EQ(record.ageInDays(day - std::chrono::hours(24 * 10)), 0);
}

class TargetCalibrationStoreTest : public testing::Test
{
protected:
    std::string stored() const
    {
        return std::string(textOf(defaults.get<DefaultsData>("TargetCalibrations.byOutputDevice").value()));
    }

    MemoryDefaultsStore defaults;
};

TEST_F(TargetCalibrationStoreTest, KeepsOneRecordForEachOutputAcrossARestart)
{
    TargetCalibrationStore store(defaults);
    store.save(recordOf("interface"));
    store.save(recordOf("monitors"));
    auto newer = recordOf("interface");
    newer.calibratedDate += std::chrono::hours(1);
    newer.knobNote = "";
    store.save(newer);
    const TargetCalibrationStore restarted(defaults);
    EXPECT_EQ(restarted.recordsByDeviceUID.get().size(), 2U);
    EXPECT_EQ(restarted.record("interface"), newer);
    EXPECT_EQ(restarted.record("monitors"), recordOf("monitors"));
    EXPECT_EQ(restarted.record("other"), std::nullopt);
}

TEST_F(TargetCalibrationStoreTest, IsStoredAsAnObjectByUID)
{
    TargetCalibrationStore store(defaults);
    store.save(recordOf("interface"));
    const std::string expected =
        R"json({"interface":{"calibratedDate":794134800,"outputDeviceUID":"interface",)json"
        R"json("outputDeviceName":"Interface (Acme)","targetDBA":79,"toleranceDBA":3,)json"
        R"json("measuredDBA":78.6,"knobNote":"11 o'clock"}})json";
    EXPECT_EQ(stored(), expected);
}

TEST_F(TargetCalibrationStoreTest, RemovesOneOrAll)
{
    TargetCalibrationStore store(defaults);
    store.save(recordOf("interface"));
    store.save(recordOf("monitors"));
    store.remove("interface");
    store.remove("unknown");
    EXPECT_EQ(TargetCalibrationStore(defaults).recordsByDeviceUID.get().size(), 1U);
    store.clearAll();
    EXPECT_EQ(stored(), "{}");
}

TEST_F(TargetCalibrationStoreTest, CorruptDataIsPrintedReadsAsNoneAndIsKeptUntilTheNextSave)
{
    for (const std::string text : {"", "[]", "{\"a\":1}", R"({"a":{"calibratedDate":0}})"}) {
        defaults.set("TargetCalibrations.byOutputDevice", dataOf(text));
        test::CapturedOutput output;
        const TargetCalibrationStore store(defaults);
        EXPECT_TRUE(store.recordsByDeviceUID.get().empty());
        EXPECT_THAT(output.text(), StartsWith("[Velmor] TargetCalibrationStore load failed: "));
        EXPECT_EQ(stored(), text);
    }
}

TEST_F(TargetCalibrationStoreTest, AMissingKeyIsNamed)
{
    defaults.set("TargetCalibrations.byOutputDevice", dataOf(R"({"a":{"calibratedDate":0}})"));
    test::CapturedOutput output;
    const TargetCalibrationStore store(defaults);
    EXPECT_EQ(output.text(), "[Velmor] TargetCalibrationStore load failed: \"outputDeviceUID\" is missing\n");
}

TEST_F(TargetCalibrationStoreTest, WhatHasNoFormInTheStoreIsPrintedAndTheStoreStays)
{
    TargetCalibrationStore store(defaults);
    store.save(recordOf("interface"));
    const std::string before = stored();
    auto bad = recordOf("interface");
    bad.measuredDBA = std::numeric_limits<double>::infinity();
    test::CapturedOutput output;
    store.save(bad);
    EXPECT_THAT(output.text(), StartsWith("[Velmor] TargetCalibrationStore persist failed: "));
    EXPECT_EQ(stored(), before);
}

TEST_F(TargetCalibrationStoreTest, AReloadTakesWhatSomebodyElseHasWritten)
{
    TargetCalibrationStore store(defaults);
    store.save(recordOf("interface"));
    defaults.remove("TargetCalibrations.byOutputDevice");
    store.reload();
    EXPECT_TRUE(store.recordsByDeviceUID.get().empty());
}

class TargetCalibrationServiceTest : public testing::Test
{
protected:
    void save(const std::string& note) { service.save(note, "interface", "Interface (Acme)", 79, 3, store); }

    VirtualMainLoop loop{day};
    MemoryDefaultsStore defaults;
    test::FakeAudio audio;
    test::FakePlayback playback;
    PinkNoisePlayer player{playback, audio};
    TargetCalibrationStore store{defaults};
    TargetCalibrationService service{loop};
};

TEST_F(TargetCalibrationServiceTest, PlaysCapturesAndSaves)
{
    EXPECT_TRUE(service.start(player, "interface"));
    EXPECT_EQ(service.state.get(), TargetCalibrationState(Playing()));
    EXPECT_EQ(playback.engine().deviceID, 12U);
    service.capture(78.6);
    EXPECT_EQ(service.state.get(), TargetCalibrationState(Captured{78.6}));
    EXPECT_FALSE(player.isPlaying);
    save("11 o'clock");
    EXPECT_EQ(service.state.get(), TargetCalibrationState(Saved()));
    EXPECT_EQ(store.record("interface"), recordOf("interface"));
    service.dismiss();
    EXPECT_EQ(service.state.get(), TargetCalibrationState(Idle()));
}

TEST_F(TargetCalibrationServiceTest, ALevelOutsideOfTheBandCanBeSaved)
{
    service.start(player, std::nullopt);
    service.capture(100);
    save("");
    EXPECT_EQ(store.record("interface")->measuredDBA, 100);
}

TEST_F(TargetCalibrationServiceTest, NoiseThatCannotStartFailsWithAHint)
{
    playback.prepareEngine = [](auto& engine) { engine.canPlayFormat = false; };
    EXPECT_FALSE(service.start(player, "interface"));
    EXPECT_EQ(service.state.get(),
              TargetCalibrationState(
                  Failed{"Could not start pink noise on the selected output. Check that the device is "
                         "connected and not in exclusive use."}));
    service.dismiss();
    EXPECT_EQ(service.state.get(), TargetCalibrationState(Idle()));
}

TEST_F(TargetCalibrationServiceTest, CapturingOutsideOfPlayingDoesNothingAndDoesNotStopTheNoise)
{
    player.start(std::nullopt);
    service.capture(80);
    EXPECT_EQ(service.state.get(), TargetCalibrationState(Idle()));
    EXPECT_TRUE(player.isPlaying);
    service.start(player, std::nullopt);
    service.capture(80);
    player.start(std::nullopt);
    service.capture(81);
    EXPECT_EQ(service.state.get(), TargetCalibrationState(Captured{80}));
    EXPECT_TRUE(player.isPlaying);
}

TEST_F(TargetCalibrationServiceTest, SavingOutsideOfCapturedWritesNothing)
{
    save("");
    service.start(player, std::nullopt);
    save("");
    EXPECT_EQ(service.state.get(), TargetCalibrationState(Playing()));
    EXPECT_TRUE(store.recordsByDeviceUID.get().empty());
    EXPECT_EQ(defaults.value("TargetCalibrations.byOutputDevice"), std::nullopt);
}

TEST_F(TargetCalibrationServiceTest, ARecordIsReplacedWholeWithItsDate)
{
    store.save(recordOf("interface"));
    loop.runFor(3600);
    service.start(player, "interface");
    service.capture(80);
    service.save("", "interface", "Renamed", 83, 5, store);
    EXPECT_EQ(store.record("interface"),
              (TargetCalibrationRecord{day + std::chrono::hours(1), "interface", "Renamed", 83, 5, 80, ""}));
}

TEST_F(TargetCalibrationServiceTest, ANoteOfSpacesAndNewlinesIsStoredEmpty)
{
    service.start(player, std::nullopt);
    service.capture(80);
    save(" \n\t\n ");
    EXPECT_EQ(store.record("interface")->knobNote, "");
    service.start(player, std::nullopt);
    service.capture(80);
    save("\n dot at 11 \n");
    EXPECT_EQ(store.record("interface")->knobNote, "dot at 11");
}

TEST_F(TargetCalibrationServiceTest, RecapturingPlaysOnTheSameOutput)
{
    service.start(player, "interface");
    service.recapture();
    EXPECT_EQ(playback.engines.size(), 1U);
    service.capture(80);
    service.recapture();
    EXPECT_EQ(service.state.get(), TargetCalibrationState(Playing()));
    EXPECT_EQ(playback.engines.size(), 2U);
    EXPECT_EQ(playback.engine().deviceID, 12U);
}

TEST_F(TargetCalibrationServiceTest, RecapturingWithAnEmptyUIDPlaysOnTheDefault)
{
    service.start(player, "");
    service.capture(80);
    service.recapture();
    EXPECT_EQ(service.state.get(), TargetCalibrationState(Playing()));
    EXPECT_EQ(playback.engine().deviceID, std::nullopt);
}

TEST_F(TargetCalibrationServiceTest, RecapturingWithoutAnOutputFails)
{
    service.start(player, "interface");
    service.capture(80);
    playback.prepareEngine = [](auto& engine) { engine.canPlayFormat = false; };
    service.recapture();
    EXPECT_EQ(service.state.get(),
              TargetCalibrationState(
                  Failed{"Could not restart pink noise. Check that the output device is still connected."}));
}

TEST_F(TargetCalibrationServiceTest, RecapturingWithoutAPlayerFails)
{
    service.state = Captured{80};
    service.recapture();
    EXPECT_EQ(service.state.get(),
              TargetCalibrationState(Failed{"Pink noise player no longer available. Restart the wizard."}));
}

TEST_F(TargetCalibrationServiceTest, CancellingEndsTheNoiseFromAnyState)
{
    service.start(player, "interface");
    service.cancel();
    EXPECT_EQ(service.state.get(), TargetCalibrationState(Idle()));
    EXPECT_FALSE(player.isPlaying);
    service.start(player, "interface");
    service.capture(80);
    service.cancel();
    EXPECT_EQ(service.state.get(), TargetCalibrationState(Idle()));
    // The player was let go of.
    player.start(std::nullopt);
    service.cancel();
    EXPECT_TRUE(player.isPlaying);
}

} // namespace
} // namespace velmor
