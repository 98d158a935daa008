// SPDX-License-Identifier: GPL-3.0-or-later
#include "TovikImportFixture.h"

#include <discipline/MonitoringAlertSettings.h>
#include <discipline/ReferenceLevelSettings.h>
#include <level/MicFrequencyCorrection.h>
#include <support/SampleSessions.h>

#include <limits>

namespace velmor {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::Pair;
using testing::SizeIs;

TEST_F(TovikImporterTest, SettingsAreWrittenUnderTheirKeysAndAbsentOnesStay)
{
    world.defaults.set("peakMonitoringEnabled", false);
    importMember("userDefaults",
                 R"({"selectedDeviceUID":"mic\u0007rophone","selectedOutputDeviceUID":"out",)"
                 R"("calibrationOffset":101.5,"conservativeDoseMode":true,"autoStartSessions":false,)"
                 R"("launchAtLogin":true,"timeSensitiveNotifications":false})");
    EXPECT_EQ(stored<std::string>("selectedDeviceUID"), "microphone");
    EXPECT_EQ(stored<std::string>("selectedOutputDeviceUID"), "out");
    EXPECT_EQ(stored<double>("calibrationOffset"), 101.5);
    EXPECT_EQ(stored<bool>("conservativeDoseMode"), true);
    EXPECT_EQ(stored<bool>("peakMonitoringEnabled"), false);
    EXPECT_EQ(stored<bool>("autoStartSessions"), false);
    EXPECT_EQ(stored<bool>("launchAtLogin"), true);
    EXPECT_EQ(stored<bool>("timeSensitiveNotifications"), false);
    importMember("userDefaults", "{}");
    EXPECT_EQ(stored<double>("calibrationOffset"), 101.5);
}

TEST_F(TovikImporterTest, TheOffsetIsLimitedToItsRange)
{
    importMember("userDefaults", R"({"calibrationOffset":200})");
    EXPECT_EQ(stored<double>("calibrationOffset"), 120.0);
    importMember("userDefaults", R"({"calibrationOffset":10})");
    EXPECT_EQ(stored<double>("calibrationOffset"), 60.0);
    EXPECT_EQ(TovikImporter::clampedCalibrationOffset(60), 60);
    EXPECT_EQ(TovikImporter::clampedCalibrationOffset(119.9), 119.9);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double none : {infinity, -infinity, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(TovikImporter::clampedCalibrationOffset(none), std::nullopt);
}

TEST_F(TovikImporterTest, AlertSettingsReplaceWhatIsValidAndKeepTheRest)
{
    MonitoringAlertSettingsStore store(world.defaults);
    const MonitoringAlertSettings before{false, true, OffTargetDirection::overOnly, 600, 7};
    store.save(before);
    importMember("monitoringAlertSettings", "{}");
    EXPECT_EQ(store.load(), before);
    importMember(
        "monitoringAlertSettings",
        R"({"driftAlertEnabled":true,"offTargetAlertEnabled":false,"offTargetDirection":"underOnly",)"
        R"("offTargetWindowSec":1200.5,"offTargetToleranceDB":4})");
    const MonitoringAlertSettings all{true, false, OffTargetDirection::underOnly, 1200.5, 4};
    EXPECT_EQ(store.load(), all);
    importMember("monitoringAlertSettings",
                 R"({"offTargetDirection":"sideways","offTargetWindowSec":0,"offTargetToleranceDB":-1})");
    EXPECT_EQ(store.load(), all);
    importMember("monitoringAlertSettings", R"({"offTargetWindowSec":86401,"offTargetToleranceDB":61})");
    EXPECT_EQ(store.load().offTargetWindowSec, 86400);
    EXPECT_EQ(store.load().offTargetToleranceDB, 60);
}

TEST_F(TovikImporterTest, TheReferenceLevelIsLimitedAndAToleranceOfNothingStays)
{
    ReferenceLevelSettingsStore store(world.defaults);
    store.save({true, 83, 2, "k12"});
    importMember("referenceLevelSettings", R"({"tolerance":0})");
    EXPECT_EQ(store.load(), (ReferenceLevelSettings{true, 83, 2, "k12"}));
    importMember("referenceLevelSettings",
                 R"({"enabled":false,"target":100,"tolerance":50,"presetID":"cus\ntom"})");
    EXPECT_EQ(store.load(), (ReferenceLevelSettings{false, 95, 30, "custom"}));
    importMember("referenceLevelSettings", R"({"target":10})");
    EXPECT_EQ(store.load().target, 60);
    importMember("referenceLevelSettings", R"({"target":73.5,"tolerance":1.5})");
    EXPECT_EQ(store.load(), (ReferenceLevelSettings{false, 73.5, 1.5, "custom"}));
}

TEST_F(TovikImporterTest, WorkstationsReplaceTheStoredOnesAndBuiltInOnesAreSkipped)
{
    const DefaultsDictionary before{{"org.old.one", "Old"}};
    world.defaults.set("Velmor.customDAWBundleIDs", before);
    EXPECT_EQ(importMember("customDAWBundleIDs", "[]").customDAWCount, 0);
    EXPECT_EQ(stored<DefaultsDictionary>("Velmor.customDAWBundleIDs"), before);
    const ImportResult result = importMember(
        "customDAWBundleIDs",
        R"([{"bundleID":"com.cockos.reaper","name":"Mine"},{"bundleID":"org.empty.name","name":" \t\u0001 "},)"
        R"({"bundleID":"nodot","name":"a"},{"bundleID":"org.zero.one","name":"First"},)"
        R"({"bundleID":"org.zero.one","name":"  Second\n"},{"bundleID":"org.long.name","name":")" +
            std::string(70, 'n') + R"("}])");
    EXPECT_EQ(result.customDAWCount, 2);
    EXPECT_EQ(stored<DefaultsDictionary>("Velmor.customDAWBundleIDs"),
              (DefaultsDictionary{{"org.zero.one", "Second"}, {"org.long.name", std::string(64, 'n')}}));
    // Where all are skipped the map is empty, and replaces all the same.
    EXPECT_EQ(importMember("customDAWBundleIDs", R"([{"bundleID":"nodot","name":"a"}])").customDAWCount, 0);
    EXPECT_EQ(stored<DefaultsDictionary>("Velmor.customDAWBundleIDs"), DefaultsDictionary());
}

TEST_F(TovikImporterTest, BundleIDsAreOfLettersDigitsAndDots)
{
    for (const char* valid : {"org.x.y", "a.b", "Org_X-1.y2", ".a", "a.", "a..b", "."})
        EXPECT_TRUE(TovikImporter::isValidBundleID(valid)) << valid;
    for (const char* wrong :
         {"", "nodot", "a.b c", "a.b/c", "a.ä", "a.b\n", "a.b\x7F", "a.b;rm", "../a.b/", "a.$(b)"})
        EXPECT_FALSE(TovikImporter::isValidBundleID(wrong)) << wrong;
    EXPECT_TRUE(TovikImporter::isValidBundleID("a." + std::string(253, 'b')));
    EXPECT_FALSE(TovikImporter::isValidBundleID("a." + std::string(254, 'b')));
}

TEST_F(TovikImporterTest, TextsLoseControlCharactersAndWhatIsTooLong)
{
    using namespace TovikImporter;
    EXPECT_EQ(sanitizedShortString(std::string("a\0b\x1F\x20\x7F\tc\r\n", 10)), "ab c");
    EXPECT_EQ(sanitizedShortString(std::string(300, 'x')), std::string(256, 'x'));
    EXPECT_EQ(sanitizedShortString(std::string(256, 'x')), std::string(256, 'x'));
    EXPECT_EQ(sanitizedShortString(""), "");
    // A letter with an accent of its own is one character, and so is a family of four.
    const std::string accented = "e\xCC\x81";
    const std::string family = "👨‍👩‍👧‍👦";
    std::string many;
    std::string first;
    for (int i = 0; i < 300; ++i) {
        many += i % 2 == 0 ? accented : family;
        if (i < 256)
            first += i % 2 == 0 ? accented : family;
    }
    EXPECT_EQ(sanitizedShortString(many), first);
    // The room is counted after the trimming, and the name may end in a space then.
    EXPECT_EQ(sanitizedDAWName("\n\t  My DAW \u00A0\u2003"), "My DAW");
    EXPECT_EQ(sanitizedDAWName("   " + std::string(63, 'x') + " y"), std::string(63, 'x') + " ");
    EXPECT_EQ(sanitizedDAWName(std::string(64, 'x')), std::string(64, 'x'));
    EXPECT_EQ(sanitizedDAWName(" \x01 "), "");
}

TEST_F(TovikImporterTest, OfTwoTargetCalibrationsOfADeviceTheLaterCounts)
{
    const auto record = [](const std::string& uid, double measured) {
        return R"({"calibratedDate":"2026-02-01T10:00:00Z","outputDeviceUID":")" + uid +
               R"(","outputDeviceName":"Out","targetDBA":79,"toleranceDBA":3,"measuredDBA":)" +
               std::to_string(measured) + R"(,"knobNote":"noon"})";
    };
    importMember("targetCalibrations", "[" + record("old", 70) + "]");
    EXPECT_EQ(importMember("targetCalibrations", "[]").targetCalibrationCount, 0);
    EXPECT_TRUE(TargetCalibrationStore(world.defaults).record("old"));
    const ImportResult result =
        importMember("targetCalibrations", "[" + record("out", 78) + "," + record("out", 79.5) + "]");
    EXPECT_EQ(result.targetCalibrationCount, 1);
    const TargetCalibrationStore store(world.defaults);
    EXPECT_THAT(store.recordsByDeviceUID.get(),
                ElementsAre(Pair("out", TargetCalibrationRecord{moment("2026-02-01T10:00:00Z"), "out", "Out",
                                                                79, 3, 79.5, "noon"})));
}

/// \param date ISO 8601
std::string profileText(const std::string& id, const std::string& label, const std::string& date,
                        const std::string& correction = "null")
{
    return R"({"id":")" + id + R"(","label":")" + label +
           R"(","deviceUID":"mic","deviceName":"Mic","levelOffsetAtSave":97.5,"savedDate":")" + date +
           R"(","freqProfile":)" + correction + "}";
}

constexpr auto correctionText =
    R"({"taps":[0.5,0.25],"sampleRate":48000,"measuredDate":"2026-02-03T10:00:00Z",)"
    R"("correctionCurve":[{"frequency":1000,"gainDB":-6.5}]})";

const MicCorrectionProfile correction{{0.5F, 0.25F}, 48000, moment("2026-02-03T10:00:00Z"), {{1000, -6.5F}}};

TEST_F(TovikImporterTest, ProfilesJoinTheStoredOnesNewestFirst)
{
    importMember("calibrationProfiles", "[" + profileText(oneID, "kept", "2026-01-01T00:00:00Z") + "," +
                                            profileText(otherID, "old", "2026-01-05T00:00:00Z") + "]");
    const ImportResult result = importMember(
        "calibrationProfiles",
        "[" + profileText("99999999-2222-4333-8444-555555555555", "oldest", "2025-12-01T00:00:00Z") + "," +
            profileText(otherID, "new", "2026-02-05T00:00:00Z", correctionText) + "]");
    EXPECT_EQ(result.calibrationProfileCount, 2);
    const CalibrationProfileStore store(world.loop, world.defaults);
    const auto& profiles = store.profiles.get();
    ASSERT_THAT(profiles, SizeIs(3));
    EXPECT_EQ(profiles[0].label, "new");
    EXPECT_EQ(profiles[0].freqProfile, correction);
    EXPECT_EQ(profiles[1].label, "kept");
    EXPECT_EQ(profiles[2].label, "oldest");
    EXPECT_EQ(profiles[2].savedDate, moment("2025-12-01T00:00:00Z"));
    EXPECT_EQ(importMember("calibrationProfiles", "[]").calibrationProfileCount, 0);
    EXPECT_EQ(CalibrationProfileStore(world.loop, world.defaults).profiles.get(), profiles);
}

TEST_F(TovikImporterTest, TheOffsetOfAProfileIsLimitedAsTheOneInForce)
{
    std::string profile = profileText(oneID, "a", "2026-01-01T00:00:00Z");
    profile.replace(profile.find("97.5"), 4, "1e30");
    importMember("calibrationProfiles", "[" + profile + "]");
    EXPECT_EQ(CalibrationProfileStore(world.loop, world.defaults).profiles.get().at(0).levelOffsetAtSave,
              120);
}

TEST_F(TovikImporterTest, TextsAndCurvesThatNobodyCouldDrawAreMalformed)
{
    const auto profilesOf = [](std::size_t length) {
        return "[" + profileText(oneID, std::string(length, 'x'), "2026-01-01T00:00:00Z") + "]";
    };
    EXPECT_EQ(importMember("calibrationProfiles", profilesOf(4096)).calibrationProfileCount, 1);
    expectMalformed(R"({"schemaVersion":1,"calibrationProfiles":)" + profilesOf(4097) + "}");
    expectMalformed(R"({"schemaVersion":1,"sessions":[)" +
                    sessionText(oneID, "2026-02-20T08:00:00Z", std::string(4097, 'x')) + "]}");
    std::string points = R"({"frequency":1000,"gainDB":0})";
    for (int i = 0; i < 8192; ++i)
        points += R"(,{"frequency":1000,"gainDB":0})";
    expectMalformed(
        R"({"schemaVersion":1,"micFrequencyCorrection":{"profile":{"taps":[1],"sampleRate":48000,)"
        R"("measuredDate":"2026-02-03T10:00:00Z","correctionCurve":[)" +
        points + "]}}}");
}

TEST_F(TovikImporterTest, ProfilesThatCannotBeReadAreReplaced)
{
    world.defaults.set("calibrationProfiles_v1", dataOf("nonsense"));
    EXPECT_EQ(importMember("calibrationProfiles", "[" + profileText(oneID, "a", "2026-01-01T00:00:00Z") + "]")
                  .calibrationProfileCount,
              1);
    EXPECT_THAT(CalibrationProfileStore(world.loop, world.defaults).profiles.get(), SizeIs(1));
}

TEST_F(TovikImporterTest, WhatCouldNotBeReadAgainIsNotStored)
{
    importMember("calibrationProfiles", "[" + profileText(oneID, "mine", "2026-01-01T00:00:00Z") + "]");
    const auto before = world.defaults.values();
    // In the stores a moment is at most a century from the year 2001.
    for (const char* date : {"2200-01-01T00:00:00Z", "4001-01-01T00:00:00Z", "0001-01-01T00:00:00Z"}) {
        EXPECT_EQ(importMember("calibrationProfiles", "[" + profileText(otherID, "far", date) + "]")
                      .calibrationProfileCount,
                  0)
            << date;
        EXPECT_EQ(world.defaults.values(), before) << date;
    }
    EXPECT_FALSE(importMember("micFrequencyCorrection",
                              R"({"profile":{"taps":[1],"sampleRate":48000,)"
                              R"("measuredDate":"1800-01-01T00:00:00Z","correctionCurve":[]}})")
                     .micCorrectionRestored);
    EXPECT_EQ(world.defaults.values(), before);
}

TEST_F(TovikImporterTest, TheCorrectionIsTakenWithItsSwitch)
{
    EXPECT_FALSE(importMember("micFrequencyCorrection", "{}").micCorrectionRestored);
    EXPECT_EQ(stored<bool>("micFreqCorrectionEnabled"), std::nullopt);
    EXPECT_FALSE(importMember("micFrequencyCorrection", R"({"enabled":true})").micCorrectionRestored);
    EXPECT_EQ(stored<bool>("micFreqCorrectionEnabled"), true);
    EXPECT_EQ(stored<DefaultsData>("micCorrectionProfile"), std::nullopt);
    EXPECT_TRUE(importMember("micFrequencyCorrection", std::string(R"({"profile":)") + correctionText + "}")
                    .micCorrectionRestored);
    const MicFrequencyCorrection inForce(world.defaults);
    EXPECT_EQ(inForce.profile.get(), correction);
    EXPECT_TRUE(inForce.isEnabled);
}

TEST_F(TovikImporterTest, ACorrectionOfTooManyTapsIsMalformed)
{
    const auto textOfTaps = [](std::size_t count) {
        std::string taps = "0";
        for (std::size_t i = 1; i < count; ++i)
            taps += ",0";
        return R"({"taps":[)" + taps +
               R"(],"sampleRate":48000,"measuredDate":"2026-02-03T10:00:00Z","correctionCurve":[]})";
    };
    EXPECT_TRUE(importMember("micFrequencyCorrection", R"({"profile":)" + textOfTaps(8192) + "}")
                    .micCorrectionRestored);
    expectMalformed(R"({"schemaVersion":1,"micFrequencyCorrection":{"profile":)" + textOfTaps(8193) + "}}");
    expectMalformed(R"({"schemaVersion":1,"calibrationProfiles":[)" +
                    profileText(oneID, "a", "2026-01-01T00:00:00Z", textOfTaps(8193)) + "]}");
}

} // namespace
} // namespace velmor
