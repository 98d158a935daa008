// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/SessionFormat.h>
#include <support/CapturedOutput.h>
#include <support/RunProgram.h>
#include <support/SessionPage.h>
#include <support/SessionWorld.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <map>
#include <random>
#include <string>
#include <thread>

namespace velmor {
namespace {

using namespace std::chrono_literals;

TEST(KilledSession, IsInTheHistoryOnceWithAllItsReadingsButAtMostTheLast)
{
    constexpr int readingsOfASession = 6;
    const test::QuietLines quietLines;
    test::SessionWorld world;
    const test::TemporaryFolder pageFolder;
    const std::string pageFile = pageFolder / "page";
    test::SessionPage page(pageFile.c_str());
    const std::string program = test::programPath("velmor-session-writer");

    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 generator(seed);
    std::uniform_int_distribution<int> microseconds(0, 60'000);
    int killedWhileRunning = 0;
    for (int round = 0; round < 50; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        page->isReady = 0;
        page->isRunning = 0;
        const pid_t process = test::spawn({program, world.folder.path(), pageFile});
        for (int i = 0; i < 4000 && page->isReady == 0; ++i)
            std::this_thread::sleep_for(5ms);
        ASSERT_EQ(page->isReady, 1) << "the writer did not start";
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds(generator)));
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);

        if (std::filesystem::exists(world.historyFile())) {
            ASSERT_NO_THROW((void)decodedHistory(world.history()));
        }
        const auto manager = world.manager();
        const auto& history = manager->sessionHistory.get();
        ASSERT_EQ(decodedHistory(world.history()), history);

        std::map<std::string, std::int64_t> readings;
        for (const Session& session : history) {
            EXPECT_TRUE(session.endDate) << session.dawName;
            EXPECT_TRUE(readings.emplace(session.dawName, std::ssize(session.readings)).second)
                << session.dawName << " is there twice";
        }
        for (std::int64_t number = 1; number <= page->ended; ++number) {
            const std::string name = "session " + std::to_string(number);
            ASSERT_TRUE(readings.contains(name)) << name << " is lost";
        }
        if (page->isRunning == 1) {
            ++killedWhileRunning;
            const std::string name = "session " + std::to_string(page->started.load());
            ASSERT_TRUE(readings.contains(name)) << name << " is lost";
            EXPECT_GE(readings.at(name), page->readings);
            EXPECT_LE(readings.at(name), std::min<std::int64_t>(page->readings + 1, readingsOfASession));
        }
        // The writer of the next round counts on from here.
        page->ended = page->started.load();
        if (!readings.contains("session " + std::to_string(page->started.load())))
            --page->started, --page->ended;
    }
    EXPECT_GT(killedWhileRunning, 10);
    std::cout << killedWhileRunning << " of 50 kills fell into a running session\n";
}

} // namespace
} // namespace velmor
