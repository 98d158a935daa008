// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/SessionFormat.h>
#include <support/SampleSessions.h>
#include <support/TemporaryFolder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace velmor {
namespace {

using test::moment;
using testing::HasSubstr;

/// The members of an object as texts of JSON, to leave one out or to put another value in its place.
using Members = std::map<std::string, std::string>;

const Members requiredMembers = {{"id", R"("0123ABCD-EF45-4789-8ABC-DEF012345678")"},
                                 {"startDate", R"("2026-03-01T09:12:45Z")"},
                                 {"dawName", R"("REAPER")"},
                                 {"averageSPL", "78.5"},
                                 {"peakSPL", "92.25"},
                                 {"doseAccumulated", "12.125"},
                                 {"readings", "[]"}};

const std::vector<std::string> laterKeys = {"peakDBC",         "peakCount135",     "peakCount140",
                                            "peakDBACount115", "monitoringTarget", "monitoringTolerance",
                                            "timeSilentSec",   "timeUnderSec",     "timeOnTargetSec",
                                            "timeOverSec"};

const Members requiredReadingMembers = {
    {"timestamp", R"("2026-03-01T09:12:55Z")"}, {"dBA", "77.5"}, {"dosePercentageAtTime", "3.5"}};

std::string objectText(const Members& members)
{
    std::string text = "{";
    for (const auto& [key, value] : members)
        text += (text.size() > 1 ? ",\"" : "\"") + key + "\":" + value;
    return text + "}";
}

std::string with(Members members, const std::string& key, const std::string& value)
{
    members[key] = value;
    return "[" + objectText(members) + "]";
}

std::string without(Members members, const std::string& key)
{
    members.erase(key);
    return "[" + objectText(members) + "]";
}

/// A history of one session that has one reading.
std::string withReading(const std::string& readings)
{
    return with(requiredMembers, "readings", readings);
}

bool decodes(const std::string& text)
{
    try {
        (void)decodedHistory(text);
        return true;
    } catch (const JsonError&) {
        return false;
    }
}

TEST(SessionFormat, AHistoryReadsBackAsItWasWritten)
{
    std::vector<Session> sessions;
    for (unsigned i = 0; i < 5; ++i)
        sessions.push_back(test::sampleSession(moment("2026-03-01T09:12:45Z"), static_cast<int>(3 * i), i));
    sessions[1].dawName = "Pro \"X\"\n\t\\ Ünï ✂ 🔊";
    sessions[2].endDate.reset();
    sessions[3].readings[0].zone.reset();
    sessions[3].readings[1].dBC = -0.0;
    sessions[4].averageSPL = 0.1 + 0.2;
    sessions[4].peakCount135 = std::numeric_limits<std::int64_t>::max();
    sessions[4].peakSPL = 5e-324;
    sessions[4].peakDBC = 1.7976931348623157e308;
    const auto text = encodedHistory(sessions);
    ASSERT_TRUE(text);
    EXPECT_EQ(decodedHistory(*text), sessions);
}

TEST(SessionFormat, TheFileIsPrettyPrinted)
{
    Session session = test::sampleSession(moment("2026-03-01T09:12:45Z"), 1);
    session.id = uuidFromText("0123ABCD-EF45-4789-8ABC-DEF012345678").value();
    session.averageSPL = 80;
    session.readings[0] = {moment("2026-03-01T09:12:55Z"), 77.25, 3.5, 80, Zone::onTarget};
    const std::string text = encodedHistory(std::vector{session}).value();
    EXPECT_THAT(text, testing::StartsWith("[\n  {\n    \"id\": \"0123ABCD-EF45-4789-8ABC-DEF012345678\",\n"
                                          "    \"startDate\": \"2026-03-01T09:12:45Z\",\n"
                                          "    \"endDate\": \"2026-03-01T09:12:55Z\",\n"
                                          "    \"dawName\": \"REAPER\",\n"
                                          "    \"averageSPL\": 80,\n"));
    EXPECT_THAT(text, testing::EndsWith("    \"readings\": [\n      {\n"
                                        "        \"timestamp\": \"2026-03-01T09:12:55Z\",\n"
                                        "        \"dBA\": 77.25,\n"
                                        "        \"dosePercentageAtTime\": 3.5,\n"
                                        "        \"dBC\": 80,\n"
                                        "        \"zone\": \"onTarget\"\n"
                                        "      }\n    ]\n  }\n]"));
    EXPECT_EQ(encodedHistory({}), "[]");
}

TEST(SessionFormat, EveryFieldIsWrittenUnderItsName)
{
    const std::string text =
        encodedHistory(std::vector{test::sampleSession(moment("2026-03-01T09:12:45Z"), 1)}).value();
    for (const auto& [key, value] : requiredMembers)
        EXPECT_THAT(text, HasSubstr("\"" + key + "\": "));
    for (const auto& key : laterKeys)
        EXPECT_THAT(text, HasSubstr("\"" + key + "\": "));
    EXPECT_THAT(text, HasSubstr("\"endDate\": "));
    Session running = newSession("REAPER", moment("2026-03-01T09:12:45Z"));
    EXPECT_THAT(encodedHistory(std::vector{running}).value(), testing::Not(HasSubstr("endDate")));
    running.readings.push_back({});
    EXPECT_THAT(encodedHistory(std::vector{running}).value(), testing::Not(HasSubstr("zone")));
}

TEST(SessionFormat, DatesLoseTheirFractionsOnSaving)
{
    Session session = test::sampleSession(moment("2026-03-01T09:12:45Z") + std::chrono::milliseconds(999), 1);
    const auto read = decodedHistory(encodedHistory(std::vector{session}).value()).at(0);
    EXPECT_EQ(read.startDate, moment("2026-03-01T09:12:45Z"));
    EXPECT_EQ(read.endDate, moment("2026-03-01T09:12:55Z"));
    EXPECT_EQ(read.readings[0].timestamp, moment("2026-03-01T09:12:55Z"));
}

TEST(SessionFormat, ANumberThatIsNotFiniteMakesTheEncodingFail)
{
    for (const double bad :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
          -std::numeric_limits<double>::infinity()}) {
        Session session = test::sampleSession(moment("2026-03-01T09:12:45Z"), 2);
        session.averageSPL = bad;
        EXPECT_FALSE(encodedHistory(std::vector{session}));
        session = test::sampleSession(moment("2026-03-01T09:12:45Z"), 2);
        session.readings[1].dBC = bad;
        EXPECT_FALSE(encodedHistory(std::vector{session}));
        EXPECT_FALSE(encodedMoment(session, session.readings));
    }
}

TEST(SessionFormat, ASessionWithoutTheLaterKeysLoadsWithZeros)
{
    const auto sessions = decodedHistory("[" + objectText(requiredMembers) + "]");
    ASSERT_EQ(sessions.size(), 1U);
    Session expected;
    expected.id = uuidFromText("0123ABCD-EF45-4789-8ABC-DEF012345678").value();
    expected.startDate = moment("2026-03-01T09:12:45Z");
    expected.dawName = "REAPER";
    expected.averageSPL = 78.5;
    expected.peakSPL = 92.25;
    expected.doseAccumulated = 12.125;
    EXPECT_EQ(sessions[0], expected);
    EXPECT_FALSE(sessions[0].hasMonitoringDisciplineData());
    EXPECT_TRUE(sessions[0].isActive());
}

TEST(SessionFormat, EachRequiredKeyMustBeThere)
{
    // Beside all the others, and beside none that isn't required.
    Members allMembers = requiredMembers;
    for (const auto& key : laterKeys)
        allMembers[key] = "0";
    ASSERT_TRUE(decodes("[" + objectText(allMembers) + "]"));
    for (const auto& [key, value] : requiredMembers) {
        EXPECT_FALSE(decodes(without(requiredMembers, key))) << key;
        EXPECT_FALSE(decodes(without(allMembers, key))) << key;
    }
    Members allReadingMembers = requiredReadingMembers;
    allReadingMembers["dBC"] = "80";
    allReadingMembers["zone"] = R"("over")";
    ASSERT_TRUE(decodes(withReading("[" + objectText(allReadingMembers) + "]")));
    for (const auto& [key, value] : requiredReadingMembers) {
        EXPECT_FALSE(decodes(withReading(without(requiredReadingMembers, key)))) << key;
        EXPECT_FALSE(decodes(withReading(without(allReadingMembers, key)))) << key;
    }
}

TEST(SessionFormat, ADateThatIsFollowedByAColonIsDamage)
{
    EXPECT_FALSE(decodes(
        withReading(R"([{"timestamp":"2026-03-01T09:12:45Z":0},"dBA":1,"dosePercentageAtTime":2}])")));
    EXPECT_FALSE(decodes(with(requiredMembers, "startDate", R"("2026-03-01T09:12:45Z":0})")));
    EXPECT_FALSE(decodes(with(requiredMembers, "startDate", R"("2026-03-01T09:12:45Z" 5)")));
}

TEST(SessionFormat, NullIsAMissingKey)
{
    for (const auto& [key, value] : requiredMembers)
        EXPECT_FALSE(decodes(with(requiredMembers, key, "null"))) << key;
    for (const auto& key : laterKeys)
        EXPECT_TRUE(decodes(with(requiredMembers, key, "null"))) << key;
    EXPECT_FALSE(decodedHistory(with(requiredMembers, "endDate", "null")).at(0).endDate);
    for (const auto& [key, value] : requiredReadingMembers)
        EXPECT_FALSE(decodes(withReading(with(requiredReadingMembers, key, "null")))) << key;
    EXPECT_TRUE(decodes(withReading(with(requiredReadingMembers, "dBC", "null"))));
    EXPECT_TRUE(decodes(withReading(with(requiredReadingMembers, "zone", "null"))));
}

TEST(SessionFormat, AValueOfTheWrongTypeFailsTheWhole)
{
    const std::vector<std::string> notNumbers = {"\"5\"", "true", "[]", "{}", "[5]"};
    const std::vector<std::string> notTexts = {"5", "true", "[]", "{}", "1.5"};
    const std::vector<std::string> notIntegers = {"\"5\"", "true",  "[]",  "{}",
                                                  "1.5",   "1e400", "1.0", "9223372036854775808"};
    for (const char* key :
         {"averageSPL", "peakSPL", "doseAccumulated", "peakDBC", "monitoringTarget", "monitoringTolerance",
          "timeSilentSec", "timeUnderSec", "timeOnTargetSec", "timeOverSec"}) {
        for (const auto& value : notNumbers)
            EXPECT_FALSE(decodes(with(requiredMembers, key, value))) << key << value;
        EXPECT_TRUE(decodes(with(requiredMembers, key, "5"))) << key;
        EXPECT_TRUE(decodes(with(requiredMembers, key, "-5e-3"))) << key;
    }
    for (const char* key : {"peakCount135", "peakCount140", "peakDBACount115"}) {
        for (const auto& value : notIntegers)
            EXPECT_FALSE(decodes(with(requiredMembers, key, value))) << key << value;
        EXPECT_TRUE(decodes(with(requiredMembers, key, "9223372036854775807"))) << key;
    }
    for (const char* key : {"id", "startDate", "endDate", "dawName", "readings"}) {
        for (const auto& value : {"5", "true", "{}", "1.5"})
            EXPECT_FALSE(decodes(with(requiredMembers, key, value))) << key << value;
    }
    for (const char* key : {"dBA", "dosePercentageAtTime", "dBC"}) {
        for (const auto& value : notNumbers)
            EXPECT_FALSE(decodes(withReading(with(requiredReadingMembers, key, value)))) << key << value;
    }
    for (const char* key : {"timestamp", "zone"}) {
        for (const auto& value : notTexts)
            EXPECT_FALSE(decodes(withReading(with(requiredReadingMembers, key, value)))) << key << value;
    }
    for (const char* readings : {"[5]", "[[]]", "[null]", "\"\""})
        EXPECT_FALSE(decodes(withReading(readings))) << readings;
    for (const char* text : {"{}", "5", "null", "\"\"", "[5]", "[[]]", "[null]", "true"})
        EXPECT_FALSE(decodes(text)) << text;
}

TEST(SessionFormat, ADateHasWholeSecondsAndAZ)
{
    for (const char* date :
         {"2026-03-01T09:12:45.5Z", "2026-03-01T09:12:45.000Z", "2026-03-01T09:12:45+00:00",
          "2026-03-01T09:12:45", "2026-03-01 09:12:45Z", "2026-03-01T09:12:45z", "2026-02-30T09:12:45Z",
          "2026-03-01T24:00:00Z", "0000-03-01T09:12:45Z", "9999-12-31T23:59:59Z", "", " 2026-03-01T09:12:45Z",
          "2026-03-01T09:12:45Z ", "now"}) {
        const std::string text = std::string("\"") + date + "\"";
        EXPECT_FALSE(decodes(with(requiredMembers, "startDate", text))) << date;
        EXPECT_FALSE(decodes(with(requiredMembers, "endDate", text))) << date;
        EXPECT_FALSE(decodes(withReading(with(requiredReadingMembers, "timestamp", text)))) << date;
    }
    const std::string escaped = R"("\u0032026-03-01T09:12:45\u005a")";
    EXPECT_EQ(decodedHistory(with(requiredMembers, "startDate", escaped)).at(0).startDate,
              moment("2026-03-01T09:12:45Z"));
}

TEST(SessionFormat, AnUnknownZoneFailsTheWhole)
{
    EXPECT_TRUE(decodes(withReading(with(requiredReadingMembers, "zone", R"("over")"))));
    for (const char* zone : {R"("Over")", R"("loud")", R"("")", R"("over ")"})
        EXPECT_FALSE(decodes(withReading(with(requiredReadingMembers, "zone", zone)))) << zone;
}

TEST(SessionFormat, AReadingWithoutTheLaterKeysLoads)
{
    const auto readings =
        decodedHistory(withReading("[" + objectText(requiredReadingMembers) + "]")).at(0).readings;
    ASSERT_EQ(readings.size(), 1U);
    EXPECT_EQ(readings[0].timestamp, moment("2026-03-01T09:12:55Z"));
    EXPECT_EQ(readings[0].dBA, 77.5);
    EXPECT_EQ(readings[0].dosePercentageAtTime, 3.5);
    EXPECT_EQ(readings[0].dBC, 0);
    EXPECT_FALSE(readings[0].zone);
}

TEST(SessionFormat, AnIdentityIsACanonicalUuidInEitherCase)
{
    EXPECT_TRUE(decodes(with(requiredMembers, "id", R"("0123abcd-ef45-4789-8abc-def012345678")")));
    EXPECT_FALSE(decodes(with(requiredMembers, "id", R"("0123abcdef4547898abcdef012345678")")));
    EXPECT_FALSE(decodes(with(requiredMembers, "id", R"("")")));
}

TEST(SessionFormat, UnknownKeysAreLeftAloneButMustBeJson)
{
    for (const char* value : {"5", "null", "true", R"("x\u00e4")", "[1,[2,{\"a\":[]}]]", "{}", "-1.5e7"}) {
        EXPECT_TRUE(decodes(with(requiredMembers, "future", value))) << value;
        EXPECT_TRUE(decodes(withReading(with(requiredReadingMembers, "future", value)))) << value;
    }
    for (const char* value : {"NaN",         "Infinity", "nul", "tru", "[1,,2]", "[1 2]",     "{\"a\"}",
                              "{\"a\":}",    "01",       "+1",  ".5",  "5.",     "1e",        R"("\x")",
                              R"("\ud800")", "'x'",      "[",   "{",   "[1,]",   "{\"a\":1,}"}) {
        EXPECT_FALSE(decodes(with(requiredMembers, "future", value))) << value;
        EXPECT_FALSE(decodes(withReading(with(requiredReadingMembers, "future", value)))) << value;
    }
}

TEST(SessionFormat, TextsLikeNaNAreNoNumbers)
{
    for (const char* value : {"NaN", "nan", "Infinity", "-Infinity", "inf", "1e999", "-1e999", "0x10"}) {
        EXPECT_FALSE(decodes(with(requiredMembers, "averageSPL", value))) << value;
        EXPECT_FALSE(decodes(withReading(with(requiredReadingMembers, "dBA", value)))) << value;
    }
}

TEST(SessionFormat, AHistoryThatIsCutOffAnywhereIsDamaged)
{
    std::vector<Session> sessions = {test::sampleSession(moment("2026-03-01T09:12:45Z"), 2, 1),
                                     test::sampleSession(moment("2026-02-01T09:12:45Z"), 1, 2)};
    const std::string text = encodedHistory(sessions).value();
    for (std::size_t length = 0; length < text.size(); ++length)
        ASSERT_FALSE(decodes(text.substr(0, length))) << length;
    EXPECT_TRUE(decodes(text));
    EXPECT_TRUE(decodes(text + "\n"));
}

TEST(SessionFormat, TextAfterTheEndIsDamage)
{
    for (const char* tail : {"x", "[]", ",", "]", "5", "null", "\"\"", "{}"})
        EXPECT_FALSE(decodes("[]" + std::string(tail))) << tail;
    EXPECT_TRUE(decodes(" [ ] \n"));
}

TEST(SessionFormat, BrokenStructureIsDamage)
{
    const std::string session = objectText(requiredMembers);
    for (const auto& text : {"[" + session + " " + session + "]", "[" + session + ",]", "[," + session + "]",
                             "[" + session + "}", session + "]", "[[" + session + "]",
                             "[" + session.substr(0, session.size() - 1) + ",}]"})
        EXPECT_FALSE(decodes(text)) << text;
    EXPECT_TRUE(decodes("[" + session + "," + session + "]"));
}

TEST(SessionFormat, BytesThatAreNoUtf8AreDamage)
{
    EXPECT_FALSE(decodes(with(requiredMembers, "dawName", "\"\xC3\x28\"")));
    EXPECT_FALSE(decodes(with(requiredMembers, "future", "\"\xFF\"")));
}

TEST(SessionFormat, DeepNestingIsDamageAndNoCrash)
{
    constexpr std::size_t size = 64U << 20;
    EXPECT_FALSE(decodes(std::string(size, '[')));
    const std::string deep = std::string(1 << 20, '[') + std::string(1 << 20, ']');
    EXPECT_FALSE(decodes(deep));
    EXPECT_FALSE(decodes(with(requiredMembers, "future", deep)));
    EXPECT_TRUE(decodes(with(requiredMembers, "future", std::string(400, '[') + std::string(400, ']'))));
}

TEST(SessionFormat, TheErrorSaysWhere)
{
    try {
        (void)decodedHistory("[" + objectText(requiredMembers) + "," +
                             without(requiredMembers, "dawName").substr(1));
        FAIL();
    } catch (const JsonError& error) {
        EXPECT_THAT(error.what(), HasSubstr("session 2"));
        EXPECT_THAT(error.what(), HasSubstr("dawName"));
    }
}

TEST(SessionFormat, TheExampleOfTheDocumentationIsAHistoryAsItIsWritten)
{
    const std::string page = test::contentOf(VELMOR_HISTORY_PAGE);
    const std::string opening = "```json\n";
    const std::size_t begin = page.find(opening) + opening.size();
    const std::string example = page.substr(begin, page.find("\n```", begin) - begin);
    EXPECT_EQ(encodedHistory(decodedHistory(example)), example);
}

TEST(SessionFormat, AMomentReadsBackAsItWasWritten)
{
    Session state = test::sampleSession(moment("2026-03-01T09:12:45Z"), 3);
    const auto text = encodedMoment(state, std::span(state.readings).subspan(1)).value();
    EXPECT_EQ(text.find('\n'), std::string::npos);
    state.readings.erase(state.readings.begin());
    EXPECT_EQ(decodedMoment(text), state);
    state.readings.clear();
    EXPECT_EQ(decodedMoment(encodedMoment(state, {}).value()), state);
}

} // namespace
} // namespace velmor
