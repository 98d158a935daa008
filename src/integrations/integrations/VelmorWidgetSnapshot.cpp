// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/VelmorWidgetSnapshot.h>

#include <base/JsonRecord.h>
#include <base/Vocabulary.h>
#include <exposure/DoseLevel.h>

namespace velmor {

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

} // namespace

template <>
inline constexpr auto jsonMembers<VelmorWidgetSnapshot> = std::tuple(
    std::pair("todayDosePercent", &VelmorWidgetSnapshot::todayDosePercent),
    std::pair("lastDBA", &VelmorWidgetSnapshot::lastDBA),
    std::pair("lastDBC", &VelmorWidgetSnapshot::lastDBC),
    std::pair("isMeasuring", &VelmorWidgetSnapshot::isMeasuring),
    std::pair("sessionActive", &VelmorWidgetSnapshot::sessionActive),
    std::pair("paused", &VelmorWidgetSnapshot::paused), std::pair("dawName", &VelmorWidgetSnapshot::dawName),
    std::pair("streakDays", &VelmorWidgetSnapshot::streakDays),
    std::pair("weeklyLEX", &VelmorWidgetSnapshot::weeklyLEX),
    std::pair("weeklyDoses", &VelmorWidgetSnapshot::weeklyDoses),
    std::pair("monitoringEnabled", &VelmorWidgetSnapshot::monitoringEnabled),
    std::pair("monitoringTarget", &VelmorWidgetSnapshot::monitoringTarget),
    std::pair("monitoringTolerance", &VelmorWidgetSnapshot::monitoringTolerance),
    std::pair("monitoringPreset", &VelmorWidgetSnapshot::monitoringPreset),
    std::pair("disciplineZone", &VelmorWidgetSnapshot::disciplineZone),
    std::pair("onTargetPercent", &VelmorWidgetSnapshot::onTargetPercent),
    std::pair("weeklyOnTargetPercent", &VelmorWidgetSnapshot::weeklyOnTargetPercent),
    std::pair("weeklyOnTargetByDay", &VelmorWidgetSnapshot::weeklyOnTargetByDay),
    std::pair("updatedAt", &VelmorWidgetSnapshot::updatedAt));

void readJson(JsonElement element, DisciplineZone& value)
{
    const auto zone = disciplineZoneFromRaw(element.value.get_string());
    if (!zone)
        throw JsonError("no zone");
    value = *zone;
}

void writeJson(JsonWriter& json, DisciplineZone value)
{
    json.value(rawValue(value));
}

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
    switch (doseLevelFrom(percentage)) {
    case DoseLevel::safe:
        return DoseBand::safe;
    case DoseLevel::caution:
        return DoseBand::caution;
    case DoseLevel::warning:
        return DoseBand::warning;
    case DoseLevel::danger:
        break;
    }
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
    return data ? decoded(textOf(*data)).value_or(VelmorWidgetSnapshot()) : VelmorWidgetSnapshot();
}

void VelmorWidgetSnapshot::save(DefaultsStore& suite) const
{
    if (const auto json = encoded())
        suite.set(storageKey, dataOf(*json));
}

std::optional<std::string> VelmorWidgetSnapshot::encoded() const
{
    return encodedJson(*this);
}

std::optional<VelmorWidgetSnapshot> VelmorWidgetSnapshot::decoded(std::string_view json)
{
    return decodedJson<VelmorWidgetSnapshot>(json);
}

} // namespace velmor
