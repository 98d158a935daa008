// SPDX-License-Identifier: GPL-3.0-or-later
#include <widget/WidgetLine.h>

#include <gtest/gtest.h>

#include <chrono>

namespace velmor {
namespace {

using namespace std::chrono_literals;

class WidgetLineTest : public testing::Test
{
protected:
    std::string text() const { return WidgetLine(snapshot, utc, now).text(); }
    std::string json() const { return WidgetLine(snapshot, utc, now).json(); }
    std::optional<Date> validUntil() const { return WidgetLine(snapshot, utc, now).validUntil(); }

    Date now = dateFromIsoText("2026-03-11T12:00:00Z").value();
    VelmorWidgetSnapshot snapshot = VelmorWidgetSnapshot::sample(now);
    Calendar utc = Calendar::inZone("UTC").value();
};

TEST_F(WidgetLineTest, ShowsDoseBandLevelAndZone)
{
    EXPECT_EQ(text(), "34.0% safe · 78.4 dBA · On target");
    snapshot.todayDosePercent = 90;
    snapshot.disciplineZone = DisciplineZone::over;
    EXPECT_EQ(text(), "90.0% danger · 78.4 dBA · Over target");
    snapshot.disciplineZone.reset();
    EXPECT_EQ(text(), "90.0% danger · 78.4 dBA");
}

TEST_F(WidgetLineTest, ADashStandsForALevelThatIsNotLive)
{
    snapshot.paused = true;
    EXPECT_EQ(text(), "34.0% safe · —");
    snapshot.paused = false;
    snapshot.isMeasuring = false;
    EXPECT_EQ(text(), "34.0% safe · —");
}

TEST_F(WidgetLineTest, ARecordOfYesterdayHasNoDose)
{
    snapshot.todayDosePercent = 95;
    now += 12h;
    EXPECT_EQ(text(), "0.0% safe · —");
    EXPECT_EQ(validUntil(), std::nullopt);
}

TEST_F(WidgetLineTest, ALevelGrowsOldWhenNobodyWritesAnyMore)
{
    EXPECT_EQ(validUntil(), now + 90s);
    now += 89s;
    EXPECT_EQ(text(), "34.0% safe · 78.4 dBA · On target");
    now += 1s;
    EXPECT_EQ(text(), "34.0% safe · —");
    EXPECT_EQ(validUntil(), dateFromIsoText("2026-03-12T00:00:00Z"));
}

TEST_F(WidgetLineTest, WithoutARecordThereIsNoDoseEither)
{
    snapshot = VelmorWidgetSnapshot();
    EXPECT_EQ(text(), "— · —");
    EXPECT_EQ(json(), R"({"text":"— · —","alt":"safe","tooltip":"Velmor has measured nothing yet.",)"
                      R"("class":["safe","idle"],"percentage":0})");
}

TEST_F(WidgetLineTest, BarsReadJson)
{
    snapshot.dawName = "<b>A & B";
    EXPECT_EQ(json(),
              R"({"text":"34.0% · 78.4 dBA","alt":"safe","tooltip":"Dose 34.0% (safe)\n)"
              R"(Level 78.4 dBA, 82.1 dBC\nOn target: 79.0 ± 3.0 dBA (K-14)\nSession &lt;b&gt;A &amp; B\n)"
              R"(Week 79.2 dB LEX","class":["safe","live","onTarget"],"percentage":34})");
    snapshot.paused = true;
    snapshot.todayDosePercent = 250;
    snapshot.dawName.reset();
    snapshot.weeklyLEX.reset();
    EXPECT_EQ(json(), R"({"text":"250.0% · —","alt":"danger","tooltip":"Dose 250.0% (danger)\nPaused",)"
                      R"("class":["danger","idle"],"percentage":100})");
}

} // namespace
} // namespace velmor
