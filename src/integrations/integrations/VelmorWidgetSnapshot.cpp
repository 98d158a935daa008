// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/VelmorWidgetSnapshot.h>

#include <base/JsonWriter.h>
#include <base/Vocabulary.h>

#include <simdjson.h>

#include <cmath>
#include <new>
#include <span>
#include <stdexcept>

namespace velmor {

namespace dom = simdjson::dom;

namespace {

template <typename Value>
struct Row
{
    Value value;
    std::string_view rawValue;
};

constexpr Row<DisciplineZone> zones[] = {
    {DisciplineZone::silent, "silent"},
    {DisciplineZone::under, "under"},
    {DisciplineZone::onTarget, "onTarget"},
    {DisciplineZone::over, "over"},
};

constexpr Row<DoseBand> bands[] = {
    {DoseBand::safe, "safe"},
    {DoseBand::caution, "caution"},
    {DoseBand::warning, "warning"},
    {DoseBand::danger, "danger"},
};

/// 2001-01-01T00:00:00Z, from which the moment of writing counts.
constexpr Date referenceDate = Date(std::chrono::seconds(978'307'200));

/// A century around the reference date, for moments that a Date can hold for sure.
constexpr double furthestSeconds = 100 * 365.25 * 86400;

class NoSnapshot : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

void read(dom::element element, double& value)
{
    value = element.get_double();
}

void read(dom::element element, bool& value)
{
    value = element.get_bool();
}

void read(dom::element element, std::int64_t& value)
{
    value = element.get_int64();
}

void read(dom::element element, std::string& value)
{
    value = std::string_view(element.get_string());
}

void read(dom::element element, Date& value)
{
    const double seconds = element.get_double();
    if (!(std::abs(seconds) < furthestSeconds))
        throw NoSnapshot("a moment out of reach");
    value = referenceDate + nanosecondsFrom(seconds);
}

void read(dom::element element, DisciplineZone& value)
{
    const auto zone = disciplineZoneFromRaw(element.get_string());
    if (!zone)
        throw NoSnapshot("no zone");
    value = *zone;
}

template <typename Value>
void read(dom::element element, std::optional<Value>& value)
{
    if (element.is_null())
        value.reset();
    else
        read(element, value.emplace());
}

template <typename Value>
void read(dom::element element, std::vector<Value>& values)
{
    for (const dom::element item : element.get_array())
        read(item, values.emplace_back());
}

/// What is optional may be missing.
template <typename Value>
void readMember(const dom::object& object, std::string_view key, std::optional<Value>& value)
{
    dom::element element;
    if (object[key].get(element) == simdjson::SUCCESS)
        read(element, value);
}

template <typename Value>
void readMember(const dom::object& object, std::string_view key, Value& value)
{
    read(object[key], value);
}

/// Calls back with each stored member and its key, in order.
template <typename Snapshot, typename Visit>
void forEachMember(Snapshot& snapshot, Visit visit)
{
    visit("todayDosePercent", snapshot.todayDosePercent);
    visit("lastDBA", snapshot.lastDBA);
    visit("lastDBC", snapshot.lastDBC);
    visit("isMeasuring", snapshot.isMeasuring);
    visit("sessionActive", snapshot.sessionActive);
    visit("paused", snapshot.paused);
    visit("dawName", snapshot.dawName);
    visit("streakDays", snapshot.streakDays);
    visit("weeklyLEX", snapshot.weeklyLEX);
    visit("weeklyDoses", snapshot.weeklyDoses);
    visit("monitoringEnabled", snapshot.monitoringEnabled);
    visit("monitoringTarget", snapshot.monitoringTarget);
    visit("monitoringTolerance", snapshot.monitoringTolerance);
    visit("monitoringPreset", snapshot.monitoringPreset);
    visit("disciplineZone", snapshot.disciplineZone);
    visit("onTargetPercent", snapshot.onTargetPercent);
    visit("weeklyOnTargetPercent", snapshot.weeklyOnTargetPercent);
    visit("weeklyOnTargetByDay", snapshot.weeklyOnTargetByDay);
    visit("updatedAt", snapshot.updatedAt);
}

class Writer
{
public:
    template <typename Value>
    void operator()(std::string_view key, const Value& value)
    {
        json.key(key);
        write(value);
    }

    template <typename Value>
    void operator()(std::string_view key, const std::optional<Value>& value)
    {
        if (value)
            (*this)(key, *value);
    }

    JsonWriter json{JsonWriter::Layout::compact};

private:
    void write(double number) { json.value(number); }
    void write(bool flag) { json.value(flag); }
    void write(std::int64_t number) { json.value(number); }
    void write(const std::string& text) { json.value(std::string_view(text)); }
    void write(Date date) { json.value(secondsBetween(referenceDate, date)); }
    void write(DisciplineZone zone) { json.value(rawValue(zone)); }
    void write(const std::optional<double>& number)
    {
        if (number)
            json.value(*number);
        else
            json.null();
    }

    template <typename Value>
    void write(const std::vector<Value>& values)
    {
        json.beginArray();
        for (const auto& value : values)
            write(value);
        json.endArray();
    }
};

} // namespace

std::string_view rawValue(DisciplineZone zone)
{
    return rowOf(zones, zone).rawValue;
}

std::optional<DisciplineZone> disciplineZoneFromRaw(std::string_view text)
{
    return valueFromRaw(zones, text);
}

DoseBand doseBandFrom(double percentage)
{
    if (percentage < 40)
        return DoseBand::safe;
    if (percentage < 70)
        return DoseBand::caution;
    if (percentage < 90)
        return DoseBand::warning;
    return DoseBand::danger;
}

std::string_view rawValue(DoseBand band)
{
    return rowOf(bands, band).rawValue;
}

VelmorWidgetSnapshot VelmorWidgetSnapshot::sample(Date now)
{
    VelmorWidgetSnapshot sample;
    sample.todayDosePercent = 34.0;
    sample.lastDBA = 78.4;
    sample.lastDBC = 82.1;
    sample.isMeasuring = true;
    sample.sessionActive = true;
    sample.dawName = "Logic Pro";
    sample.streakDays = 6;
    sample.weeklyLEX = 79.2;
    sample.weeklyDoses = {12, 40, 0, 28, 55, 33, 34};
    sample.disciplineZone = DisciplineZone::onTarget;
    sample.onTargetPercent = 72.0;
    sample.weeklyOnTargetPercent = 68.0;
    sample.weeklyOnTargetByDay = {74, 61, std::nullopt, 70, 55, 82, 72};
    sample.updatedAt = now;
    return sample;
}

VelmorWidgetSnapshot VelmorWidgetSnapshot::load(const DefaultsReader& suite)
{
    const auto data = suite.get<DefaultsData>(storageKey);
    if (!data)
        return {};
    return decoded({reinterpret_cast<const char*>(data->data()), data->size()})
        .value_or(VelmorWidgetSnapshot());
}

void VelmorWidgetSnapshot::save(DefaultsStore& suite) const
{
    const auto json = encoded();
    if (!json)
        return;
    const auto bytes = std::as_bytes(std::span(*json));
    suite.set(storageKey, DefaultsData(bytes.begin(), bytes.end()));
}

std::optional<std::string> VelmorWidgetSnapshot::encoded() const
{
    Writer writer;
    writer.json.beginObject();
    forEachMember(*this, [&](std::string_view key, const auto& value) { writer(key, value); });
    writer.json.endObject();
    return std::move(writer.json).text();
}

std::optional<VelmorWidgetSnapshot> VelmorWidgetSnapshot::decoded(std::string_view json)
{
    // Data of no length may lie nowhere, which the parser doesn't take.
    if (json.empty())
        return std::nullopt;
    try {
        dom::parser parser;
        const dom::object object = parser.parse(json.data(), json.size());
        VelmorWidgetSnapshot snapshot;
        forEachMember(snapshot, [&](std::string_view key, auto& value) { readMember(object, key, value); });
        return snapshot;
    } catch (const simdjson::simdjson_error&) {
        return std::nullopt;
    } catch (const NoSnapshot&) {
        return std::nullopt;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

} // namespace velmor
