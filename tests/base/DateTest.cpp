// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Date.h>

#include <gtest/gtest.h>

namespace velmor {
namespace {

using namespace std::chrono;

Date at(sys_days day, nanoseconds time)
{
    return Date(day) + time;
}

TEST(Date, IsoTextIsInUtcWithWholeSeconds)
{
    EXPECT_EQ(isoText(at(2026y / March / 1, 9h + 12min + 45s)), "2026-03-01T09:12:45Z");
    EXPECT_EQ(isoText(at(2026y / March / 1, 9h + 12min + 45s + 999999999ns)), "2026-03-01T09:12:45Z");
    EXPECT_EQ(isoText(at(1969y / December / 31, 23h + 59min + 59s + 1ns)), "1969-12-31T23:59:59Z");
    EXPECT_EQ(isoText(Date()), "1970-01-01T00:00:00Z");
}

TEST(Date, WhatIsoTextWritesReadsBack)
{
    const Date date = at(2024y / February / 29, 23h + 59min + 59s);
    EXPECT_EQ(dateFromIsoText(isoText(date)), date);
    EXPECT_EQ(dateFromIsoText("2024-02-29T23:59:59Z"), date);
}

TEST(Date, ReadingIsoTextIsStrict)
{
    for (const char* text : {"",
                             "2026-03-01",
                             "2026-03-01T09:12:45",
                             "2026-03-01T09:12:45z",
                             "2026-03-01t09:12:45Z",
                             "2026-03-01 09:12:45Z",
                             "2026-03-01T09:12:45.0Z",
                             "2026-03-01T09:12:45+00:00",
                             "2026-3-1T09:12:45Z",
                             " 2026-03-01T09:12:45Z",
                             "2026-03-01T09:12:45Z ",
                             "2026-02-29T00:00:00Z",
                             "2026-13-01T00:00:00Z",
                             "2026-00-01T00:00:00Z",
                             "2026-01-00T00:00:00Z",
                             "2026-01-32T00:00:00Z",
                             "2026-01-01T24:00:00Z",
                             "2026-01-01T00:60:00Z",
                             "2026-01-01T00:00:60Z",
                             "-026-01-01T00:00:00Z",
                             "2026-01-01T0x:00:00Z",
                             "+026-01-01T00:00:00Z"})
        EXPECT_EQ(dateFromIsoText(text), std::nullopt) << text;
}

TEST(Date, YearsThatNanosecondsCantHoldAreReadAsTheNearestMoment)
{
    // 2^63 nanoseconds are 106751 days, 23 h, 47 min and 16.85 s.
    const Date first = at(1677y / September / 22, -(23h + 47min + 16s)); // its day begins before it
    const Date last = at(2262y / April / 11, 23h + 47min + 16s);
    EXPECT_EQ(dateFromIsoText("0000-01-01T00:00:00Z"), first);
    EXPECT_EQ(dateFromIsoText("1677-01-01T00:00:00Z"), first);
    EXPECT_EQ(dateFromIsoText("1677-09-21T00:12:44Z"), first);
    EXPECT_EQ(dateFromIsoText("1677-09-21T00:12:45Z"), first + 1s);
    EXPECT_EQ(dateFromIsoText("9999-12-31T23:59:59Z"), last);
    EXPECT_EQ(dateFromIsoText("1678-01-01T00:00:00Z"), at(1678y / January / 1, 0ns));
    EXPECT_EQ(dateFromIsoText("2262-04-11T23:47:16Z"), at(2262y / April / 11, 23h + 47min + 16s));
    EXPECT_EQ(dateFromIsoText("2262-04-11T23:47:17Z"), last);
}

TEST(Date, SecondsBetweenTwoMomentsAreTheNearestDouble)
{
    const Date start = at(2026y / March / 1, 9h);
    EXPECT_EQ(secondsBetween(start, start + 59900ms), 59.9);
    EXPECT_EQ(secondsBetween(start, start + 60s), 60.0);
    EXPECT_EQ(secondsBetween(start + 100ms, start), -0.1);
    // 2^64 nanoseconds: more than the difference of two dates can hold.
    EXPECT_NEAR(secondsBetween(Date::min(), Date::max()), 18446744073.709551615, 1e-5);
    EXPECT_NEAR(secondsBetween(Date::max(), Date::min()), -18446744073.709551615, 1e-5);
    EXPECT_EQ(nanosecondsFrom(0.1), 100ms);
    EXPECT_EQ(nanosecondsFrom(-0.4), -400ms);
}

TEST(Date, WholeSecondsAreCutOffTowardsZero)
{
    const Date start = dateFromIsoText("2026-03-02T09:00:00Z").value();
    EXPECT_EQ(wholeSecondsBetween(start, start + std::chrono::nanoseconds(99'999'999'999)), 99);
    EXPECT_EQ(wholeSecondsBetween(start, start + std::chrono::seconds(100)), 100);
    EXPECT_EQ(wholeSecondsBetween(start, start - std::chrono::milliseconds(1500)), -1);
    EXPECT_EQ(wholeSecondsBetween(Date::min(), Date::max()), 18'446'744'073);
}

} // namespace
} // namespace velmor
