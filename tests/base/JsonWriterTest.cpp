// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/JsonWriter.h>

#include <gtest/gtest.h>
#include <simdjson.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace velmor {
namespace {

std::string compact(const auto& value)
{
    JsonWriter json(JsonWriter::Layout::compact);
    json.value(value);
    return json.text().value();
}

void writeSample(JsonWriter& json)
{
    json.beginObject();
    json.member("name", "Mix");
    json.member("count", std::int64_t(-3));
    json.key("levels");
    json.beginArray();
    json.value(85.5);
    json.value(true);
    json.endArray();
    json.key("none");
    json.beginArray();
    json.endArray();
    json.endObject();
}

TEST(JsonWriter, PrettyTextIndentsByTwoSpaces)
{
    JsonWriter json(JsonWriter::Layout::pretty);
    writeSample(json);
    EXPECT_EQ(json.text(), "{\n"
                           "  \"name\": \"Mix\",\n"
                           "  \"count\": -3,\n"
                           "  \"levels\": [\n"
                           "    85.5,\n"
                           "    true\n"
                           "  ],\n"
                           "  \"none\": []\n"
                           "}");
}

TEST(JsonWriter, CompactTextHasNoWhiteSpace)
{
    JsonWriter json(JsonWriter::Layout::compact);
    writeSample(json);
    EXPECT_EQ(json.text(), R"({"name":"Mix","count":-3,"levels":[85.5,true],"none":[]})");
}

TEST(JsonWriter, NumbersAreTheShortestThatReadBack)
{
    EXPECT_EQ(compact(0.1), "0.1");
    EXPECT_EQ(compact(94.0), "94");
    EXPECT_EQ(compact(0.1 + 0.2), "0.30000000000000004");
    EXPECT_EQ(compact(1e300), "1e+300");
    EXPECT_EQ(compact(123456789012345670000.0), "1.2345678901234567e+20");
    EXPECT_EQ(compact(-0.0), "-0");
    EXPECT_EQ(compact(5e-324), "5e-324");
    EXPECT_EQ(compact(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
}

TEST(JsonWriter, AnyFiniteNumberReadsBackBitForBit)
{
    std::mt19937_64 generator(1);
    simdjson::dom::parser parser;
    for (int i = 0; i < 20000; ++i) {
        const auto bits = generator();
        double number = 0;
        std::memcpy(&number, &bits, sizeof number);
        if (!std::isfinite(number))
            continue;
        const std::string text = "[" + compact(number) + "]";
        double back = 0;
        ASSERT_EQ(parser.parse(text).at(0).get_double().get(back), simdjson::SUCCESS) << text;
        EXPECT_EQ(back, number) << text;
    }
}

TEST(JsonWriter, ANumberThatIsNotFiniteGivesNoText)
{
    for (const double number :
         {std::nan(""), std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()}) {
        JsonWriter json(JsonWriter::Layout::compact);
        json.value(number);
        EXPECT_EQ(json.text(), std::nullopt);
    }
}

TEST(JsonWriter, TextIsEscapedAndStaysUtf8)
{
    EXPECT_EQ(compact("\"\\\n\r\t\x01/"), R"("\"\\\n\r\t\u0001/")");
    EXPECT_EQ(compact("Größe 🔊"), "\"Größe 🔊\"");
}

TEST(JsonWriter, BytesThatAreNotUtf8BecomeReplacementCharacters)
{
    const std::string mark = "\xEF\xBF\xBD";
    EXPECT_EQ(compact("a\xFF"
                      "b"),
              "\"a" + mark + "b\"");
    EXPECT_EQ(compact("\xC3"), "\"" + mark + "\"");
    EXPECT_EQ(compact("\xC0\xAF"), "\"" + mark + mark + "\"");                       // overlong
    EXPECT_EQ(compact("\xED\xA0\x80"), "\"" + mark + mark + mark + "\"");            // surrogate
    EXPECT_EQ(compact("\xF4\x90\x80\x80"), "\"" + mark + mark + mark + mark + "\""); // beyond Unicode
    EXPECT_EQ(compact("\xF0\x9F\x94"), "\"" + mark + mark + mark + "\"");            // cut short
}

} // namespace
} // namespace velmor
