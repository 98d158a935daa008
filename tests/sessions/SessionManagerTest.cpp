// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/SessionFormat.h>
#include <support/CapturedOutput.h>
#include <support/SampleSessions.h>
#include <support/SessionWorld.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <limits>

#include <sys/stat.h>
#include <unistd.h>

namespace velmor {
namespace {

using namespace std::chrono_literals;
using std::chrono::days;
using test::contentOf;
using test::moment;
using test::sampleSession;
using test::writeFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class SessionManagerTest : public testing::Test
{
protected:
    std::string printed() { return output.text(); }

    void writeHistory(const std::vector<Session>& sessions) const
    {
        writeFile(world.historyFile(), encodedHistory(sessions).value());
    }

    test::CapturedOutput output;
    test::SessionWorld world;
};

TEST_F(SessionManagerTest, StartingTwiceUnderTheSameNameChangesNothing)
{
    const auto manager = world.manager();
    manager->startSession("REAPER");
    const Session first = manager->currentSession.get().value();
    EXPECT_EQ(first.startDate, world.loop.now());
    manager->updateCurrentSession(60, 0, 0, 0, 0);
    world.loop.runFor(5);
    const Session before = manager->currentSession.get().value();
    manager->startSession("REAPER");
    EXPECT_EQ(manager->currentSession.get(), before);
    manager->updateCurrentSession(70, 0, 0, 0, 0);
    EXPECT_NEAR(manager->currentSession.get()->averageSPL, 67.4036, 1e-4); // both levels are in it
}

TEST_F(SessionManagerTest, StartingUnderAnotherNameRenamesTheRunningSession)
{
    const auto manager = world.manager();
    manager->startSession("Manual");
    const Uuid id = manager->currentSession.get()->id;
    manager->updateCurrentSession(60, 0, 0, 0, 0);
    manager->startSession("REAPER");
    EXPECT_EQ(manager->currentSession.get()->id, id);
    manager->updateCurrentSession(70, 0, 0, 0, 0);
    manager->endSession(world.dose, {});
    ASSERT_EQ(manager->sessionHistory.get().size(), 1U);
    EXPECT_EQ(manager->sessionHistory.get()[0].dawName, "REAPER");
    EXPECT_NEAR(manager->sessionHistory.get()[0].averageSPL, 67.4036, 1e-4);
}

TEST_F(SessionManagerTest, EndingWithoutASessionLeavesTheHistoryAndTheFileUntouched)
{
    const auto manager = world.manager();
    manager->endSession(world.dose, {});
    EXPECT_TRUE(manager->sessionHistory.get().empty());
    EXPECT_FALSE(std::filesystem::exists(world.historyFile()));
}

TEST_F(SessionManagerTest, WithoutASummaryASessionHasNoDisciplineData)
{
    const auto manager = world.manager();
    world.runSession(*manager, "REAPER");
    EXPECT_EQ(manager->sessionHistory.get()[0].monitoringTarget, 0);
    EXPECT_FALSE(manager->sessionHistory.get()[0].hasMonitoringDisciplineData());
}

TEST_F(SessionManagerTest, AnEndedSessionHasItsEndItsDoseAndItsDiscipline)
{
    const auto manager = world.manager();
    world.dose.accumulatedDose = 0.25;
    world.dose.markSessionStart();
    manager->startSession("REAPER");
    world.loop.runFor(100);
    world.dose.accumulatedDose = 0.375;
    manager->endSession(world.dose, ReferenceLevelTracker::SessionSummary{83, 2, 1, 2, 30, 4});
    EXPECT_FALSE(manager->currentSession.get());
    const Session& session = manager->sessionHistory.get().at(0);
    EXPECT_EQ(session.endDate, world.loop.now());
    EXPECT_EQ(session.duration(world.loop.now()), 100);
    EXPECT_NEAR(session.doseAccumulated, 12.5, 1e-9);
    EXPECT_EQ(session.monitoringTarget, 83);
    EXPECT_EQ(session.monitoringTolerance, 2);
    EXPECT_EQ(session.timeSilentSec, 1);
    EXPECT_EQ(session.timeUnderSec, 2);
    EXPECT_EQ(session.timeOnTargetSec, 30);
    EXPECT_EQ(session.timeOverSec, 4);
}

TEST_F(SessionManagerTest, PeaksCountAtTheirLimits)
{
    const auto manager = world.manager();
    manager->startSession("REAPER");
    const auto counts = [&] {
        const Session& session = manager->currentSession.get().value();
        return std::tuple(session.peakCount135, session.peakCount140, session.peakDBACount115);
    };
    manager->updateCurrentSession(80, 80, 134.99, 114.99, 0);
    EXPECT_EQ(counts(), std::tuple(0, 0, 0));
    manager->updateCurrentSession(80, 80, 135.0, 115.0, 0);
    EXPECT_EQ(counts(), std::tuple(1, 0, 1));
    manager->updateCurrentSession(80, 80, 139.99, 0, 0);
    EXPECT_EQ(counts(), std::tuple(2, 0, 1));
    manager->updateCurrentSession(80, 80, 140.0, 0, 0);
    EXPECT_EQ(counts(), std::tuple(3, 1, 1));
    EXPECT_EQ(manager->currentSession.get()->peakDBC, 140.0);
}

TEST_F(SessionManagerTest, The135CountIsNeverBelowThe140Count)
{
    const auto manager = world.manager();
    manager->startSession("REAPER");
    for (int i = 0; i < 1000; ++i) {
        manager->updateCurrentSession(80, 80, 130 + i % 17, 0, 0);
        ASSERT_GE(manager->currentSession.get()->peakCount135, manager->currentSession.get()->peakCount140);
    }
}

TEST_F(SessionManagerTest, TheAverageIsOneOfEnergies)
{
    const auto manager = world.manager();
    manager->startSession("REAPER");
    manager->updateCurrentSession(60, 0, 0, 0, 0);
    manager->updateCurrentSession(70, 0, 0, 0, 0);
    EXPECT_NEAR(manager->currentSession.get()->averageSPL, 10 * std::log10((1e6 + 1e7) / 2), 1e-9);
    EXPECT_EQ(manager->currentSession.get()->peakSPL, 70);
    EXPECT_EQ(manager->currentSession.get()->doseAccumulated, 0);
    manager->endSession(world.dose, {});
    manager->startSession("REAPER"); // starts anew
    manager->updateCurrentSession(50, 0, 0, 0, 0);
    EXPECT_NEAR(manager->currentSession.get()->averageSPL, 50, 1e-9);
}

TEST_F(SessionManagerTest, ASessionOfNegativeLevelsKeepsAPeakOfZero)
{
    const auto manager = world.manager();
    manager->startSession("REAPER");
    manager->updateCurrentSession(-20, -20, -5, -5, 0);
    EXPECT_EQ(manager->currentSession.get()->peakSPL, 0);
    EXPECT_EQ(manager->currentSession.get()->peakDBC, 0);
}

TEST_F(SessionManagerTest, ReadingsAreAppendedWithTheirMoment)
{
    const auto manager = world.manager();
    manager->addReading(80, 83, 5, Zone::over); // nobody is there to take it
    manager->startSession("REAPER");
    world.loop.runFor(10);
    manager->addReading(80, 83, 5, Zone::over);
    const SPLReading expected{world.loop.now(), 80, 5, 83, Zone::over};
    EXPECT_THAT(manager->currentSession.get()->readings, ElementsAre(expected));
    manager->updateCurrentSession(50, 0, 0, 0, 0);
    EXPECT_EQ(manager->currentSession.get()->readings.size(), 1U);
}

TEST_F(SessionManagerTest, TheNewestSessionIsFirstAndTheRunningOneIsNotInTheFile)
{
    const auto manager = world.manager();
    world.runSession(*manager, "first");
    world.runSession(*manager, "second");
    manager->startSession("third");
    manager->saveHistory();
    const auto sessions = decodedHistory(world.history());
    ASSERT_EQ(sessions.size(), 2U);
    EXPECT_EQ(sessions[0].dawName, "second");
    EXPECT_EQ(sessions[1].dawName, "first");
    EXPECT_EQ(sessions, manager->sessionHistory.get());
    struct stat status = {};
    ASSERT_EQ(::stat(world.historyFile().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(SessionManagerTest, ASubSecondStartLivesInMemoryOnly)
{
    world.loop.runFor(0.25);
    auto manager = world.manager();
    world.runSession(*manager, "REAPER");
    EXPECT_EQ(manager->sessionHistory.get()[0].startDate, moment("2026-03-02T09:00:00Z") + 250ms);
    manager = world.manager();
    EXPECT_EQ(manager->sessionHistory.get()[0].startDate, moment("2026-03-02T09:00:00Z"));
}

TEST_F(SessionManagerTest, ADeletedSessionLeavesTheFileAtOnce)
{
    const auto manager = world.manager();
    world.runSession(*manager, "first");
    world.runSession(*manager, "second");
    const Uuid id = manager->sessionHistory.get()[0].id;
    manager->deleteSession(id);
    ASSERT_EQ(manager->sessionHistory.get().size(), 1U);
    EXPECT_EQ(decodedHistory(world.history()), manager->sessionHistory.get());
    EXPECT_EQ(manager->sessionHistory.get()[0].dawName, "first");
}

TEST_F(SessionManagerTest, DeletingAnUnknownSessionRewritesTheFileAndChangesNothing)
{
    const auto manager = world.manager();
    world.runSession(*manager, "first");
    const std::string before = world.history();
    std::filesystem::remove(world.historyFile());
    manager->deleteSession(makeUuid());
    EXPECT_EQ(world.history(), before);
}

TEST_F(SessionManagerTest, DuplicateIdentitiesAreDeletedTogether)
{
    const Session session = sampleSession(world.loop.now() - 1h, 3);
    writeHistory({session, session, sampleSession(world.loop.now() - 2h, 3, 2)});
    const auto manager = world.manager();
    EXPECT_EQ(manager->sessionHistory.get().size(), 3U);
    manager->deleteSession(session.id);
    EXPECT_EQ(manager->sessionHistory.get().size(), 1U);
}

TEST_F(SessionManagerTest, TodaysSessionsAreThoseThatStartedToday)
{
    world.calendar = Calendar::inZone("Europe/Berlin").value(); // 10:00 there; the day began at 23:00Z
    writeHistory({sampleSession(moment("2026-03-02T08:00:00Z"), 12, 1), // 2 minutes
                  sampleSession(moment("2026-03-01T23:00:00Z"), 60, 2), // 10 minutes
                  sampleSession(moment("2026-03-01T22:59:59Z"), 60, 3)});
    const auto manager = world.manager();
    manager->startSession("REAPER"); // not among them
    EXPECT_EQ(manager->todaysSessions().size(), 2U);
    EXPECT_EQ(manager->todaysSessions()[0].startDate, moment("2026-03-02T08:00:00Z"));
    EXPECT_EQ(manager->todaysTotalDuration(), 720);
    EXPECT_EQ(manager->todaysTotalDurationFormatted(), "0h 12m");
}

TEST_F(SessionManagerTest, ADayOfHoursReadsAsHoursAndMinutes)
{
    const auto manager = world.manager();
    EXPECT_EQ(manager->todaysTotalDurationFormatted(), "0h 0m");
    Session session = sampleSession(moment("2026-03-02T00:00:00Z"), 0);
    session.endDate = session.startDate + 3h + 59min + 59s;
    manager->sessionHistory = std::vector{session};
    EXPECT_EQ(manager->todaysTotalDurationFormatted(), "3h 59m");
}

TEST_F(SessionManagerTest, AMissingFileLeavesTheHistoryAsItIs)
{
    const auto manager = world.manager();
    EXPECT_EQ(world.folder.names(), std::vector<std::string>{});
    world.runSession(*manager, "first");
    std::filesystem::remove(world.historyFile());
    manager->loadHistory();
    EXPECT_EQ(manager->sessionHistory.get().size(), 1U);
    EXPECT_EQ(printed(), "");
}

TEST_F(SessionManagerTest, LoadingAHistoryInWhichNothingChangesDoesNotRewriteTheFile)
{
    writeHistory(
        {sampleSession(world.loop.now() - days(2), 100), sampleSession(world.loop.now() - days(20), 1)});
    const std::string before = world.history() + "\n ";
    writeFile(world.historyFile(), before);
    const auto manager = world.manager();
    EXPECT_EQ(manager->sessionHistory.get().size(), 2U);
    EXPECT_EQ(world.history(), before);
}

TEST_F(SessionManagerTest, LoadingAHistoryInWhichReadingsAreThinnedRewritesTheFile)
{
    writeHistory({sampleSession(world.loop.now() - days(20), 100)});
    auto manager = world.manager();
    EXPECT_EQ(manager->sessionHistory.get()[0].readings.size(), 10U);
    const std::string thinned = world.history();
    EXPECT_EQ(decodedHistory(thinned), manager->sessionHistory.get());
    std::filesystem::last_write_time(world.historyFile(), std::filesystem::file_time_type());
    manager = world.manager(); // the second load writes nothing
    EXPECT_EQ(std::filesystem::last_write_time(world.historyFile()), std::filesystem::file_time_type());
}

TEST_F(SessionManagerTest, RetentionFollowsTheStoredDays)
{
    world.defaults.set("sessionDetailedRetentionDays", std::int64_t(2));
    world.defaults.set("sessionTotalRetentionDays", std::int64_t(7));
    writeHistory({sampleSession(world.loop.now() - days(1), 100, 1),
                  sampleSession(world.loop.now() - days(3), 100, 2),
                  sampleSession(world.loop.now() - days(8), 100, 3)});
    const auto manager = world.manager();
    ASSERT_EQ(manager->sessionHistory.get().size(), 2U);
    EXPECT_EQ(manager->sessionHistory.get()[0].readings.size(), 100U);
    EXPECT_EQ(manager->sessionHistory.get()[1].readings.size(), 10U);
    EXPECT_EQ(decodedHistory(world.history()).size(), 2U);
}

TEST_F(SessionManagerTest, AHistoryThatCanNotBeReadLeavesAnEmptyOneAndIsKept)
{
    writeFile(world.historyFile(), "[{\"id\":");
    const auto manager = world.manager();
    EXPECT_TRUE(manager->sessionHistory.get().empty());
    EXPECT_EQ(world.history(), "[{\"id\":");
    const std::string lines = printed();
    EXPECT_THAT(lines, StartsWith("Failed to load session history: "));
    EXPECT_THAT(lines, HasSubstr("[Velmor] The damaged session history is kept as " +
                                 (world.folder / "sessions.damaged-2026-03-02T090000Z.json").native()));
}

TEST_F(SessionManagerTest, AHistoryThatIsAFolderIsNoHistory)
{
    std::filesystem::create_directory(world.historyFile());
    const auto manager = world.manager();
    world.runSession(*manager, "first");
    EXPECT_EQ(manager->sessionHistory.get().size(), 1U);
    EXPECT_TRUE(std::filesystem::is_directory(world.historyFile()));
    EXPECT_EQ(printed(), "Failed to load session history: Is a directory\n"
                         "Failed to save session history: Is a directory\n");
    EXPECT_THAT(world.notifications.identifiers(), ElementsAre("velmor.session.savefail"));
}

TEST_F(SessionManagerTest, EveryKindOfDamageGivesTheLineAnEmptyHistoryAndKeepsTheFile)
{
    const std::string good = encodedHistory(std::vector{sampleSession(world.loop.now() - 1h, 2)}).value();
    const auto replaced = [&](const std::string& from, const std::string& to) {
        std::string text = good;
        return text.replace(text.find(from), from.size(), to);
    };
    const std::vector<std::string> damaged = {"",
                                              "[",
                                              "null",
                                              "{}",
                                              std::string(1 << 20, '['),
                                              good.substr(0, good.size() / 2),
                                              replaced("\"REAPER\"", "5"),
                                              replaced("2026-03-02T08:00:00Z", "0000-03-02T08:00:00Z"),
                                              replaced("2026-03-02T08:00:00Z", "9999-03-02T08:00:00Z"),
                                              replaced("\"peakCount135\": ", "\"peakCount135\": -1."),
                                              replaced("\"averageSPL\": ", "\"averageSPL\": NaN")};
    for (const auto& text : damaged) {
        writeFile(world.historyFile(), text);
        EXPECT_TRUE(world.manager()->sessionHistory.get().empty()) << text.substr(0, 40);
        EXPECT_EQ(world.history(), text);
    }
    const std::string lines = printed();
    std::size_t count = 0;
    for (std::size_t at = lines.find("Failed to load session history: "); at != std::string::npos;
         at = lines.find("Failed to load session history: ", at + 1))
        ++count;
    EXPECT_EQ(count, damaged.size());
}

TEST_F(SessionManagerTest, DuplicateIdentitiesInAFileAreNoDamage)
{
    const Session session = sampleSession(world.loop.now() - 1h, 2);
    writeHistory({session, session});
    EXPECT_EQ(world.manager()->sessionHistory.get().size(), 2U);
}

TEST_F(SessionManagerTest, ASaveThatFailsKeepsTheHistoryAndSaysSoOnce)
{
    const auto storage = world.folder / "storage";
    std::filesystem::create_directory(storage);
    const auto manager = world.manager(SessionStorage::inFolder(storage));
    std::filesystem::create_directory(storage / "sessions.json"); // can't be replaced by a file
    world.runSession(*manager, "first");
    world.runSession(*manager, "second");
    EXPECT_EQ(manager->sessionHistory.get().size(), 2U);
    EXPECT_TRUE(manager->hasUnsavedSessions());
    ASSERT_EQ(world.notifications.requests.size(), 1U);
    const NotificationRequest& request = world.notifications.requests[0];
    EXPECT_EQ(request.identifier, "velmor.session.savefail");
    EXPECT_EQ(request.title, "Velmor couldn't save session history");
    EXPECT_EQ(request.subtitle, "");
    EXPECT_EQ(request.body, "Check disk space and Velmor's container permissions. Is a directory");
    EXPECT_EQ(request.categoryIdentifier, "");
    EXPECT_EQ(request.sound, NotificationSound::standard);
    EXPECT_EQ(request.interruptionLevel, InterruptionLevel::standard);
    EXPECT_EQ(printed(), "Failed to save session history: Is a directory\n"
                         "Failed to save session history: Is a directory\n");

    // As soon as it can be written, all of it is.
    std::filesystem::remove(storage / "sessions.json");
    manager->saveHistory();
    EXPECT_FALSE(manager->hasUnsavedSessions());
    EXPECT_EQ(decodedHistory(contentOf(storage / "sessions.json")).size(), 2U);
}

TEST_F(SessionManagerTest, WithoutABundleIdentifierAFailedSaveRaisesNoNotification)
{
    std::filesystem::create_directory(world.historyFile());
    const auto manager = world.manager({}, SessionManager::Bundle::none);
    world.runSession(*manager, "first");
    EXPECT_TRUE(world.notifications.requests.empty());
}

TEST_F(SessionManagerTest, ANumberThatIsNotFiniteFailsTheSaveAndKeepsTheFile)
{
    const auto manager = world.manager();
    world.runSession(*manager, "good");
    const std::string before = world.history();
    world.runSession(*manager, "bad", std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(world.history(), before);
    EXPECT_THAT(printed(), HasSubstr("Failed to save session history: a level is not a finite number\n"));
    EXPECT_THAT(world.notifications.identifiers(), ElementsAre("velmor.session.savefail"));
    EXPECT_EQ(manager->sessionHistory.get().size(), 2U);
}

TEST_F(SessionManagerTest, ASessionThatCouldNotBeSavedSurvivesALoad)
{
    const auto manager = world.manager();
    world.runSession(*manager, "saved");
    const std::string before = world.history();
    std::filesystem::remove(world.historyFile());
    std::filesystem::create_directory(world.historyFile());
    world.runSession(*manager, "unsaved");
    std::filesystem::remove(world.historyFile());
    writeFile(world.historyFile(), before);
    manager->loadHistory(); // as at midnight
    ASSERT_EQ(manager->sessionHistory.get().size(), 2U);
    EXPECT_EQ(manager->sessionHistory.get()[0].dawName, "unsaved");
    EXPECT_EQ(manager->sessionHistory.get()[1].dawName, "saved");
    manager->saveHistory();
    EXPECT_EQ(decodedHistory(world.history()).size(), 2U);
}

TEST_F(SessionManagerTest, TheProgramsOwnFolderIsMade)
{
    const auto manager = world.manager(SessionStorage::inApplicationSupport(world.folder / "share"));
    EXPECT_TRUE(std::filesystem::is_directory(world.folder / "share/Velmor"));
    world.runSession(*manager, "first");
    EXPECT_TRUE(std::filesystem::exists(world.folder / "share/Velmor/sessions.json"));
    EXPECT_EQ(printed(), "");
}

TEST_F(SessionManagerTest, AProgramFolderThatCanNotBeMadeIsPrintedAndTheProgramGoesOn)
{
    writeFile(world.folder / "share", "a file");
    const auto manager = world.manager(SessionStorage::inApplicationSupport(world.folder / "share"));
    EXPECT_THAT(
        printed(),
        StartsWith("⚠️ Velmor: failed to create Application Support directory: Not a directory\n"));
    testing::internal::CaptureStdout();
    world.runSession(*manager, "first");
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("Failed to save session history: "));
    EXPECT_EQ(manager->sessionHistory.get().size(), 1U);
}

TEST_F(SessionManagerTest, AChosenFolderThatCanNotBeMadeIsNotReported)
{
    writeFile(world.folder / "chosen", "a file");
    const auto manager = world.manager(SessionStorage::inFolder(world.folder / "chosen/deeper"));
    EXPECT_EQ(printed(), "");
}

TEST_F(SessionManagerTest, SessionsOfMemoryTouchNoDisk)
{
    const auto manager = world.manager(SessionStorage::nowhere());
    world.runSession(*manager, "first");
    EXPECT_EQ(manager->sessionHistory.get().size(), 1U);
    EXPECT_FALSE(manager->hasUnsavedSessions());
    EXPECT_TRUE(world.folder.names().empty());
    EXPECT_EQ(printed(), "");
}

TEST_F(SessionManagerTest, ChangesAreAnnounced)
{
    const auto manager = world.manager();
    int changes = 0;
    const Subscription subscription = manager->onChange([&] { ++changes; });
    manager->startSession("REAPER");
    EXPECT_EQ(changes, 1);
    manager->updateCurrentSession(80, 80, 80, 80, 0);
    EXPECT_EQ(changes, 2);
    manager->addReading(80, 80, 0, {});
    EXPECT_EQ(changes, 3);
    manager->startSession("REAPER");
    EXPECT_EQ(changes, 3);
    manager->endSession(world.dose, {});
    EXPECT_EQ(changes, 5);
}

} // namespace
} // namespace velmor
