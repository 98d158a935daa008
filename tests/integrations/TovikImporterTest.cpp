// SPDX-License-Identifier: GPL-3.0-or-later
#include "TovikImportFixture.h"

#include <sessions/SessionFormat.h>
#include <support/SampleSessions.h>

#include <chrono>
#include <filesystem>
#include <limits>
#include <utility>
#include <vector>

#include <sys/stat.h>

namespace velmor {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using testing::StartsWith;
using Reason = ImportError::Reason;

TEST_F(TovikImporterTest, AFileOfTheVersionAloneSucceedsAndBringsNothing)
{
    EXPECT_EQ(import(R"({"schemaVersion":1})"), ImportResult());
    EXPECT_THAT(world.defaults.values(), ElementsAre(Pair(welcomeShown, DefaultsValue(true))));
    EXPECT_THAT(manager->sessionHistory.get(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(world.historyFile()));
}

TEST_F(TovikImporterTest, AFileOfExactlyTheLimitIsAcceptedAndOneByteMoreIsNot)
{
    const std::string head = R"({"schemaVersion":1,"unknown":")";
    const std::string tail = R"("})";
    const std::string exact = head + std::string(67108864 - head.size() - tail.size(), 'x') + tail;
    ASSERT_EQ(exact.size(), 67108864U);
    EXPECT_EQ(import(exact), ImportResult());
    world.defaults.remove(welcomeShown);
    writeFile(file, exact + " ");
    expectRefusal(Reason::fileTooLarge,
                  "Export file is too large (64 MiB). Tovik exports are typically under 50 MiB.");
    // 64.9 MiB are as many.
    std::filesystem::resize_file(file, 68052582);
    expectRefusal(Reason::fileTooLarge, StartsWith("Export file is too large (64 MiB). "));
    std::filesystem::resize_file(file, 68157440);
    expectRefusal(Reason::fileTooLarge, StartsWith("Export file is too large (65 MiB). "));
}

// A read of it would end for want of memory, or with the disk's patience: it is one hole of a terabyte.
TEST_F(TovikImporterTest, TheSizeIsLookedAtBeforeTheFileIsRead)
{
    writeFile(file, "{");
    std::filesystem::resize_file(file, 1ULL << 40);
    expectRefusal(Reason::fileTooLarge,
                  "Export file is too large (1048576 MiB). Tovik exports are typically under 50 MiB.");
}

TEST_F(TovikImporterTest, AnotherSchemaIsNotUnderstood)
{
    manager->mergeSessions({sampleSession(world.loop.now(), 3)});
    writeFile(file, R"({"schemaVersion":2,"userDefaults":{"calibrationOffset":100},"sessions":[]})");
    expectRefusal(
        Reason::unsupportedSchemaVersion,
        "This export uses schema version 2; Velmor understands version 1. Update Velmor and try again.");
    writeFile(file, R"({"schemaVersion":0})");
    expectRefusal(
        Reason::unsupportedSchemaVersion,
        "This export uses schema version 0; Velmor understands version 1. Update Velmor and try again.");
    // The whole is decoded before the version is looked at.
    expectMalformed(R"({"schemaVersion":2,"userDefaults":[]})");
}

TEST_F(TovikImporterTest, AnImportDuringASessionIsRefusedBeforeTheFileIsOpened)
{
    manager->startSession("REAPER");
    // There is no file: nobody has noticed.
    expectRefusal(Reason::sessionActive,
                  "End the current session before importing — re-importing during a live session could "
                  "overwrite session data.");
    EXPECT_TRUE(manager->currentSession.get());
}

TEST_F(TovikImporterTest, AFileThatCannotBeReadSaysWhy)
{
    expectRefusal(Reason::fileUnreadable, "Couldn't read the export file: No such file or directory");
    std::filesystem::create_directory(file);
    expectRefusal(Reason::fileUnreadable, StartsWith("Couldn't read the export file: "));
    std::filesystem::remove(file);
    // A pipe would have the program wait for whoever writes to it.
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    expectRefusal(Reason::fileUnreadable, StartsWith("Couldn't read the export file: "));
}

TEST_F(TovikImporterTest, WhatIsNoJsonOrOfAnotherShapeIsMalformed)
{
    const std::string profile =
        R"({"id":"0123ABCD-EF45-4789-8ABC-DEF012345678","label":"a","deviceUID":"","deviceName":"",)"
        R"("levelOffsetAtSave":94,"savedDate":)";
    for (const std::string& text : std::vector<std::string>{
             "", "nonsense", "[]", "1", "\"text\"", "null", "{}", R"({"schemaVersion":"1"})",
             R"({"schemaVersion":null})", R"({"schemaVersion":1.5})", R"({"schemaVersion":1)",
             R"({"schemaVersion":1} {})", R"({"schemaVersion":1,"unknown":[1,}])",
             R"({"schemaVersion":1,"unknown":"\ud800"})", "{\"schemaVersion\":1,\"unknown\":\"\xFF\"}"})
        expectMalformed(text);
    for (const auto& [key, value] : std::vector<std::pair<std::string, std::string>>{
             {"exportedFromTovikVersion", "2"},
             {"exportedFromTovikBuild", "{}"},
             {"userDefaults", "[]"},
             {"userDefaults", "\"text\""},
             {"userDefaults", "7"},
             {"userDefaults", R"({"calibrationOffset":"94"})"},
             {"userDefaults", R"({"calibrationOffset":1e999})"},
             {"userDefaults", R"({"conservativeDoseMode":1})"},
             {"userDefaults", R"({"selectedDeviceUID":1})"},
             {"sessions", "{}"},
             {"sessions", "\"text\""},
             {"sessions", "[null]"},
             {"sessions", R"([{"id":"0123ABCD-EF45-4789-8ABC-DEF012345678"}])"},
             {"sessions", "[" + sessionText("no UUID", "2026-03-01T09:00:00Z") + "]"},
             {"sessions", "[" + sessionText(oneID, "2026-03-01") + "]"},
             {"targetCalibrations", "{}"},
             {"targetCalibrations", "[{}]"},
             {"calibrationProfiles", "[" + profile + "725000000}]"}, // a number of seconds
             {"calibrationProfiles", "[" + profile + "\"2026-03-01\"}]"},
             {"micFrequencyCorrection", R"({"profile":{}})"},
             {"micFrequencyCorrection", R"({"enabled":"yes"})"},
             {"monitoringAlertSettings", R"({"offTargetDirection":1})"},
             {"referenceLevelSettings", R"({"target":"79"})"},
             {"customDAWBundleIDs", R"([{"bundleID":"org.x.y"}])"},
             {"customDAWBundleIDs", R"([{"bundleID":"org.x.y","name":null}])"},
             {"todayDose", "{}"},
             {"todayDose", R"({"date":"2026-03-02","peakCount135":1.5})"}})
        expectMalformed(R"({"schemaVersion":1,")" + key + "\":" + value + "}");
}

// A text that nobody has read yet must not be taken for the key of what follows.
TEST_F(TovikImporterTest, ATextInPlaceOfABlockIsNotTakenForAKey)
{
    expectMalformed(R"({"schemaVersion":1,"userDefaults":"todayDose"})");
    expectMalformed(R"({"sessions":"schemaVersion","schemaVersion":1})");
}

TEST_F(TovikImporterTest, WhatIsMissingOrNullIsNotThere)
{
    EXPECT_EQ(import(R"({"schemaVersion":1,"exportedFromTovikVersion":null,"exportedFromTovikBuild":null,)"
                     R"("userDefaults":null,"sessions":null,"targetCalibrations":null,)"
                     R"("calibrationProfiles":null,"micFrequencyCorrection":null,)"
                     R"("monitoringAlertSettings":null,"referenceLevelSettings":null,)"
                     R"("customDAWBundleIDs":null,"todayDose":null,"unknown":null})"),
              ImportResult());
    EXPECT_THAT(world.defaults.values(), SizeIs(1));
    EXPECT_EQ(importMember("userDefaults", R"({"calibrationOffset":null})"), ImportResult());
    EXPECT_THAT(world.defaults.values(), SizeIs(1));
}

TEST_F(TovikImporterTest, UnknownKeysAreIgnoredWhereverTheyAre)
{
    const ImportResult result = import(
        R"({"future":{"a":[1,2,{"b":"c"}]},"schemaVersion":1,"userDefaults":{"calibrationOffset":97,"theme":3},)"
        R"("customDAWBundleIDs":[{"bundleID":"org.x.y","name":"Y","icon":"z"}],"last":[true,false,null]})");
    EXPECT_EQ(result.customDAWCount, 1);
    EXPECT_EQ(stored<double>("calibrationOffset"), 97);
}

TEST_F(TovikImporterTest, SessionsJoinTheHistoryOldestFirst)
{
    world.runSession(*manager, "local");
    const Session local = manager->sessionHistory.get().at(0);
    const ImportResult result =
        importMember("sessions", "[" + sessionText(oneID, "2026-02-20T08:00:00Z") + "," +
                                     sessionText(otherID, "2026-02-19T23:59:59Z") + "]");
    EXPECT_EQ(result.sessionCount, 2);
    EXPECT_EQ(result.historyDays, 2);
    const auto& history = manager->sessionHistory.get();
    ASSERT_THAT(history, SizeIs(3));
    EXPECT_EQ(history[0].id, uuidFromText(otherID));
    EXPECT_EQ(history[1].id, uuidFromText(oneID));
    EXPECT_EQ(history[2], local);
    EXPECT_EQ(decodedHistory(world.history()), history);
    // The same again changes nothing.
    importFile();
    EXPECT_THAT(manager->sessionHistory.get(), SizeIs(3));
}

TEST_F(TovikImporterTest, AnImportedSessionReplacesTheLocalOneOfTheSameIdentity)
{
    importMember("sessions", "[" + sessionText(oneID, "2026-02-20T08:00:00Z", "local") + "]");
    const ImportResult result =
        importMember("sessions", "[" + sessionText(oneID, "2026-02-21T08:00:00Z", "imported") + "]");
    EXPECT_EQ(result.sessionCount, 1);
    const auto& history = manager->sessionHistory.get();
    ASSERT_THAT(history, SizeIs(1));
    EXPECT_EQ(history[0].dawName, "imported");
    EXPECT_EQ(history[0].averageSPL, 78.5);
}

TEST_F(TovikImporterTest, SessionsMoreThanFiveYearsAwayAreDropped)
{
    // The day is 2026-03-02.
    const ImportResult result =
        importMember("sessions", "[" + sessionText(oneID, "2020-03-02T09:00:00Z") + "," +
                                     sessionText(otherID, "2026-03-01T08:00:00Z") + "]");
    EXPECT_EQ(result.sessionCount, 1);
    EXPECT_EQ(result.historyDays, 1);
    EXPECT_THAT(manager->sessionHistory.get(), SizeIs(1));
    const Date now = world.loop.now();
    using std::chrono::seconds;
    EXPECT_TRUE(TovikImporter::isPlausibleSessionDate(now - seconds(157788000), now));
    EXPECT_TRUE(TovikImporter::isPlausibleSessionDate(now + seconds(157788000), now));
    EXPECT_FALSE(TovikImporter::isPlausibleSessionDate(now - seconds(157788001), now));
    EXPECT_FALSE(TovikImporter::isPlausibleSessionDate(now + seconds(157788001), now));
}

TEST_F(TovikImporterTest, AMomentThatNoProgramCanHoldCostsItsSessionAndNothingElse)
{
    for (const char* start : {"0001-01-01T00:00:00Z", "1677-01-01T00:00:00Z", "4001-01-01T00:00:00Z"}) {
        const ImportResult result =
            importMember("sessions", "[" + sessionText(oneID, start) + "," +
                                         sessionText(otherID, "2026-03-01T08:00:00Z") + "]");
        EXPECT_EQ(result.sessionCount, 1) << start;
        EXPECT_THAT(manager->sessionHistory.get(), SizeIs(1)) << start;
    }
    // Its start is what a session is judged by; and what was stored is read again.
    std::string text = sessionText(oneID, "2026-03-01T08:00:00Z");
    text.replace(text.rfind("2026-"), 4, "4001");
    text.replace(text.find("[]"), 2,
                 R"([{"timestamp":"0001-01-01T00:00:00Z","dBA":70,"dosePercentageAtTime":0}])");
    EXPECT_EQ(importMember("sessions", "[" + text + "]").sessionCount, 1);
    const auto& history = manager->sessionHistory.get();
    ASSERT_THAT(history, SizeIs(2));
    const Session& session = history[history[0].id == uuidFromText(oneID) ? 0 : 1];
    EXPECT_EQ(session.endDate, moment("2262-04-11T23:47:15Z"));
    ASSERT_THAT(session.readings, SizeIs(1));
    EXPECT_EQ(session.readings[0].timestamp, moment("1677-09-21T00:12:45Z"));
    EXPECT_EQ(decodedHistory(world.history()), history);
}

TEST_F(TovikImporterTest, AFileWithoutAPlausibleSessionLeavesTheHistory)
{
    world.runSession(*manager, "local");
    const auto history = manager->sessionHistory.get();
    for (const std::string& sessions :
         {std::string("[]"), "[" + sessionText(oneID, "2020-03-02T09:00:00Z") + "]"}) {
        EXPECT_EQ(importMember("sessions", sessions), ImportResult()) << sessions;
        EXPECT_EQ(manager->sessionHistory.get(), history) << sessions;
        EXPECT_EQ(decodedHistory(world.history()), history) << sessions;
    }
}

TEST_F(TovikImporterTest, DaysAreThoseOfTheLocalCalendar)
{
    world.calendar = Calendar::inZone("America/New_York").value();
    // 23:30 and 00:30 in New York, on either side of a midnight; the first two lie in one day.
    const ImportResult result = importMember(
        "sessions", "[" + sessionText(oneID, "2026-02-20T15:00:00Z") + "," +
                        sessionText(otherID, "2026-02-21T04:30:00Z") + "," +
                        sessionText("22222222-2222-4333-8444-555555555555", "2026-02-21T05:30:00Z") + "]");
    EXPECT_EQ(result.sessionCount, 3);
    EXPECT_EQ(result.historyDays, 2);
}

TEST_F(TovikImporterTest, SessionsThatCouldNotBeSavedAreKeptWhenTheHistoryIsReadAnew)
{
    world.runSession(*manager, "local");
    const std::string before = world.history();
    // No file can be made in place of a folder.
    std::filesystem::remove(world.historyFile());
    std::filesystem::create_directories(world.historyFile() / "in the way");
    importMember("sessions", "[" + sessionText(oneID, "2026-02-20T08:00:00Z") + "]");
    EXPECT_THAT(manager->sessionHistory.get(), SizeIs(2));
    EXPECT_TRUE(manager->hasUnsavedSessions());
    std::filesystem::remove_all(world.historyFile());
    writeFile(world.historyFile(), before);
    manager->loadHistory();
    EXPECT_THAT(manager->sessionHistory.get(), SizeIs(2));
    EXPECT_FALSE(manager->hasUnsavedSessions());
    EXPECT_THAT(decodedHistory(world.history()), SizeIs(2));
}

TEST_F(TovikImporterTest, AnImportedCopyThatCouldNotBeSavedIsNotUndoneByTheFile)
{
    importMember("sessions", "[" + sessionText(oneID, "2026-02-20T08:00:00Z", "local") + "]");
    const std::string before = world.history();
    std::filesystem::remove(world.historyFile());
    std::filesystem::create_directories(world.historyFile() / "in the way");
    importMember("sessions", "[" + sessionText(oneID, "2026-02-20T08:00:00Z", "imported") + "]");
    std::filesystem::remove_all(world.historyFile());
    writeFile(world.historyFile(), before);
    manager->loadHistory();
    ASSERT_THAT(manager->sessionHistory.get(), SizeIs(1));
    EXPECT_EQ(manager->sessionHistory.get()[0].dawName, "imported");
    EXPECT_EQ(decodedHistory(world.history()).at(0).dawName, "imported");
}

TEST_F(TovikImporterTest, TodaysDoseIsCarriedForwardAsAFraction)
{
    const ImportResult result =
        importMember("todayDose", R"({"date":"2026-03-02","dosePercent":12.5,"peakDBACount115":4,)"
                                  R"("peakCount135":3,"peakCount137":2,"peakCount140":1})");
    EXPECT_TRUE(result.todayDoseRestored);
    EXPECT_EQ(stored<double>("DoseCalculator.accumulatedDose"), 0.125);
    EXPECT_EQ(stored<Date>("DoseCalculator.doseDate"), world.loop.now());
    EXPECT_EQ(stored<std::int64_t>("DoseCalculator.peakCount135"), 3);
    EXPECT_EQ(stored<std::int64_t>("DoseCalculator.peakCount137"), 2);
    EXPECT_EQ(stored<std::int64_t>("DoseCalculator.peakCount140"), 1);
    EXPECT_EQ(stored<std::int64_t>("DoseCalculator.peakDBACount115"), 4);
    world.dose.restorePersistedDose();
    EXPECT_EQ(world.dose.accumulatedDose, 0.125);
}

TEST_F(TovikImporterTest, ADoseOfAnotherDayRestoresNothing)
{
    for (const char* date :
         {"2026-03-01", "2026-03-03", "2025-03-02", "nonsense", "", "2026-3-2", "2026-03-02T00"}) {
        const ImportResult result = importMember("todayDose", std::string(R"({"date":")") + date +
                                                                  R"(","dosePercent":50,"peakCount135":1})");
        EXPECT_FALSE(result.todayDoseRestored) << date;
        EXPECT_THAT(world.defaults.values(), SizeIs(1)) << date;
    }
    // The day is that of the calendar: in New York it is still the day before.
    world.calendar = Calendar::inZone("America/New_York").value();
    world.loop.setClock(moment("2026-03-03T03:00:00Z"));
    EXPECT_TRUE(importMember("todayDose", R"({"date":"2026-03-02"})").todayDoseRestored);
}

TEST_F(TovikImporterTest, TheDoseIsLimitedAndTheDaySetWhateverTheBlockHolds)
{
    importMember("todayDose", R"({"date":"2026-03-02","dosePercent":2500})");
    EXPECT_EQ(stored<double>("DoseCalculator.accumulatedDose"), 10.0);
    importMember("todayDose", R"({"date":"2026-03-02","dosePercent":-3})");
    EXPECT_EQ(stored<double>("DoseCalculator.accumulatedDose"), 0.0);
    world.defaults = {};
    const TovikImporter::Stores stores{world.defaults, *manager, world.calendar, world.loop.now()};
    TodayDoseBlock block;
    block.date = "2026-03-02";
    block.dosePercent = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(TovikImporter::applyTodayDose(block, stores));
    EXPECT_EQ(stored<double>("DoseCalculator.accumulatedDose"), std::nullopt);
    EXPECT_EQ(stored<Date>("DoseCalculator.doseDate"), world.loop.now());
    EXPECT_FALSE(TovikImporter::applyTodayDose(std::nullopt, stores));
}

TEST_F(TovikImporterTest, ANegativeCountIsNotWrittenAndTheOthersAre)
{
    importMember("todayDose", R"({"date":"2026-03-02","peakCount135":-1,"peakCount137":0,"peakCount140":5,)"
                              R"("peakDBACount115":6})");
    EXPECT_EQ(stored<std::int64_t>("DoseCalculator.peakCount135"), std::nullopt);
    EXPECT_EQ(stored<std::int64_t>("DoseCalculator.peakCount137"), 0);
    EXPECT_EQ(stored<std::int64_t>("DoseCalculator.peakCount140"), 5);
    EXPECT_EQ(stored<std::int64_t>("DoseCalculator.peakDBACount115"), 6);
}

TEST_F(TovikImporterTest, TheSourceIsTold)
{
    const ImportResult result =
        import(R"({"schemaVersion":1,"exportedFromTovikVersion":"3.1.4","exportedFromTovikBuild":"271"})");
    EXPECT_EQ(result.sourceVersion, "3.1.4");
    EXPECT_EQ(result.sourceBuild, "271");
}

// Whatever it is called: it is a text, and stays one.
TEST_F(TovikImporterTest, HostileTextsAreStoredAsTextsOrNotAtAll)
{
    const std::string hostile = R"('; DROP TABLE defaults; -- $(reboot) %s%n <b>\u202E../../../etc)";
    const ImportResult result = import(
        R"({"schemaVersion":1,"exportedFromTovikVersion":")" + hostile +
        R"(","userDefaults":{"selectedDeviceUID":")" + hostile + R"("},"customDAWBundleIDs":[{"bundleID":")" +
        hostile + R"(","name":"a"},{"bundleID":"org.a.b","name":")" + hostile + R"("}],"sessions":[)" +
        sessionText(oneID, "2026-03-01T08:00:00Z", hostile) + "]}");
    const std::string text = "'; DROP TABLE defaults; -- $(reboot) %s%n <b>\u202E../../../etc";
    EXPECT_EQ(stored<std::string>("selectedDeviceUID"), text);
    EXPECT_EQ(result.sourceVersion, text);
    EXPECT_EQ(result.customDAWCount, 1);
    EXPECT_THAT(stored<DefaultsDictionary>("Velmor.customDAWBundleIDs").value(),
                ElementsAre(Pair("org.a.b", text)));
    EXPECT_EQ(decodedHistory(world.history()).at(0).dawName, text);
    EXPECT_THAT(world.folder.names(), ElementsAre("sessions.json"));
}

TEST_F(TovikImporterTest, ADeepTreeIsRefused)
{
    expectMalformed(R"({"schemaVersion":1,"unknown":)" + std::string(100000, '[') + std::string(100000, ']') +
                    "}");
    expectMalformed(R"({"schemaVersion":1,"todayDose":)" + std::string(100000, '[') +
                    std::string(100000, ']') + "}");
}

} // namespace
} // namespace velmor
