// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/DefaultsEncoding.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

namespace velmor {
namespace {

TEST(DefaultsEncoding, EachTypeComesBackAsItself)
{
    const std::vector<DefaultsValue> values = {
        true,
        false,
        std::int64_t(0),
        std::int64_t(1),
        std::numeric_limits<std::int64_t>::min(),
        0.0,
        -0.0,
        94.0,
        5e-324,
        std::numeric_limits<double>::infinity(),
        std::string(),
        std::string("Größe\0!", 8),
        DefaultsData(),
        DefaultsData{std::byte(0), std::byte(255)},
        Date(),
        Date(std::chrono::hours(-24 * 365 * 200)),
        DefaultsDictionary(),
        DefaultsDictionary{{"org.ardour.Ardour", "Ardour 8 \"β\"\n"}, {"", ""}}};
    for (const DefaultsValue& value : values)
        EXPECT_EQ(decodeDefaultsValue(typeName(value), encodedDefaultsValue(value)), value)
            << typeName(value);
}

TEST(DefaultsEncoding, ADoubleThatIsNoNumberComesBackAsAbsent)
{
    const DefaultsValue value = std::nan("");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(encodedDefaultsValue(value)));
    EXPECT_EQ(decodeDefaultsValue("double", encodedDefaultsValue(value)), std::nullopt);
}

TEST(DefaultsEncoding, ADictionaryIsAnObjectOfTextsAndNothingElse)
{
    EXPECT_EQ(decodeDefaultsValue("dictionary", std::string_view(R"({"a": "b"})")),
              DefaultsValue(DefaultsDictionary{{"a", "b"}}));
    for (const std::string_view text :
         {"", "[]", "{", "\"a\"", R"({"a": 1})", R"({"a": {"b": "c"}})", R"({"a": null})", R"({"a": "b"} x)"})
        EXPECT_EQ(decodeDefaultsValue("dictionary", text), std::nullopt) << text;
}

TEST(DefaultsEncoding, ADateAtTheEndOfTimeIsNoValue)
{
    for (const Date date : {Date::min(), Date::max(), Date::max() - std::chrono::hours(47)})
        EXPECT_EQ(decodeDefaultsValue("date", encodedDefaultsValue(date)), std::nullopt);
}

TEST(DefaultsEncoding, AColumnThatDoesNotFitTheTypeIsNoValue)
{
    const std::array<std::byte, 1> byte = {};
    const std::array<DatabaseColumn, 5> columns = {std::monostate(), std::int64_t(7), 1.0,
                                                   std::string_view("1"), std::span<const std::byte>(byte)};
    for (const std::string_view type : {"boolean", "integer", "double", "string", "data", "date"}) {
        int fitting = 0;
        for (const auto& column : columns)
            fitting += decodeDefaultsValue(type, column).has_value() ? 1 : 0;
        // 7 is no Boolean; each other type has exactly one column that fits.
        EXPECT_EQ(fitting, type == "boolean" ? 0 : 1) << type;
    }
    for (const auto& column : columns) {
        EXPECT_EQ(decodeDefaultsValue("", column), std::nullopt);
        EXPECT_EQ(decodeDefaultsValue("Integer", column), std::nullopt);
    }
}

} // namespace
} // namespace velmor
