// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/PollMainLoop.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

namespace velmor {
namespace {

using testing::ElementsAre;

TEST(PollMainLoop, RunsPostedTasksInOrderAndTimersWhenTheyAreDue)
{
    PollMainLoop loop;
    std::vector<std::string> events;
    const auto start = std::chrono::steady_clock::now();
    loop.after(0.05, [&] {
        events.push_back("timer");
        loop.quit();
    });
    loop.post([&] {
        events.push_back("first");
        loop.post([&] { events.push_back("third"); });
    });
    loop.post([&] { events.push_back("second"); });
    loop.run();
    EXPECT_THAT(events, ElementsAre("first", "second", "third", "timer"));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
}

TEST(PollMainLoop, ARepeatingTimerEndsWithItsHandle)
{
    PollMainLoop loop;
    int ticks = 0;
    Timer timer = loop.every(0.001, [&] {
        if (++ticks == 5)
            timer.reset();
    });
    loop.after(0.5, [&] { loop.quit(); });
    loop.run();
    EXPECT_EQ(ticks, 5);
}

TEST(PollMainLoop, AfterABusyTimeARepeatingTimerFiresOnceForAllThatFellDue)
{
    PollMainLoop loop;
    std::vector<std::chrono::steady_clock::duration> ticks;
    const auto start = std::chrono::steady_clock::now();
    const Timer timer = loop.every(0.01, [&] {
        ticks.push_back(std::chrono::steady_clock::now() - start);
        if (ticks.size() == 1)
            std::this_thread::sleep_for(std::chrono::milliseconds(105));
        if (ticks.size() == 3)
            loop.quit();
    });
    loop.run();
    // The first at 10 ms is busy until 115 ms at least; one comes at once, then the next multiple.
    EXPECT_GE(ticks[1], std::chrono::milliseconds(115));
    EXPECT_GE(ticks[2], std::chrono::milliseconds(120));
}

TEST(PollMainLoop, TasksMayComeFromAnyThread)
{
    PollMainLoop loop;
    int runs = 0;
    std::thread other([&] {
        for (int i = 0; i < 1000; ++i)
            loop.post([&] { ++runs; });
        loop.post([&] { loop.quit(); });
    });
    loop.run();
    other.join();
    EXPECT_EQ(runs, 1000);
}

TEST(PollMainLoop, ABellRingsFromAnyThreadAndNoRingIsLost)
{
    PollMainLoop loop;
    std::atomic<int> produced = 0;
    int consumed = 0;
    auto bell = loop.doorbell([&] {
        consumed = produced;
        if (consumed == 10000)
            loop.quit();
    });
    std::thread other([&] {
        for (int i = 0; i < 10000; ++i) {
            ++produced;
            bell->ring();
        }
    });
    loop.run();
    other.join();
    EXPECT_EQ(consumed, 10000);
}

TEST(PollMainLoop, ABellThatIsGoneRunsNothing)
{
    PollMainLoop loop;
    int runs = 0;
    auto bell = loop.doorbell([&] { ++runs; });
    bell->ring();
    bell.reset();
    loop.after(0.01, [&] { loop.quit(); });
    loop.run();
    EXPECT_EQ(runs, 0);
}

TEST(PollMainLoop, TheClockIsTheWallClock)
{
    const PollMainLoop loop;
    const auto difference = secondsBetween(loop.now(), std::chrono::system_clock::now());
    EXPECT_NEAR(difference, 0, 5);
}

TEST(PollMainLoop, AClockTimerRunsWhenTheClockShowsItsMoment)
{
    PollMainLoop loop;
    const Date moment = loop.now() + std::chrono::milliseconds(30);
    std::optional<Date> fired;
    const Timer timer = loop.at(moment, [&] {
        fired = loop.now();
        loop.quit();
    });
    Timer calledOff = loop.at(moment, [&] { ADD_FAILURE() << "this one was called off"; });
    calledOff.reset();
    loop.run();
    EXPECT_GE(fired, moment);
}

TEST(PollMainLoop, AClockTimerOfThePastRunsAtOnceAndAmongOtherTimers)
{
    PollMainLoop loop;
    int ticks = 0;
    bool isLate = false;
    const Timer tick = loop.every(0.002, [&] { ++ticks; });
    const Timer timer = loop.at(loop.now() - std::chrono::hours(1), [&] { isLate = true; });
    loop.after(0.05, [&] { loop.quit(); });
    loop.run();
    EXPECT_TRUE(isLate);
    EXPECT_GT(ticks, 5);
}

TEST(PollMainLoop, AWatchRunsItsTaskWhileItsDescriptorIsReadable)
{
    PollMainLoop loop;
    int ends[2] = {};
    ASSERT_EQ(::pipe(ends), 0);
    std::string received;
    auto watch = loop.watch(ends[0], [&] {
        char byte = 0;
        ASSERT_EQ(::read(ends[0], &byte, 1), 1);
        received += byte;
        if (byte == 'z')
            loop.quit();
    });
    loop.after(0.01, [&] { ASSERT_EQ(::write(ends[1], "abz", 3), 3); });
    loop.run();
    EXPECT_EQ(received, "abz");

    watch.reset();
    ASSERT_EQ(::write(ends[1], "c", 1), 1);
    loop.after(0.02, [&] { loop.quit(); });
    loop.run();
    EXPECT_EQ(received, "abz");
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST(PollMainLoop, AWatchMayEndItselfAndOthersInItsTask)
{
    PollMainLoop loop;
    int ends[2] = {};
    ASSERT_EQ(::pipe(ends), 0);
    ASSERT_EQ(::write(ends[1], "a", 1), 1);
    const int other = ::dup(ends[0]);
    int runs = 0;
    std::unique_ptr<DescriptorWatch> first;
    std::unique_ptr<DescriptorWatch> second;
    const auto endBoth = [&] {
        ++runs;
        first.reset();
        second.reset();
        loop.after(0.02, [&] { loop.quit(); });
    };
    first = loop.watch(ends[0], endBoth);
    second = loop.watch(other, endBoth);
    loop.run();
    EXPECT_EQ(runs, 1);
    for (const int descriptor : {ends[0], ends[1], other})
        ::close(descriptor);
}

} // namespace
} // namespace velmor
