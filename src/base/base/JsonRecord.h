// SPDX-License-Identifier: GPL-3.0-or-later
// Writes and reads records with a table of their members, and what they are made of. What is optional may be
// missing or null, and is left out when it is absent; all else must be there. Members that a record doesn't
// know are passed over.
#pragma once

#include <base/Date.h>
#include <base/JsonError.h>
#include <base/JsonMembers.h>
#include <base/JsonWriter.h>
#include <base/Uuid.h>

#include <simdjson.h>

#include <cstdint>
#include <functional>
#include <map>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace velmor {

/// The form that moments have in a text.
enum class JsonDates {
    sinceReference, ///< A number of seconds since the reference date.
    iso             ///< A text as isoText() writes it.
};

/// A value in a parsed text.
struct JsonElement
{
    simdjson::dom::element value;
    JsonDates dates = JsonDates::sinceReference;
};

void readJson(JsonElement element, double& value);
void readJson(JsonElement element, float& value);
void readJson(JsonElement element, bool& value);
void readJson(JsonElement element, std::int64_t& value);
void readJson(JsonElement element, std::string& value);
void readJson(JsonElement element, Uuid& value);

void readJson(JsonElement element, Date& value);

inline void writeJson(JsonWriter& json, double value)
{
    json.value(value);
}
inline void writeJson(JsonWriter& json, float value)
{
    json.value(value);
}
inline void writeJson(JsonWriter& json, bool value)
{
    json.value(value);
}
inline void writeJson(JsonWriter& json, std::int64_t value)
{
    json.value(value);
}
inline void writeJson(JsonWriter& json, const std::string& value)
{
    json.value(std::string_view(value));
}
inline void writeJson(JsonWriter& json, const Uuid& value)
{
    json.value(std::string_view(uuidText(value)));
}
inline void writeJson(JsonWriter& json, Date value)
{
    json.value(secondsSinceReferenceDate(value));
}

template <JsonRecord Record>
void readJson(JsonElement element, Record& record);
template <JsonRecord Record>
void writeJson(JsonWriter& json, const Record& record);

template <typename Value>
void readJson(JsonElement element, std::optional<Value>& value)
{
    if (element.value.is_null())
        value.reset();
    else
        readJson(element, value.emplace());
}

/// Inside of an array what is absent keeps its place.
template <typename Value>
void writeJson(JsonWriter& json, const std::optional<Value>& value)
{
    if (value)
        writeJson(json, *value);
    else
        json.null();
}

template <typename Value>
void readJson(JsonElement element, std::vector<Value>& values)
{
    values.clear();
    for (const simdjson::dom::element item : element.value.get_array())
        readJson({item, element.dates}, values.emplace_back());
}

template <typename Value>
void writeJson(JsonWriter& json, const std::vector<Value>& values)
{
    json.beginArray();
    for (const auto& value : values)
        writeJson(json, value);
    json.endArray();
}

/// An object with the keys of the map. Of a key that comes twice the last counts.
template <typename Value>
void readJson(JsonElement element, std::map<std::string, Value, std::less<>>& values)
{
    values.clear();
    for (const auto& [key, item] : element.value.get_object()) {
        Value value{};
        readJson({item, element.dates}, value);
        values.insert_or_assign(std::string(key), std::move(value));
    }
}

template <typename Value>
void writeJson(JsonWriter& json, const std::map<std::string, Value, std::less<>>& values)
{
    json.beginObject();
    for (const auto& [key, value] : values) {
        json.key(key);
        writeJson(json, value);
    }
    json.endObject();
}

namespace json_detail {

template <typename Value>
void readMember(JsonElement object, std::string_view key, Value& value)
{
    simdjson::dom::element member;
    if (object.value[key].get(member) != simdjson::SUCCESS)
        throw JsonError("\"" + std::string(key) + "\" is missing");
    readJson({member, object.dates}, value);
}

template <typename Value>
void readMember(JsonElement object, std::string_view key, std::optional<Value>& value)
{
    simdjson::dom::element member;
    if (object.value[key].get(member) == simdjson::SUCCESS)
        readJson({member, object.dates}, value);
}

template <typename Value>
void writeMember(JsonWriter& json, std::string_view key, const Value& value)
{
    json.key(key);
    writeJson(json, value);
}

template <typename Value>
void writeMember(JsonWriter& json, std::string_view key, const std::optional<Value>& value)
{
    if (value)
        writeMember(json, key, *value);
}

} // namespace json_detail

template <JsonRecord Record>
void readJson(JsonElement element, Record& record)
{
    if (!element.value.is_object())
        throw JsonError("a record is no object");
    const auto read = [&](const auto& row) {
        json_detail::readMember(element, row.first, record.*row.second);
    };
    std::apply([&](const auto&... rows) { (read(rows), ...); }, jsonMembers<Record>);
}

template <JsonRecord Record>
void writeJson(JsonWriter& json, const Record& record)
{
    json.beginObject();
    const auto write = [&](const auto& row) {
        json_detail::writeMember(json, row.first, record.*row.second);
    };
    std::apply([&](const auto&... rows) { (write(rows), ...); }, jsonMembers<Record>);
    json.endObject();
}

/// The value that a whole JSON text holds. \throws JsonError
template <typename Value>
Value decodedJsonOrThrow(std::string_view text, JsonDates dates = JsonDates::sinceReference)
{
    // Data of no length may lie nowhere, which the parser doesn't take.
    if (text.empty())
        throw JsonError("there is no text");
    try {
        simdjson::dom::parser parser;
        Value value{};
        readJson({parser.parse(text.data(), text.size()), dates}, value);
        return value;
    } catch (const simdjson::simdjson_error& error) {
        throw JsonError(error.what());
    } catch (const std::bad_alloc&) {
        throw JsonError("there is too much of it");
    }
}

/// As decodedJsonOrThrow(), absent where that throws.
template <typename Value>
std::optional<Value> decodedJson(std::string_view text)
{
    try {
        return decodedJsonOrThrow<Value>(text);
    } catch (const JsonError&) {
        return std::nullopt;
    }
}

/// The value as one line; absent when a number in it is not finite, which JSON has no form for.
template <typename Value>
std::optional<std::string> encodedJson(const Value& value,
                                       JsonWriter::Layout layout = JsonWriter::Layout::compact)
{
    JsonWriter json(layout);
    writeJson(json, value);
    return std::move(json).text();
}

} // namespace velmor
