// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/VirtualMainLoop.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velmor {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class VirtualMainLoopTest : public testing::Test
{
protected:
    const Date start = dateFromIsoText("2026-03-01T09:00:00Z").value();
    VirtualMainLoop loop{start};
    std::vector<std::string> events;

    Task note(std::string event)
    {
        return [this, event = std::move(event)] { events.push_back(event); };
    }
};

TEST_F(VirtualMainLoopTest, TheClockStandsStillBetweenCalls)
{
    EXPECT_EQ(loop.now(), start);
    loop.runFor(1.5);
    EXPECT_EQ(loop.now(), start + 1500ms);
    loop.runUntil(start);
    EXPECT_EQ(loop.now(), start + 1500ms);
}

TEST_F(VirtualMainLoopTest, PostedTasksRunInOrderAndBeforeTimers)
{
    loop.after(0, note("timer"));
    loop.post([this] {
        events.push_back("first");
        loop.post(note("third"));
    });
    loop.post(note("second"));
    loop.runFor(0);
    EXPECT_THAT(events, ElementsAre("first", "second", "third", "timer"));
}

TEST_F(VirtualMainLoopTest, TimersDueAtOnceRunInTheOrderOfScheduling)
{
    loop.after(0.2, note("b"));
    loop.after(0.1, note("a"));
    loop.after(0.2, note("c"));
    loop.runFor(1);
    EXPECT_THAT(events, ElementsAre("a", "b", "c"));
}

TEST_F(VirtualMainLoopTest, ARepeatingTimerFiresAtExactMultiplesOfItsInterval)
{
    std::vector<Date> moments;
    const Timer timer = loop.every(0.1, [&] { moments.push_back(loop.now()); });
    loop.runFor(0.35);
    EXPECT_THAT(moments, ElementsAre(start + 100ms, start + 200ms, start + 300ms));
    loop.runFor(3600);
    EXPECT_EQ(moments.size(), 36003U);
    EXPECT_EQ(moments.back(), start + 3600s + 300ms);
}

TEST_F(VirtualMainLoopTest, ATimerEndsWithItsHandleAlsoFromWithin)
{
    Timer timer;
    timer = loop.every(0.1, [&] {
        events.push_back("tick");
        timer.reset();
    });
    loop.runFor(1);
    EXPECT_THAT(events, ElementsAre("tick"));
}

TEST_F(VirtualMainLoopTest, RunBeforeLeavesWhatIsDueAtTheVeryMoment)
{
    const Timer timer = loop.every(0.1, note("tick"));
    loop.runBefore(start + 200ms);
    EXPECT_EQ(loop.now(), start + 200ms);
    EXPECT_THAT(events, ElementsAre("tick"));
    events.push_back("block");
    loop.runUntil(start + 200ms);
    EXPECT_THAT(events, ElementsAre("tick", "block", "tick"));
}

TEST_F(VirtualMainLoopTest, ABellThatRingsRunsItsTaskAndNotAfterItIsGone)
{
    auto bell = loop.doorbell(note("ring"));
    bell->ring();
    loop.runPosted();
    EXPECT_THAT(events, ElementsAre("ring"));
    bell->ring();
    bell.reset();
    loop.runPosted();
    EXPECT_THAT(events, ElementsAre("ring"));
}

TEST_F(VirtualMainLoopTest, AClockTimerRunsOnceWhenTheClockShowsItsMoment)
{
    const Timer timer = loop.at(start + 2s, note("midnight"));
    loop.runUntil(start + 1999ms);
    EXPECT_TRUE(events.empty());
    loop.runUntil(start + 2s);
    EXPECT_THAT(events, ElementsAre("midnight"));
    loop.runFor(10);
    EXPECT_EQ(events.size(), 1U);
}

TEST_F(VirtualMainLoopTest, AClockTimerEndsWithItsHandle)
{
    Timer timer = loop.at(start + 2s, note("midnight"));
    timer.reset();
    loop.runFor(10);
    EXPECT_TRUE(events.empty());
}

TEST_F(VirtualMainLoopTest, AClockThatIsSetMovesClockTimersAndNoOthers)
{
    const Timer midnight = loop.at(start + 100s, note("midnight"));
    const Timer tick = loop.every(3, note("tick"));
    loop.after(5, note("later"));
    loop.runFor(1);
    loop.setClock(start + 200s);
    loop.runFor(1);
    EXPECT_THAT(events, ElementsAre("midnight"));
    loop.setClock(start - 1000s);
    loop.runFor(1);
    EXPECT_THAT(events, ElementsAre("midnight", "tick"));
    loop.runFor(2);
    EXPECT_THAT(events, ElementsAre("midnight", "tick", "later"));
    EXPECT_EQ(loop.now(), start - 997s);
}

TEST_F(VirtualMainLoopTest, AClockThatGoesBackKeepsAClockTimerWaiting)
{
    const Timer midnight = loop.at(start + 10s, note("midnight"));
    loop.setClock(start - 10s);
    loop.runFor(15);
    EXPECT_TRUE(events.empty());
    loop.runFor(5);
    EXPECT_THAT(events, ElementsAre("midnight"));
}

TEST_F(VirtualMainLoopTest, AClockTimerCanArmItselfAnew)
{
    Timer timer;
    std::function<void()> fire = [&] {
        events.push_back("midnight");
        timer = loop.at(loop.now() + 5s, fire);
    };
    timer = loop.at(start + 5s, fire);
    loop.runFor(15);
    EXPECT_THAT(events, ElementsAre("midnight", "midnight", "midnight"));
}

} // namespace
} // namespace velmor
