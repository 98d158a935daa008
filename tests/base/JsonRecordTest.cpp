// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/JsonRecord.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace velmor {

struct Inner
{
    double number = 0;
    std::optional<std::string> text;

    bool operator==(const Inner&) const = default;
};

struct Outer
{
    std::vector<Inner> inners;
    std::map<std::string, std::int64_t, std::less<>> counts;
    std::vector<std::optional<double>> gaps;
    bool flag = false;
    Date date;

    bool operator==(const Outer&) const = default;
};

template <>
inline constexpr auto jsonMembers<Inner> = std::tuple(std::pair("number", &Inner::number),
                                                      std::pair("text", &Inner::text));
template <>
inline constexpr auto
    jsonMembers<Outer> = std::tuple(std::pair("inners", &Outer::inners), std::pair("counts", &Outer::counts),
                                    std::pair("gaps", &Outer::gaps), std::pair("flag", &Outer::flag),
                                    std::pair("date", &Outer::date));

namespace {

TEST(JsonRecord, IsWrittenInTheOrderOfItsTableAndReadBack)
{
    const Outer outer{{{1.5, "a"}, {-2, std::nullopt}},
                      {{"x", 3}},
                      {1.0, std::nullopt},
                      true,
                      dateFromIsoText("2001-01-01T00:00:10Z").value()};
    const auto json = encodedJson(outer);
    EXPECT_EQ(json, R"({"inners":[{"number":1.5,"text":"a"},{"number":-2}],"counts":{"x":3},)"
                    R"("gaps":[1,null],"flag":true,"date":10})");
    EXPECT_EQ(decodedJson<Outer>(json.value()), outer);
}

TEST(JsonRecord, WhatIsOptionalMayBeMissingOrNullAndUnknownMembersArePassedOver)
{
    EXPECT_EQ(decodedJson<Inner>(R"({"number":1})"), (Inner{1, std::nullopt}));
    EXPECT_EQ(decodedJson<Inner>(R"({"text":null,"more":[],"number":1})"), (Inner{1, std::nullopt}));
}

TEST(JsonRecord, WhatIsMissingOrOfAnotherTypeIsRefusedWithAReason)
{
    const auto reason = [](std::string_view text) -> std::string {
        try {
            decodedJsonOrThrow<Inner>(text);
            return "none";
        } catch (const JsonError& error) {
            return error.what();
        }
    };
    EXPECT_EQ(reason("{}"), "\"number\" is missing");
    EXPECT_EQ(reason(""), "there is no text");
    EXPECT_NE(reason("[]"), "none");
    EXPECT_NE(reason("{\"number\":\"1\"}"), "none");
    EXPECT_NE(reason("{\"number\":1,\"text\":2}"), "none");
    EXPECT_NE(reason("{\"number\":1"), "none");
}

TEST(JsonRecord, ANumberOf32BitsReadsBackAsTheSameBits)
{
    std::mt19937 random(1);
    for (int i = 0; i < 300000; ++i) {
        const auto value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        if (!std::isfinite(value))
            continue;
        const auto read = decodedJson<float>(encodedJson(value).value());
        ASSERT_EQ(std::bit_cast<std::uint32_t>(read.value()), std::bit_cast<std::uint32_t>(value)) << value;
    }
    EXPECT_EQ(encodedJson(0.1F), "0.1");
    EXPECT_EQ(decodedJson<float>("1e39"), std::nullopt);
    EXPECT_EQ(decodedJson<float>("3.4028235e38"), std::numeric_limits<float>::max());
}

TEST(JsonRecord, ANumberThatIsNotFiniteHasNoForm)
{
    EXPECT_EQ(encodedJson(std::vector<double>{1, std::numeric_limits<double>::infinity()}), std::nullopt);
    EXPECT_EQ(encodedJson(std::numeric_limits<float>::quiet_NaN()), std::nullopt);
}

TEST(JsonRecord, MomentsBeyondACenturyAreRefused)
{
    EXPECT_EQ(decodedJson<Date>("0.5"),
              dateFromIsoText("2001-01-01T00:00:00Z").value() + std::chrono::milliseconds(500));
    EXPECT_EQ(decodedJson<Date>("3155760001"), std::nullopt);
    EXPECT_EQ(decodedJson<Date>("-3155760001"), std::nullopt);
}

} // namespace
} // namespace velmor
