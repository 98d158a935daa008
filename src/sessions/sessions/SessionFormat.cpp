// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/SessionFormat.h>

#include <base/JsonStream.h>

#include <fmt/format.h>
#include <simdjson.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>
#include <utility>

namespace velmor {

namespace ondemand = simdjson::ondemand;

namespace {

struct NumberField
{
    std::string_view key;
    double Session::*member;
    bool isRequired;
};

constexpr std::array numberFields = {
    NumberField{"averageSPL", &Session::averageSPL, true},
    NumberField{"peakSPL", &Session::peakSPL, true},
    NumberField{"doseAccumulated", &Session::doseAccumulated, true},
    NumberField{"peakDBC", &Session::peakDBC, false},
    NumberField{"monitoringTarget", &Session::monitoringTarget, false},
    NumberField{"monitoringTolerance", &Session::monitoringTolerance, false},
    NumberField{"timeSilentSec", &Session::timeSilentSec, false},
    NumberField{"timeUnderSec", &Session::timeUnderSec, false},
    NumberField{"timeOnTargetSec", &Session::timeOnTargetSec, false},
    NumberField{"timeOverSec", &Session::timeOverSec, false},
};

/// None of them is required.
struct CountField
{
    std::string_view key;
    std::int64_t Session::*member;
};

constexpr std::array countFields = {
    CountField{"peakCount135", &Session::peakCount135},
    CountField{"peakCount140", &Session::peakCount140},
    CountField{"peakDBACount115", &Session::peakDBACount115},
};

void writeReading(JsonWriter& json, const SPLReading& reading)
{
    json.beginObject();
    json.member("timestamp", reading.timestamp);
    json.member("dBA", reading.dBA);
    json.member("dosePercentageAtTime", reading.dosePercentageAtTime);
    json.member("dBC", reading.dBC);
    if (reading.zone)
        json.member("zone", rawValue(*reading.zone));
    json.endObject();
}

/// Which of the members that must be there have been met.
class Requirements
{
public:
    void meet(std::size_t index) { m_met |= 1U << index; }

    template <std::size_t count>
    void check(const std::array<std::string_view, count>& keys) const
    {
        for (std::size_t i = 0; i < count; ++i) {
            if ((m_met >> i & 1U) == 0)
                throw JsonError(fmt::format("\"{}\" is missing", keys[i]));
        }
    }

private:
    unsigned m_met = 0;
};

/// A text of unknown origin, for a line of output.
std::string quoted(std::string_view text)
{
    constexpr std::size_t mostBytes = 60;
    return fmt::format("{:?}", text.substr(0, mostBytes));
}

/// Moments beyond what a Date can hold.
enum class FarDates {
    refused, ///< Nothing of ours wrote them.
    nearest  ///< The file is somebody else's: what they belong to is for the reader to judge.
};

/// What far moments have been read as is refused, or brought to where it is read again.
Date checked(Date date, std::string_view text, FarDates farDates)
{
    using std::chrono::seconds;
    constexpr Date first = std::chrono::ceil<seconds>(Date::min());
    constexpr Date last = std::chrono::floor<seconds>(Date::max());
    if (farDates == FarDates::nearest)
        return std::clamp(date, first + seconds(1), last - seconds(1));
    if (date <= first || date >= last)
        throw JsonError(quoted(text) + " is no date");
    return date;
}

Date decodedDate(ondemand::value& value, FarDates farDates)
{
    // All but a text with escapes, which is as good, can be read where it lies.
    constexpr std::size_t length = 20;
    const std::string_view token = value.raw_json_token();
    if (token.size() >= length + 2 && token[0] == '"' && token[length + 1] == '"') {
        if (const auto date = dateFromIsoText(token.substr(1, length))) {
            // Takes the token as a value: skipped over it could be the key of a member.
            (void)value.get_raw_json_string().value();
            return checked(*date, token.substr(1, length), farDates);
        }
    }
    const std::string_view text = value.get_string();
    const auto date = dateFromIsoText(text);
    if (!date)
        throw JsonError(quoted(text) + " is no date");
    return checked(*date, text, farDates);
}

Zone decodedZone(ondemand::value& value)
{
    const std::string_view text = value.get_string();
    const auto zone = zoneFromRaw(text);
    if (!zone)
        throw JsonError(quoted(text) + " is no zone");
    return *zone;
}

SPLReading decodedReading(ondemand::object object, FarDates farDates)
{
    constexpr std::array<std::string_view, 3> required = {"timestamp", "dBA", "dosePercentageAtTime"};
    SPLReading reading;
    Requirements requirements;
    for (auto field : object) {
        const std::string_view key = field.unescaped_key();
        ondemand::value value = field.value();
        if (key == "timestamp") {
            reading.timestamp = decodedDate(value, farDates);
            requirements.meet(0);
        } else if (key == "dBA") {
            reading.dBA = value.get_double();
            requirements.meet(1);
        } else if (key == "dosePercentageAtTime") {
            reading.dosePercentageAtTime = value.get_double();
            requirements.meet(2);
        } else if (key == "dBC") {
            reading.dBC = isJsonNull(value) ? 0 : value.get_double().value();
        } else if (key == "zone") {
            reading.zone = isJsonNull(value) ? std::nullopt : std::optional(decodedZone(value));
        } else {
            checkJson(value);
        }
    }
    requirements.check(required);
    return reading;
}

/// \return whether there is a field of that key.
bool decodeNumber(Session& session, std::string_view key, ondemand::value& value, Requirements& requirements)
{
    for (std::size_t i = 0; i < numberFields.size(); ++i) {
        const NumberField& field = numberFields[i];
        if (key != field.key)
            continue;
        session.*field.member = !field.isRequired && isJsonNull(value) ? 0 : value.get_double().value();
        if (field.isRequired)
            requirements.meet(i);
        return true;
    }
    for (const CountField& field : countFields) {
        if (key != field.key)
            continue;
        session.*field.member = isJsonNull(value) ? 0 : value.get_int64().value();
        return true;
    }
    return false;
}

Session decodedSession(ondemand::object object, FarDates farDates)
{
    // The required number fields come first, at their places in their own table.
    constexpr std::array<std::string_view, 7> required = {"averageSPL", "peakSPL", "doseAccumulated", "id",
                                                          "startDate",  "dawName", "readings"};
    constexpr std::size_t firstOther = 3;
    Session session;
    Requirements requirements;
    for (auto field : object) {
        const std::string_view key = field.unescaped_key();
        ondemand::value value = field.value();
        if (key == "id") {
            const std::string_view text = value.get_string();
            const auto id = uuidFromText(text);
            if (!id)
                throw JsonError(quoted(text) + " is no UUID");
            session.id = *id;
            requirements.meet(firstOther);
        } else if (key == "startDate") {
            session.startDate = decodedDate(value, farDates);
            requirements.meet(firstOther + 1);
        } else if (key == "endDate") {
            session.endDate = isJsonNull(value) ? std::nullopt : std::optional(decodedDate(value, farDates));
        } else if (key == "dawName") {
            session.dawName = std::string_view(value.get_string());
            requirements.meet(firstOther + 2);
        } else if (key == "readings") {
            session.readings.clear();
            for (auto element : value.get_array())
                session.readings.push_back(decodedReading(element.get_object(), farDates));
            session.readings.shrink_to_fit();
            requirements.meet(firstOther + 3);
        } else if (!decodeNumber(session, key, value, requirements)) {
            checkJson(value);
        }
    }
    requirements.check(required);
    return session;
}

JsonError inSession(std::size_t number, const char* error)
{
    return JsonError(fmt::format("session {}: {}", number, error));
}

std::vector<Session> decodedSessions(ondemand::array array, FarDates farDates)
{
    std::vector<Session> sessions;
    for (auto element : array) {
        try {
            sessions.push_back(decodedSession(element.get_object(), farDates));
        } catch (const simdjson::simdjson_error& error) {
            throw inSession(sessions.size() + 1, error.what());
        } catch (const JsonError& error) {
            throw inSession(sessions.size() + 1, error.what());
        }
    }
    return sessions;
}

void writeSession(JsonWriter& json, const Session& session, std::span<const SPLReading> readings)
{
    json.beginObject();
    writeSessionFields(json, session);
    json.key("readings");
    json.beginArray();
    for (const SPLReading& reading : readings)
        writeReading(json, reading);
    json.endArray();
    json.endObject();
}

} // namespace

void writeSessionFields(JsonWriter& json, const Session& session)
{
    json.member("id", std::string_view(uuidText(session.id)));
    json.member("startDate", session.startDate);
    if (session.endDate)
        json.member("endDate", *session.endDate);
    json.member("dawName", std::string_view(session.dawName));
    for (const NumberField& field : numberFields)
        json.member(field.key, session.*field.member);
    for (const CountField& field : countFields)
        json.member(field.key, session.*field.member);
}

std::optional<std::string> encodedHistory(std::span<const Session> sessions)
{
    // What a session and a reading take at most in practice.
    constexpr std::size_t sessionBytes = 1000;
    constexpr std::size_t readingBytes = 230;
    std::size_t expectedSize = 0;
    for (const Session& session : sessions)
        expectedSize += sessionBytes + readingBytes * session.readings.size();

    JsonWriter json(JsonWriter::Layout::pretty, expectedSize);
    json.beginArray();
    for (const Session& session : sessions)
        writeSession(json, session, session.readings);
    json.endArray();
    return std::move(json).text();
}

std::vector<Session> decodedHistory(std::string text)
{
    return readJsonStream(std::move(text), [](ondemand::document& document) {
        return decodedSessions(document.get_array(), FarDates::refused);
    });
}

std::vector<Session> decodedForeignSessions(ondemand::array array)
{
    return decodedSessions(array, FarDates::nearest);
}

std::optional<std::string> encodedMoment(const Session& state, std::span<const SPLReading> newReadings)
{
    JsonWriter json(JsonWriter::Layout::compact);
    writeSession(json, state, newReadings);
    return std::move(json).text();
}

Session decodedMoment(std::string text)
{
    return readJsonStream(std::move(text), [](ondemand::document& document) {
        return decodedSession(document.get_object(), FarDates::refused);
    });
}

} // namespace velmor
