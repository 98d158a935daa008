// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Calendar.h>

#include <gtest/gtest.h>

#include <chrono>

namespace velmor {
namespace {

Date moment(const char* text)
{
    return dateFromIsoText(text).value();
}

LocalTime localTime(const char* zone, const char* date)
{
    return Calendar::inZone(zone).value().localTime(moment(date));
}

TEST(LocalTime, IsWhatTheClockOnTheWallShows)
{
    EXPECT_EQ(localTime("UTC", "2025-03-04T09:12:45Z"), (LocalTime{2025, 3, 4, 9, 12, 45}));
    EXPECT_EQ(localTime("Asia/Kathmandu", "2024-12-31T18:15:00Z"), (LocalTime{2025, 1, 1, 0, 0, 0}));
    EXPECT_EQ(localTime("America/New_York", "2025-01-01T04:59:59Z"), (LocalTime{2024, 12, 31, 23, 59, 59}));
    EXPECT_EQ(localTime("Europe/Berlin", "2025-03-30T00:59:59Z"), (LocalTime{2025, 3, 30, 1, 59, 59}));
    EXPECT_EQ(localTime("Europe/Berlin", "2025-03-30T01:00:00Z"), (LocalTime{2025, 3, 30, 3, 0, 0}));
}

TEST(LocalTime, CutsFractionsOffTowardsThePast)
{
    const Calendar utc = Calendar::inZone("UTC").value();
    EXPECT_EQ(utc.localTime(moment("1969-12-31T23:59:59Z") + std::chrono::milliseconds(999)),
              (LocalTime{1969, 12, 31, 23, 59, 59}));
    EXPECT_EQ(utc.localTime(moment("2025-03-04T09:12:45Z") + std::chrono::milliseconds(999)),
              (LocalTime{2025, 3, 4, 9, 12, 45}));
}

TEST(LocalTime, HasATextForEachUse)
{
    const LocalTime time{2025, 3, 4, 9, 5, 7};
    EXPECT_EQ(dayText(time), "2025-03-04");
    EXPECT_EQ(timeText(time), "09:05:07");
    EXPECT_EQ(hourAndMinuteText(time), "9:05 AM");
    EXPECT_EQ(mediumDateText(time), "Mar 4, 2025, 9:05 AM");
    EXPECT_EQ(hourAndMinuteText({2025, 3, 4, 0, 0, 0}), "12:00 AM");
    EXPECT_EQ(hourAndMinuteText({2025, 3, 4, 12, 0, 0}), "12:00 PM");
    EXPECT_EQ(hourAndMinuteText({2025, 3, 4, 13, 30, 0}), "1:30 PM");
    EXPECT_EQ(monthName(1), "Jan");
    EXPECT_EQ(monthName(12), "Dec");
}

TEST(LocalTime, ADayStartsWhereItsMidnightIsSkippedOrComesTwice)
{
    const auto startOfDay = [](const char* zone, const char* date) {
        return isoText(Calendar::inZone(zone).value().startOfDay(moment(date)));
    };
    EXPECT_EQ(startOfDay("Africa/Cairo", "2025-04-25T12:00:00Z"), "2025-04-24T22:00:00Z");
    EXPECT_EQ(startOfDay("America/Havana", "2024-11-03T05:30:00Z"), "2024-11-03T04:00:00Z");
    EXPECT_EQ(startOfDay("America/Sao_Paulo", "2018-02-18T02:30:00Z"), "2018-02-17T02:00:00Z");
}

} // namespace
} // namespace velmor
