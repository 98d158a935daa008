// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/VelmorWidgetSnapshot.h>

#include <platform/MemoryDefaultsStore.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <span>
#include <string>

namespace velmor {
namespace {

using testing::HasSubstr;
using testing::Not;

const Date noon = dateFromIsoText("2026-03-11T12:00:00Z").value();

const std::string sampleJson =
    R"({"todayDosePercent":34,"lastDBA":78.4,"lastDBC":82.1,"isMeasuring":true,"sessionActive":true,)"
    R"("paused":false,"dawName":"Logic Pro","streakDays":6,"weeklyLEX":79.2,"weeklyDoses":[12,40,0,28,55,33,34],)"
    R"("monitoringEnabled":true,"monitoringTarget":79,"monitoringTolerance":3,"monitoringPreset":"K-14",)"
    R"("disciplineZone":"onTarget","onTargetPercent":72,"weeklyOnTargetPercent":68,)"
    R"("weeklyOnTargetByDay":[74,61,null,70,55,82,72],"updatedAt":794923200})";

/// The sample without a member, or with another value for it.
std::string sampleWith(const std::string& member, const std::string& replacement)
{
    std::string json = sampleJson;
    const auto position = json.find(member);
    EXPECT_NE(position, std::string::npos) << member;
    return json.replace(position, member.size(), replacement);
}

class VelmorWidgetSnapshotTest : public testing::Test
{
protected:
    VelmorWidgetSnapshot sample = VelmorWidgetSnapshot::sample(noon);
    Calendar utc = Calendar::inZone("UTC").value();
    MemoryDefaultsStore suite;
};

TEST_F(VelmorWidgetSnapshotTest, ItsFormIsOneObjectWithTheFieldsNames)
{
    EXPECT_EQ(sample.encoded(), sampleJson);
    EXPECT_EQ(VelmorWidgetSnapshot::decoded(sampleJson), sample);
}

TEST_F(VelmorWidgetSnapshotTest, FieldsWithoutAValueAreLeftOutButPlacesInAWeekAreKept)
{
    VelmorWidgetSnapshot snapshot;
    snapshot.weeklyOnTargetByDay.resize(7);
    const std::string json = snapshot.encoded().value();
    for (const char* key :
         {"dawName", "weeklyLEX", "disciplineZone", "\"onTargetPercent", "weeklyOnTargetPercent"})
        EXPECT_THAT(json, Not(HasSubstr(key)));
    EXPECT_THAT(json, HasSubstr("\"weeklyOnTargetByDay\":[null,null,null,null,null,null,null]"));
    EXPECT_EQ(VelmorWidgetSnapshot::decoded(json), snapshot);
}

TEST_F(VelmorWidgetSnapshotTest, TheMomentCountsFrom2001)
{
    sample.updatedAt = dateFromIsoText("2001-01-01T00:00:01Z").value() + std::chrono::milliseconds(500);
    EXPECT_THAT(sample.encoded().value(), HasSubstr("\"updatedAt\":1.5}"));
    sample.updatedAt = Date();
    EXPECT_THAT(sample.encoded().value(), HasSubstr("\"updatedAt\":-978307200}"));
    EXPECT_EQ(VelmorWidgetSnapshot::decoded(*sample.encoded()), sample);
}

TEST_F(VelmorWidgetSnapshotTest, ItIsStoredAsDataUnderItsKey)
{
    sample.save(suite);
    const auto data = suite.get<DefaultsData>("VelmorWidgetSnapshot.v1");
    ASSERT_TRUE(data);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(data->data()), data->size()), sampleJson);
    EXPECT_EQ(VelmorWidgetSnapshot::load(suite), sample);
}

TEST_F(VelmorWidgetSnapshotTest, OneThatCanNotBeEncodedLeavesTheOneBefore)
{
    sample.save(suite);
    VelmorWidgetSnapshot broken = sample;
    broken.lastDBA = std::numeric_limits<double>::quiet_NaN();
    broken.save(suite);
    EXPECT_EQ(VelmorWidgetSnapshot::load(suite), sample);
}

TEST_F(VelmorWidgetSnapshotTest, WithNothingUsableStoredItIsTheEmptyRecord)
{
    VelmorWidgetSnapshot empty;
    EXPECT_EQ(empty.todayDosePercent, 0);
    EXPECT_EQ(empty.monitoringPreset, "K-14");
    EXPECT_EQ(empty.monitoringTarget, 79.0);
    EXPECT_EQ(empty.monitoringTolerance, 3.0);
    EXPECT_TRUE(empty.monitoringEnabled);
    EXPECT_TRUE(empty.weeklyDoses.empty());
    EXPECT_TRUE(empty.weeklyOnTargetByDay.empty());
    EXPECT_FALSE(empty.hasData());
    EXPECT_EQ(VelmorWidgetSnapshot::load(suite), empty);
    suite.set("VelmorWidgetSnapshot.v1", std::string(sampleJson)); // Text is no data.
    EXPECT_EQ(VelmorWidgetSnapshot::load(suite), empty);
    for (const std::string garbage : {"", "{", "[]", "null", "{}", "\xFF\xFE", "{\"todayDosePercent\":1}"}) {
        const auto bytes = std::as_bytes(std::span(garbage));
        suite.set("VelmorWidgetSnapshot.v1", DefaultsData(bytes.begin(), bytes.end()));
        EXPECT_EQ(VelmorWidgetSnapshot::load(suite), empty) << garbage;
    }
}

TEST_F(VelmorWidgetSnapshotTest, EveryKeyThatIsNotOptionalMustBeThere)
{
    for (const char* member :
         {"\"todayDosePercent\":34,", "\"lastDBA\":78.4,", "\"lastDBC\":82.1,", "\"isMeasuring\":true,",
          "\"sessionActive\":true,", "\"paused\":false,", "\"streakDays\":6,",
          "\"weeklyDoses\":[12,40,0,28,55,33,34],", "\"monitoringEnabled\":true,", "\"monitoringTarget\":79,",
          "\"monitoringTolerance\":3,", "\"monitoringPreset\":\"K-14\",",
          "\"weeklyOnTargetByDay\":[74,61,null,70,55,82,72],", ",\"updatedAt\":794923200"})
        EXPECT_FALSE(VelmorWidgetSnapshot::decoded(sampleWith(member, ""))) << member;
    for (const char* member :
         {"\"dawName\":\"Logic Pro\",", "\"weeklyLEX\":79.2,", "\"disciplineZone\":\"onTarget\",",
          "\"onTargetPercent\":72,", "\"weeklyOnTargetPercent\":68,"})
        EXPECT_TRUE(VelmorWidgetSnapshot::decoded(sampleWith(member, ""))) << member;
}

TEST_F(VelmorWidgetSnapshotTest, AValueOfAnotherTypeOrOutOfReachFailsTheWhole)
{
    EXPECT_FALSE(VelmorWidgetSnapshot::decoded(sampleWith(":34,", ":\"34\",")));
    EXPECT_FALSE(VelmorWidgetSnapshot::decoded(sampleWith(":34,", ":null,")));
    EXPECT_FALSE(VelmorWidgetSnapshot::decoded(sampleWith(":6,", ":6.5,")));
    EXPECT_FALSE(VelmorWidgetSnapshot::decoded(sampleWith("\"onTarget\",", "\"ontarget\",")));
    EXPECT_FALSE(VelmorWidgetSnapshot::decoded(sampleWith("[12,", "[null,")));
    EXPECT_FALSE(VelmorWidgetSnapshot::decoded(sampleWith("794923200", "1e300")));
    EXPECT_FALSE(VelmorWidgetSnapshot::decoded(sampleWith("794923200", "-1e12")));
    EXPECT_FALSE(VelmorWidgetSnapshot::decoded(sampleJson + "x"));
    // What nobody asks for may be there, and an optional one may be null.
    EXPECT_TRUE(VelmorWidgetSnapshot::decoded(sampleWith("{", "{\"later\":[1,{}],")));
    EXPECT_EQ(VelmorWidgetSnapshot::decoded(sampleWith("\"Logic Pro\"", "null"))->dawName, std::nullopt);
}

TEST_F(VelmorWidgetSnapshotTest, TheBandsBeginAtTheirLimits)
{
    EXPECT_EQ(doseBandFrom(39.999), DoseBand::safe);
    EXPECT_EQ(doseBandFrom(40.0), DoseBand::caution);
    EXPECT_EQ(doseBandFrom(69.999), DoseBand::caution);
    EXPECT_EQ(doseBandFrom(70.0), DoseBand::warning);
    EXPECT_EQ(doseBandFrom(89.999), DoseBand::warning);
    EXPECT_EQ(doseBandFrom(90.0), DoseBand::danger);
    EXPECT_EQ(doseBandFrom(std::nan("")), DoseBand::danger);
    EXPECT_EQ(doseBandFrom(-5), DoseBand::safe);
    EXPECT_EQ(rawValue(DoseBand::safe), "safe");
    EXPECT_EQ(rawValue(DoseBand::caution), "caution");
    EXPECT_EQ(rawValue(DoseBand::warning), "warning");
    EXPECT_EQ(rawValue(DoseBand::danger), "danger");
}

TEST_F(VelmorWidgetSnapshotTest, ARecordOfTodayIsLive)
{
    EXPECT_TRUE(sample.isFromToday(utc, noon));
    EXPECT_TRUE(sample.hasLiveSPL(utc, noon));
    EXPECT_FALSE(sample.isStale(utc, noon));
    EXPECT_EQ(sample.effectiveTodayDose(utc, noon), 34);
    EXPECT_EQ(sample.liveDisciplineZone(utc, noon), DisciplineZone::onTarget);
    EXPECT_NEAR(sample.monitoringDeviation(), -0.6, 1e-12);
    EXPECT_EQ(sample.monitoringBand(), (VelmorWidgetSnapshot::Band{76, 82}));
    sample.paused = true;
    EXPECT_FALSE(sample.hasLiveSPL(utc, noon));
    EXPECT_EQ(sample.liveDisciplineZone(utc, noon), std::nullopt);
    sample.paused = false;
    sample.isMeasuring = false;
    EXPECT_FALSE(sample.hasLiveSPL(utc, noon));
}

TEST_F(VelmorWidgetSnapshotTest, ARecordOfYesterdayHasNoDoseAndNoLevelWhateverItSays)
{
    sample.todayDosePercent = 95;
    const Date beforeMidnight = dateFromIsoText("2026-03-11T23:59:59Z").value();
    const Date afterMidnight = dateFromIsoText("2026-03-12T00:00:00Z").value();
    sample.updatedAt = beforeMidnight;
    EXPECT_EQ(sample.effectiveBand(utc, beforeMidnight), DoseBand::danger);
    EXPECT_EQ(sample.effectiveTodayDose(utc, afterMidnight), 0);
    EXPECT_EQ(sample.effectiveBand(utc, afterMidnight), DoseBand::safe);
    EXPECT_FALSE(sample.hasLiveSPL(utc, afterMidnight));
    EXPECT_TRUE(sample.isStale(utc, afterMidnight));
    EXPECT_EQ(sample.liveDisciplineZone(utc, afterMidnight), std::nullopt);
}

TEST_F(VelmorWidgetSnapshotTest, TheEmptyRecordIsNotStale)
{
    EXPECT_FALSE(VelmorWidgetSnapshot().isStale(utc, noon));
}

} // namespace
} // namespace velmor
