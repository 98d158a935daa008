// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/QtMainLoop.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTimer>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace velmor {
namespace {

using testing::ElementsAre;

class QtMainLoopTest : public testing::Test
{
protected:
    static void quit() { QCoreApplication::quit(); }
    static void run() { QCoreApplication::exec(); }

    int argumentCount = 1;
    char name[5] = "test";
    char* arguments[2] = {name, nullptr};
    QCoreApplication application{argumentCount, arguments};
    QtMainLoop loop;
};

TEST_F(QtMainLoopTest, RunsPostedTasksInOrderAndTimersWhenTheyAreDue)
{
    std::vector<std::string> events;
    const auto start = std::chrono::steady_clock::now();
    loop.after(0.05, [&] {
        events.emplace_back("timer");
        quit();
    });
    loop.post([&] {
        events.emplace_back("first");
        loop.post([&] { events.emplace_back("third"); });
    });
    loop.post([&] { events.emplace_back("second"); });
    run();
    EXPECT_THAT(events, ElementsAre("first", "second", "third", "timer"));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
}

TEST_F(QtMainLoopTest, ATimerThatIsAskedForInAnEventOfQtsRunsToo)
{
    bool isDone = false;
    QTimer::singleShot(5, [&] {
        loop.after(0.01, [&] {
            isDone = true;
            quit();
        });
    });
    run();
    EXPECT_TRUE(isDone);
}

TEST_F(QtMainLoopTest, AClockTimerRunsWhenTheClockShowsItsMomentAndEndsWithItsHandle)
{
    const Date moment = loop.now() + std::chrono::milliseconds(30);
    std::optional<Date> fired;
    const Timer timer = loop.at(moment, [&] {
        fired = loop.now();
        quit();
    });
    Timer calledOff = loop.at(moment, [&] { ADD_FAILURE() << "this one was called off"; });
    calledOff.reset();
    run();
    EXPECT_GE(fired, moment);
}

TEST_F(QtMainLoopTest, BellsAndTasksFromOtherThreadsAreNotLost)
{
    int runs = 0;
    int rings = 0;
    const auto bell = loop.doorbell([&] { ++rings; });
    std::thread other([&] {
        for (int i = 0; i < 1000; ++i) {
            loop.post([&] { ++runs; });
            bell->ring();
        }
        loop.post([] { quit(); });
    });
    run();
    other.join();
    EXPECT_EQ(runs, 1000);
    EXPECT_GE(rings, 1);
}

TEST_F(QtMainLoopTest, TimersThatAreAlwaysDueLeaveQtItsTurn)
{
    const Timer busy = loop.every(1e-6, [] { std::this_thread::sleep_for(std::chrono::microseconds(50)); });
    bool hadItsTurn = false;
    QTimer::singleShot(20, [&] {
        hadItsTurn = true;
        quit();
    });
    run();
    EXPECT_TRUE(hadItsTurn);
}

} // namespace
} // namespace velmor
