// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/SessionFormat.h>
#include <sessions/SessionJournal.h>
#include <support/CapturedOutput.h>
#include <support/SampleSessions.h>
#include <support/SessionWorld.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace velmor {
namespace {

using test::contentOf;
using test::moment;
using test::writeFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

class SessionJournalTest : public testing::Test
{
protected:
    std::string printed() { return output.text(); }

    /// A manager in the middle of a session with so many readings. Dropping it is a crash.
    std::unique_ptr<SessionManager> runningSession(int readings)
    {
        auto manager = world.manager();
        world.dose.accumulatedDose = 0.1;
        world.dose.markSessionStart();
        manager->startSession("Manual");
        manager->recordProgress(world.dose, {});
        for (int i = 1; i <= readings; ++i) {
            world.loop.runFor(10);
            world.dose.accumulatedDose += 0.001;
            manager->updateCurrentSession(80 + i, 83, 136, 116, 0);
            manager->addReading(80 + i, 83, i, Zone::over);
            manager->recordProgress(world.dose,
                                    ReferenceLevelTracker::SessionSummary{79, 3, 0, 0, 0, 10.0 * i});
        }
        return manager;
    }

    std::filesystem::path journal() const
    {
        for (const std::string& name : world.folder.names()) {
            if (name.ends_with(".journal"))
                return world.folder / name;
        }
        return {};
    }

    test::CapturedOutput output;
    test::SessionWorld world;
};

TEST_F(SessionJournalTest, ASessionThatNeverEndedIsInTheHistoryAfterARestart)
{
    auto manager = runningSession(5);
    const Session running = manager->currentSession.get().value();
    const Date lastEntry = world.loop.now();
    manager.reset();
    world.loop.runFor(3600);
    manager = world.manager();
    EXPECT_FALSE(manager->currentSession.get());
    ASSERT_THAT(manager->sessionHistory.get(), SizeIs(1));
    const Session& session = manager->sessionHistory.get()[0];
    EXPECT_EQ(session.id, running.id);
    EXPECT_EQ(session.dawName, "Manual");
    EXPECT_EQ(session.startDate, running.startDate);
    EXPECT_EQ(session.endDate, lastEntry);
    EXPECT_EQ(session.readings, running.readings);
    EXPECT_EQ(session.averageSPL, running.averageSPL);
    EXPECT_EQ(session.peakSPL, 85);
    EXPECT_EQ(session.peakDBC, 136);
    EXPECT_EQ(session.peakCount135, 5);
    EXPECT_EQ(session.peakDBACount115, 5);
    EXPECT_NEAR(session.doseAccumulated, 0.5, 1e-9);
    EXPECT_EQ(session.monitoringTarget, 79);
    EXPECT_EQ(session.timeOverSec, 50);
    EXPECT_THAT(world.folder.names(), ElementsAre("sessions.json"));
    EXPECT_EQ(decodedHistory(world.history()), manager->sessionHistory.get());
    EXPECT_THAT(
        printed(),
        HasSubstr("[Velmor] Recovered the session \"Manual\" of 2026-03-02T09:00:00Z from its journal"));
}

TEST_F(SessionJournalTest, ASessionIsRecoveredOnce)
{
    (void)runningSession(3);
    (void)world.manager();
    EXPECT_THAT(world.manager()->sessionHistory.get(), SizeIs(1));
}

TEST_F(SessionJournalTest, ASessionWithoutAnyReadingIsRecoveredToo)
{
    (void)runningSession(0);
    const auto manager = world.manager();
    ASSERT_THAT(manager->sessionHistory.get(), SizeIs(1));
    EXPECT_TRUE(manager->sessionHistory.get()[0].readings.empty());
    EXPECT_EQ(manager->sessionHistory.get()[0].endDate, world.loop.now());
}

TEST_F(SessionJournalTest, ACleanEndRemovesTheJournal)
{
    const auto manager = runningSession(3);
    EXPECT_FALSE(journal().empty());
    manager->endSession(world.dose, {});
    EXPECT_THAT(world.folder.names(), ElementsAre("sessions.json"));
}

TEST_F(SessionJournalTest, AnotherNameIsNoted)
{
    auto manager = runningSession(2);
    manager->startSession("REAPER");
    manager->recordProgress(world.dose, {});
    manager.reset();
    const auto recovered = world.manager()->sessionHistory.get();
    ASSERT_THAT(recovered, SizeIs(1));
    EXPECT_EQ(recovered[0].dawName, "REAPER");
    EXPECT_THAT(recovered[0].readings, SizeIs(2));
}

TEST_F(SessionJournalTest, AJournalThatIsCutOffAnywhereCostsOnlyWhatIsCutOff)
{
    (void)runningSession(4);
    const std::string whole = contentOf(journal());
    const auto lineEnds = [&] {
        std::vector<std::size_t> ends;
        for (std::size_t at = whole.find('\n', 1); at != std::string::npos; at = whole.find('\n', at + 1))
            ends.push_back(at);
        ends.push_back(whole.size());
        return ends;
    }();
    ASSERT_EQ(lineEnds.size(), 5U); // the start and four readings
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const auto session = SessionJournals::sessionFrom(whole.substr(0, length));
        const auto lines = std::ranges::count_if(lineEnds, [&](std::size_t end) { return end <= length; });
        ASSERT_EQ(session.has_value(), lines > 0) << length;
        const auto readings = session ? std::ssize(session->readings) : 0;
        ASSERT_EQ(readings, std::max<std::ptrdiff_t>(lines - 1, 0)) << length;
    }
}

TEST_F(SessionJournalTest, ADamagedByteCostsOnlyItsOwnEntry)
{
    (void)runningSession(4);
    const std::string whole = contentOf(journal());
    for (std::size_t at = 0; at < whole.size(); ++at) {
        std::string damaged = whole;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x04);
        const auto session = SessionJournals::sessionFrom(damaged);
        ASSERT_TRUE(session) << at;
        ASSERT_GE(session->readings.size(), 2U) << at; // a damaged line break spoils two entries
    }
}

TEST_F(SessionJournalTest, LinesOfAnotherSessionAreLeftOut)
{
    (void)runningSession(2);
    const std::string first = contentOf(journal());
    std::filesystem::remove(journal());
    (void)runningSession(3);
    const auto session = SessionJournals::sessionFrom(first + contentOf(journal()));
    ASSERT_TRUE(session);
    EXPECT_THAT(session->readings, SizeIs(2));
}

TEST_F(SessionJournalTest, AJournalOfASessionThatIsInTheHistoryIsOnlyRemoved)
{
    auto manager = runningSession(3);
    const std::string text = contentOf(journal());
    const auto file = journal();
    manager->endSession(world.dose, {});
    const auto history = manager->sessionHistory.get();
    writeFile(file, text); // as after a crash between the save and the removal
    manager = world.manager();
    ASSERT_THAT(manager->sessionHistory.get(), SizeIs(1));
    EXPECT_EQ(manager->sessionHistory.get()[0].endDate, history[0].endDate);
    EXPECT_THAT(world.folder.names(), ElementsAre("sessions.json"));
}

TEST_F(SessionJournalTest, AJournalOfARunningWriterIsLeftAlone)
{
    const auto writer = runningSession(3);
    const auto other = world.manager();
    EXPECT_TRUE(other->sessionHistory.get().empty());
    EXPECT_FALSE(journal().empty());
    writer->endSession(world.dose, {});
    EXPECT_THAT(writer->sessionHistory.get(), SizeIs(1));
}

TEST_F(SessionJournalTest, OneThatHoldsNothingReadableIsSetAsideAndAnEmptyOneLeftAlone)
{
    const std::string id = uuidText(makeUuid());
    writeFile(world.folder / ("session-" + id + ".journal"), "12345678 {}\n");
    writeFile(world.folder / "session-empty.journal", "");
    const auto manager = world.manager();
    EXPECT_TRUE(manager->sessionHistory.get().empty());
    EXPECT_THAT(world.folder.names(),
                testing::UnorderedElementsAre("session-" + id + ".journal.damaged", "session-empty.journal"));
}

TEST_F(SessionJournalTest, ASessionWhoseSaveFailedIsStillThereAfterARestart)
{
    auto manager = runningSession(3);
    std::filesystem::create_directory(world.historyFile()); // no save succeeds
    world.loop.runFor(5);
    manager->endSession(world.dose, ReferenceLevelTracker::SessionSummary{79, 3, 1, 2, 3, 4});
    const Session ended = manager->sessionHistory.get().at(0);
    EXPECT_FALSE(journal().empty());
    manager.reset();
    std::filesystem::remove(world.historyFile());
    manager = world.manager();
    ASSERT_THAT(manager->sessionHistory.get(), SizeIs(1));
    EXPECT_EQ(manager->sessionHistory.get()[0], ended);
    EXPECT_THAT(world.folder.names(), ElementsAre("sessions.json"));
}

TEST_F(SessionJournalTest, SeveralJournalsBecomeSessionsInTheirOrder)
{
    const Session older = test::sampleSession(moment("2026-03-01T08:00:00Z"), 0, 1);
    const Session newer = test::sampleSession(moment("2026-03-01T18:00:00Z"), 0, 2);
    for (const Session* session : {&newer, &older})
        EXPECT_FALSE(SessionJournal(world.folder.path(), session->id).append(*session));
    const auto manager = world.manager();
    EXPECT_THAT(manager->sessionHistory.get(), ElementsAre(newer, older));
}

TEST_F(SessionJournalTest, OneThatCanNotBeWrittenIsPrintedOnceAndDisturbsNothing)
{
    const auto folder = world.folder / "gone";
    const auto manager = world.manager(SessionStorage::inFolder(folder));
    std::filesystem::remove(folder);
    writeFile(folder, "a file");
    manager->startSession("REAPER");
    manager->recordProgress(world.dose, {});
    manager->recordProgress(world.dose, {});
    EXPECT_EQ(printed(), "[Velmor] The running session's journal can't be written: Not a directory\n");
    EXPECT_TRUE(manager->currentSession.get());
}

TEST_F(SessionJournalTest, WhatCouldNotBeWrittenIsWrittenWithTheNextMoment)
{
    const auto folder = world.folder / "late";
    auto manager = world.manager(SessionStorage::inFolder(folder));
    manager->startSession("REAPER");
    std::filesystem::remove(folder);
    writeFile(folder, "a file"); // nothing can be written below it
    for (int i = 0; i < 3; ++i) {
        manager->addReading(80 + i, 83, i, Zone::over);
        manager->recordProgress(world.dose, {});
    }
    std::filesystem::remove(folder);
    std::filesystem::create_directory(folder);
    manager->addReading(83, 83, 3, Zone::over);
    manager->recordProgress(world.dose, {});
    const Session running = manager->currentSession.get().value();
    manager.reset();
    manager = world.manager(SessionStorage::inFolder(folder));
    ASSERT_THAT(manager->sessionHistory.get(), SizeIs(1));
    EXPECT_EQ(manager->sessionHistory.get()[0].readings, running.readings);
}

TEST_F(SessionJournalTest, ARenamedJournalIsRecoveredOnceToo)
{
    (void)runningSession(3);
    const std::string text = contentOf(journal());
    std::filesystem::rename(journal(), world.folder / "session-copy.journal");
    writeFile(world.folder / "session-another copy.journal", text);
    (void)world.manager();
    EXPECT_THAT(world.folder.names(), ElementsAre("sessions.json"));
    EXPECT_THAT(world.manager()->sessionHistory.get(), SizeIs(1));
}

TEST_F(SessionJournalTest, ADiscardedSessionLeavesNothing)
{
    const auto manager = runningSession(3);
    manager->discardSession();
    EXPECT_FALSE(manager->currentSession.get());
    EXPECT_TRUE(manager->sessionHistory.get().empty());
    EXPECT_TRUE(world.folder.names().empty());
    manager->discardSession();
}

TEST_F(SessionJournalTest, IsReadableByItsOwnerAlone)
{
    const auto manager = runningSession(1);
    EXPECT_EQ(std::filesystem::status(journal()).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

} // namespace
} // namespace velmor
