// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/MonitoringPauseService.h>

#include <gtest/gtest.h>

#include <chrono>
#include <limits>

namespace velmor {
namespace {

using std::chrono::seconds;

const Date t = dateFromIsoText("2026-03-02T09:00:00Z").value();

TEST(MonitoringPauseService, BeginsUnpaused)
{
    MonitoringPauseService service;
    EXPECT_EQ(service.state(t), PauseState{});
    EXPECT_FALSE(service.isCurrentlyPaused(t));
}

TEST(MonitoringPauseService, ALongerPauseIsCutToADay)
{
    MonitoringPauseService service;
    service.pause(90000, t);
    EXPECT_EQ(service.pauseUntil.get(), t + seconds(86400));
    service.pause(1e300, t);
    EXPECT_EQ(service.pauseUntil.get(), t + seconds(86400));
    service.pause(86400, t);
    EXPECT_EQ(service.pauseUntil.get(), t + seconds(86400));
}

TEST(MonitoringPauseService, NoDurationZeroNegativeAndNotFiniteAllMeanWithoutEnd)
{
    for (const std::optional<double> duration :
         {std::optional<double>(), std::optional(0.0), std::optional(-5.0),
          std::optional(std::numeric_limits<double>::infinity()),
          std::optional(std::numeric_limits<double>::quiet_NaN())}) {
        MonitoringPauseService service;
        service.pause(60, t);
        service.pause(duration, t);
        EXPECT_EQ(service.state(t + seconds(1'000'000)), (PauseState{true, std::nullopt}));
    }
}

TEST(MonitoringPauseService, TheEndMomentItselfCountsAsExpired)
{
    MonitoringPauseService service;
    service.pause(60, t);
    EXPECT_TRUE(service.isCurrentlyPaused(t + seconds(60) - std::chrono::nanoseconds(1)));
    EXPECT_EQ(service.state(t + seconds(60)), PauseState{});
}

TEST(MonitoringPauseService, AfterExpiryThePublishedValueStaysUntilSomebodyAsks)
{
    MonitoringPauseService service;
    service.pause(60, t);
    int changes = 0;
    const Subscription subscription = service.onChange([&] { ++changes; });
    EXPECT_TRUE(service.isPaused);
    EXPECT_FALSE(service.isCurrentlyPaused(t + seconds(61)));
    EXPECT_FALSE(service.isPaused);
    EXPECT_FALSE(service.pauseUntil.get());
    EXPECT_EQ(changes, 2);
}

TEST(MonitoringPauseService, ASecondPauseReplacesTheEnd)
{
    MonitoringPauseService service;
    service.pause(60, t);
    service.pause(10, t + seconds(30));
    EXPECT_EQ(service.pauseUntil.get(), t + seconds(40));
}

TEST(MonitoringPauseService, ResumingEndsAPauseAndChangesNothingWithoutOne)
{
    MonitoringPauseService service;
    service.resume();
    EXPECT_EQ(service.state(t), PauseState{});
    service.pause({}, t);
    service.resume();
    EXPECT_EQ(service.state(t), PauseState{});
}

} // namespace
} // namespace velmor
