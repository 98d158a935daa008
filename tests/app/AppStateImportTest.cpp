// SPDX-License-Identifier: GPL-3.0-or-later
// What the hub makes of its stores once an import has written to them, or somebody has only said so.
#include <integrations/Constants.h>
#include <integrations/TovikImporter.h>
#include <sessions/SessionFormat.h>
#include <support/CapturedOutput.h>
#include <support/HubHost.h>
#include <support/SampleSessions.h>
#include <support/TemporaryFolder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace velmor {
namespace {

using namespace velmor::test;

class AppStateImportTest : public testing::Test
{
protected:
    AppStateImportTest()
        : hub(std::make_unique<AppState>(host.host()))
    {
        host.loop.runPosted();
    }

    const std::optional<Session>& session() const { return hub->sessionManager.currentSession.get(); }

    const QuietLines quietLines;
    HubHost host;
    std::unique_ptr<AppState> hub;
};

TEST_F(AppStateImportTest, TheHistoryIsReadAnewAndThinnedWithAge)
{
    const TemporaryFolder folder;
    host.storage = SessionStorage::inFolder(folder / "history");
    hub = std::make_unique<AppState>(host.host());
    const Session yesterday = sampleSession(host.loop.now() - std::chrono::days(1), 100, 1);
    const Session older = sampleSession(host.loop.now() - std::chrono::days(20), 100, 2);
    const Session tooOld = sampleSession(host.loop.now() - std::chrono::days(91), 100, 3);
    writeFile(folder / "export.json", R"({"schemaVersion":1,"sessions":)" +
                                          encodedHistory(std::vector{yesterday, tooOld, older}).value() +
                                          "}");
    const ImportResult result = TovikImporter::importFromFile(
        folder / "export.json", {host.defaults, hub->sessionManager, hub->calendar(), hub->now()});
    EXPECT_EQ(result.sessionCount, 3);
    EXPECT_EQ(hub->sessionManager.sessionHistory.get().size(), 3U);
    hub->refreshAfterTovikImport();
    // Kept for 90 days, and for 14 with all readings; after that with one in ten.
    const auto& history = hub->sessionManager.sessionHistory.get();
    ASSERT_EQ(history.size(), 2U);
    EXPECT_EQ(history[0].id, older.id);
    EXPECT_EQ(history[0].readings.size(), 10U);
    EXPECT_EQ(history[1].id, yesterday.id);
    EXPECT_EQ(history[1].readings.size(), 100U);
}

TEST_F(AppStateImportTest, ReadingTheStoresAnewLeavesARunningSessionItsFigures)
{
    host.workspace.launch("com.cockos.reaper");
    setLevels(*hub, 94, 96, 136, 100);
    host.loop.runFor(600);
    // Too quiet to count, but for its peaks: the store is behind.
    setLevels(*hub, 70, 72, 141, 100);
    host.loop.runFor(1);
    const double dose = hub->doseCalculator.accumulatedDose;
    const double sessionDose = hub->doseCalculator.sessionDose();
    const auto peaks = hub->doseCalculator.peakCount140.get();
    const double onTarget = hub->referenceTracker.secondsOver;
    const Session before = *session();
    EXPECT_GT(sessionDose, 0);
    EXPECT_GT(peaks, host.defaults.get<std::int64_t>("DoseCalculator.peakCount140").value_or(0));
    hub->refreshAfterTovikImport();
    EXPECT_EQ(hub->doseCalculator.accumulatedDose, dose);
    EXPECT_EQ(hub->doseCalculator.sessionDose(), sessionDose);
    EXPECT_EQ(hub->doseCalculator.peakCount140.get(), peaks);
    EXPECT_EQ(hub->referenceTracker.secondsOver.get(), onTarget);
    EXPECT_EQ(session(), before);
    // And its end is told as before.
    host.workspace.terminate("com.cockos.reaper");
    EXPECT_FALSE(session());
}

TEST_F(AppStateImportTest, AWorkstationThatRanBeforeBeginsNoSessionAnew)
{
    host.workspace.launch("com.cockos.reaper");
    hub->endSession();
    ASSERT_FALSE(session());
    hub->refreshAfterTovikImport();
    EXPECT_FALSE(session());
    // The next one does.
    host.workspace.terminate("com.cockos.reaper");
    host.workspace.launch("com.cockos.reaper");
    EXPECT_TRUE(session());
}

TEST_F(AppStateImportTest, AWorkstationThatAnImportBringsBeginsOne)
{
    host.workspace.launch("org.example.Tracker");
    ASSERT_FALSE(session());
    host.defaults.set(Constants::customDAWsKey, DefaultsDictionary{{"org.example.Tracker", "Tracker"}});
    hub->refreshAfterTovikImport();
    ASSERT_TRUE(session());
    EXPECT_EQ(session()->dawName, "Tracker");
}

// Else a dismissal without an import would take back what was counted.
TEST_F(AppStateImportTest, PeaksOfWhatWasTooQuietToCountSurvive)
{
    hub->manualStartSession();
    setLevels(*hub, 94, 96);
    host.loop.runFor(10);
    setLevels(*hub, 70, 72, 141, 100);
    host.loop.runFor(1);
    hub->endSession();
    const auto peaks = hub->doseCalculator.peakCount140.get();
    EXPECT_GT(peaks, 0);
    hub->refreshAfterTovikImport();
    EXPECT_EQ(hub->doseCalculator.peakCount140.get(), peaks);
}

TEST_F(AppStateImportTest, DosesAndCountsOfAnySizeLeaveItMeasuring)
{
    std::vector<Session> sessions;
    for (unsigned i = 0; i < 3; ++i) {
        sessions.push_back(sampleSession(host.loop.now() - std::chrono::minutes(10 * (i + 1)), 5, i));
        sessions.back().doseAccumulated = 1e308;
    }
    hub->sessionManager.mergeSessions(sessions);
    host.defaults.set("DoseCalculator.accumulatedDose", 0.5);
    host.defaults.set("DoseCalculator.doseDate", host.loop.now());
    host.defaults.set("DoseCalculator.peakCount140", std::numeric_limits<std::int64_t>::max());
    hub->refreshAfterTovikImport();
    host.loop.runPosted();
    EXPECT_TRUE(std::isfinite(hub->doseCalculator.dosePercentage.get()));
    EXPECT_GE(hub->doseCalculator.dosePercentage.get(), 1000);
    hub->manualStartSession();
    setLevels(*hub, 94, 96, 141, 100);
    host.loop.runFor(1);
    hub->endSession();
    EXPECT_EQ(hub->doseCalculator.peakCount140.get(), std::numeric_limits<std::int64_t>::max());
    EXPECT_TRUE(std::isfinite(hub->sessionManager.newestSession()->doseAccumulated));
    // And one that another hand has stored.
    host.defaults.set("DoseCalculator.accumulatedDose", std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isfinite(AppState(host.host()).doseCalculator.accumulatedDose));
}

TEST_F(AppStateImportTest, ARecapWithoutASessionIsOfTheOneThatBeganLast)
{
    const Session older = sampleSession(host.loop.now() - std::chrono::hours(50), 5, 1);
    const Session newer = sampleSession(host.loop.now() - std::chrono::hours(2), 5, 2);
    hub->sessionManager.mergeSessions({newer, older});
    ASSERT_EQ(hub->sessionManager.sessionHistory.get()[0], older);
    EXPECT_EQ(hub->sessionManager.newestSession(), newer);
    // That of a session is its own, also where another is said to be of the future.
    hub->sessionManager.mergeSessions({sampleSession(host.loop.now() + std::chrono::hours(9), 5, 3)});
    hub->manualStartSession();
    const Uuid id = session()->id;
    setLevels(*hub, 94, 96);
    host.loop.runFor(300);
    hub->endSession();
    ASSERT_FALSE(host.notifications.requests.empty());
    EXPECT_THAT(host.notifications.requests.back().userInfo,
                testing::Contains(testing::Pair(testing::_, uuidText(id))));
}

} // namespace
} // namespace velmor
