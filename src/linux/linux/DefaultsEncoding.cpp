// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/DefaultsEncoding.h>

#include <base/JsonWriter.h>

#include <simdjson.h>

#include <array>
#include <cmath>
#include <string>
#include <utility>

namespace velmor {

namespace {

/// In the order of the alternatives of DefaultsValue.
constexpr std::array<std::string_view, std::variant_size_v<DefaultsValue>> typeNames = {
    "boolean", "integer", "double", "string", "data", "date", "dictionary"};

constexpr std::chrono::hours dateMargin(48);

struct Encoder
{
    DatabaseColumn operator()(bool flag) const { return std::int64_t(flag); }
    DatabaseColumn operator()(std::int64_t number) const { return number; }
    DatabaseColumn operator()(double number) const
    {
        if (std::isnan(number))
            return std::monostate();
        return number;
    }
    DatabaseColumn operator()(const std::string& text) const { return std::string_view(text); }
    DatabaseColumn operator()(const DefaultsData& data) const { return std::span<const std::byte>(data); }
    DatabaseColumn operator()(Date date) const { return date.time_since_epoch().count(); }
    DatabaseColumn operator()(const DefaultsDictionary& dictionary) const
    {
        JsonWriter writer(JsonWriter::Layout::compact);
        writer.beginObject();
        for (const auto& [key, text] : dictionary)
            writer.member(key, std::string_view(text));
        writer.endObject();
        return std::move(writer).text().value();
    }
};

/// Absent for anything but an object of texts.
std::optional<DefaultsValue> decodeDictionary(std::string_view json)
{
    DefaultsDictionary dictionary;
    simdjson::dom::parser parser;
    simdjson::dom::object object;
    if (parser.parse(json.data(), json.size()).get(object) != simdjson::SUCCESS)
        return std::nullopt;
    for (const auto& [key, member] : object) {
        std::string_view text;
        if (member.get(text) != simdjson::SUCCESS)
            return std::nullopt;
        dictionary.insert_or_assign(std::string(key), std::string(text));
    }
    return dictionary;
}

} // namespace

std::string_view typeName(const DefaultsValue& value)
{
    return typeNames[value.index()];
}

DatabaseColumn encodedDefaultsValue(const DefaultsValue& value)
{
    return std::visit(Encoder(), value);
}

std::optional<DefaultsValue> decodeDefaultsValue(std::string_view type, const DatabaseColumn& column)
{
    const auto* integer = std::get_if<std::int64_t>(&column);
    if (type == "boolean" && integer && (*integer == 0 || *integer == 1))
        return *integer == 1;
    if (type == "integer" && integer)
        return *integer;
    if (type == "date" && integer) {
        const Date date{std::chrono::nanoseconds(*integer)};
        // Nearer to the ends of time the local date could not be told.
        const bool isUsable = date > Date::min() + dateMargin && date < Date::max() - dateMargin;
        return isUsable ? std::optional<DefaultsValue>(date) : std::nullopt;
    }
    if (const auto* real = std::get_if<double>(&column); type == "double" && real)
        return *real;
    if (const auto* text = std::get_if<std::string_view>(&column); type == "string" && text)
        return std::string(*text);
    if (const auto* blob = std::get_if<std::span<const std::byte>>(&column); type == "data" && blob)
        return DefaultsData(blob->begin(), blob->end());
    if (const auto* text = std::get_if<std::string_view>(&column); type == "dictionary" && text)
        return decodeDictionary(*text);
    if (const auto* text = std::get_if<std::string>(&column))
        return decodeDefaultsValue(type, std::string_view(*text));
    return std::nullopt;
}

} // namespace velmor
