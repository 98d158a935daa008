// SPDX-License-Identifier: GPL-3.0-or-later
#include <platform/MemoryDefaultsStore.h>
#include <sessions/SessionRetention.h>
#include <support/SampleSessions.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace velmor {
namespace {

using namespace std::chrono_literals;
using std::chrono::days;
using test::moment;
using test::sampleSession;

const Date now = moment("2026-07-15T12:00:00Z");

std::vector<Session> process(std::vector<Session> sessions, std::int64_t detailed = 14,
                             std::int64_t total = 90, std::int64_t stride = 10)
{
    return SessionRetention::process(std::move(sessions), detailed, total, stride, now,
                                     Calendar::inZone("UTC").value());
}

std::vector<SPLReading> readingsEvery(std::chrono::seconds interval, int count)
{
    std::vector<SPLReading> readings;
    for (int i = 0; i < count; ++i)
        readings.push_back({now + i * interval, static_cast<double>(i), 0, 0, {}});
    return readings;
}

TEST(SessionRetention, NothingStaysNothing)
{
    EXPECT_TRUE(process({}).empty());
}

TEST(SessionRetention, FourteenDaysOfDetail)
{
    const auto kept = process({sampleSession(now - days(14) + 1h, 100), sampleSession(now - days(14), 100),
                               sampleSession(now - days(14) - 1min, 100)});
    ASSERT_EQ(kept.size(), 3U);
    EXPECT_EQ(kept[0].readings.size(), 100U);
    EXPECT_EQ(kept[1].readings.size(), 100U); // exactly at the limit
    EXPECT_EQ(kept[2].readings.size(), 10U);
}

TEST(SessionRetention, NinetyDaysInAll)
{
    const auto kept = process({sampleSession(now - days(90) + 1s, 10), sampleSession(now - days(90), 10),
                               sampleSession(now - days(90) - 1s, 10)});
    EXPECT_EQ(kept.size(), 2U);
}

TEST(SessionRetention, DaysAreOnesOfTheCalendar)
{
    // 14 days before noon of 5 April in Berlin lie 14 days and an hour less: the clocks went forward.
    const Calendar berlin = Calendar::inZone("Europe/Berlin").value();
    const Date noon = moment("2026-04-05T10:00:00Z");
    const Session atLimit = sampleSession(moment("2026-03-22T11:00:00Z"), 100);
    const Session beforeLimit = sampleSession(moment("2026-03-22T10:59:59Z"), 100);
    const auto kept = SessionRetention::process({atLimit, beforeLimit}, 14, 90, 10, noon, berlin);
    EXPECT_EQ(kept[0].readings.size(), 100U);
    EXPECT_EQ(kept[1].readings.size(), 10U);
}

TEST(SessionRetention, ThinningKeepsTheFirstOfEachTen)
{
    EXPECT_EQ(SessionRetention::downsample(readingsEvery(10s, 601), 10).size(), 61U);
    EXPECT_EQ(SessionRetention::downsample(readingsEvery(10s, 600), 10).size(), 60U);
    EXPECT_EQ(SessionRetention::downsample(readingsEvery(10s, 1), 10).size(), 1U);
    EXPECT_TRUE(SessionRetention::downsample({}, 10).empty());
    const auto kept = SessionRetention::downsample(readingsEvery(10s, 25), 10);
    ASSERT_EQ(kept.size(), 3U);
    EXPECT_EQ(kept[1].dBA, 10);
    EXPECT_EQ(kept[2].dBA, 20);
    for (const std::int64_t stride : {1, 0, -5})
        EXPECT_EQ(SessionRetention::downsample(readingsEvery(10s, 25), stride).size(), 25U);
}

TEST(SessionRetention, TwiceIsTheSameAsOnce)
{
    std::vector<Session> sessions;
    for (int age = 0; age < 120; age += 5)
        sessions.push_back(sampleSession(now - days(age), 7 * age, static_cast<unsigned>(age)));
    const auto once = process(sessions);
    EXPECT_LT(once.size(), sessions.size());
    EXPECT_EQ(process(once), once);
}

TEST(SessionRetention, OnlyReadingsAreChanged)
{
    const Session session = sampleSession(now - days(20), 100);
    Session thinned = process({session}).at(0);
    EXPECT_EQ(thinned.readings.size(), 10U);
    thinned.readings = session.readings;
    EXPECT_EQ(thinned, session);
}

TEST(SessionRetention, OneReadingOrNoneStaysAsItIs)
{
    EXPECT_EQ(process({sampleSession(now - days(20), 1)})[0].readings.size(), 1U);
    EXPECT_EQ(process({sampleSession(now - days(20), 0)})[0].readings.size(), 0U);
}

TEST(SessionRetention, AFirstIntervalOfAMinuteCountsAsThinned)
{
    Session session = sampleSession(now - days(20), 0);
    session.readings = readingsEvery(10s, 100);
    session.readings[0].timestamp -= 50s;
    EXPECT_EQ(SessionRetention::sampleIntervalSeconds(session.readings), 60);
    EXPECT_EQ(process({session})[0].readings.size(), 100U);
    session.readings[0].timestamp += 10s; // 50 seconds: the limit itself
    EXPECT_EQ(process({session})[0].readings.size(), 100U);
    session.readings[0].timestamp += 1s;
    EXPECT_EQ(process({session})[0].readings.size(), 10U);
}

TEST(SessionRetention, EqualFirstTimestampsAreThinnedAtEachLoad)
{
    Session session = sampleSession(now - days(20), 0);
    session.readings = readingsEvery(0s, 100);
    EXPECT_EQ(SessionRetention::sampleIntervalSeconds(session.readings), 0);
    auto sessions = process({session});
    EXPECT_EQ(sessions[0].readings.size(), 10U);
    sessions = process(sessions);
    EXPECT_EQ(sessions[0].readings.size(), 1U);
}

TEST(SessionRetention, AStrideOfOneKeepsAllReadings)
{
    EXPECT_EQ(process({sampleSession(now - days(20), 100)}, 14, 90, 1)[0].readings.size(), 100U);
}

TEST(SessionRetention, DetailBeyondTheTotalChangesNothing)
{
    const auto kept = process({sampleSession(now - days(5), 50), sampleSession(now - days(20), 50)}, 30, 10);
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_EQ(kept[0].readings.size(), 50U);
}

TEST(SessionRetention, ALimitThatTheCalendarCanNotComputeLeavesAllAsItIs)
{
    const std::vector<Session> sessions = {sampleSession(now - days(500), 50)};
    EXPECT_EQ(process(sessions, 3'000'000, 90), sessions);
    EXPECT_EQ(process(sessions, 14, 3'000'000), sessions);
}

TEST(SessionRetention, TheOrderIsKept)
{
    const auto kept = process({sampleSession(now - days(40), 5, 1), sampleSession(now - days(2), 5, 2),
                               sampleSession(now - days(95), 5, 3), sampleSession(now - days(20), 5, 4)});
    ASSERT_EQ(kept.size(), 3U);
    EXPECT_EQ(kept[0].startDate, now - days(40));
    EXPECT_EQ(kept[1].startDate, now - days(2));
    EXPECT_EQ(kept[2].startDate, now - days(20));
}

TEST(RetentionDays, AStoredValueOfZeroOrBelowBehavesAsTheDefault)
{
    for (const std::int64_t stored : {std::int64_t(0), std::int64_t(-1), INT64_MIN}) {
        const MemoryDefaultsStore defaults(
            {{"sessionDetailedRetentionDays", stored}, {"sessionTotalRetentionDays", stored}});
        EXPECT_EQ(detailedRetention.read(defaults), 14);
        EXPECT_EQ(totalRetention.read(defaults), 90);
    }
    const MemoryDefaultsStore empty;
    EXPECT_EQ(detailedRetention.read(empty), 14);
    EXPECT_EQ(totalRetention.read(empty), 90);
    const MemoryDefaultsStore wrong(
        {{"sessionDetailedRetentionDays", 30.0}, {"sessionTotalRetentionDays", std::string("30")}});
    EXPECT_EQ(detailedRetention.read(wrong), 14);
    EXPECT_EQ(totalRetention.read(wrong), 90);
}

TEST(RetentionDays, AStoredValueOf5000BehavesAs3650)
{
    const MemoryDefaultsStore defaults({{"sessionDetailedRetentionDays", std::int64_t(5000)},
                                        {"sessionTotalRetentionDays", std::int64_t(3650)}});
    EXPECT_EQ(detailedRetention.read(defaults), 3650);
    EXPECT_EQ(totalRetention.read(defaults), 3650);
}

} // namespace
} // namespace velmor
