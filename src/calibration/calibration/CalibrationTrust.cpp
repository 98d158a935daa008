// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/CalibrationTrust.h>

#include <base/JsonRecord.h>
#include <base/Vocabulary.h>
#include <calibration/AgeInDays.h>
#include <calibration/FilterCheck.h>

#include <fmt/format.h>

#include <cmath>

namespace velmor {

namespace {

struct Row
{
    CalibrationMethod value;
    std::string_view rawValue;
};

constexpr Row methods[] = {
    {CalibrationMethod::never, "never"},
    {CalibrationMethod::slider, "slider"},
    {CalibrationMethod::calibrator, "calibrator"},
    {CalibrationMethod::profile, "profile"},
};

/// What rounding may do.
constexpr double sameLevelDB = 0.05;

std::string times(std::uint64_t count)
{
    return count == 1 ? "once" : fmt::format("{} times", count);
}

double decibels(double ratio)
{
    return 20 * std::log10(ratio);
}

/// Only what is known of both is compared.
void addChainConcerns(std::vector<std::string>& concerns, const InputChain& then, const InputChain& now)
{
    if (!then.deviceUID.empty() && now.deviceUID != then.deviceUID) {
        concerns.push_back(fmt::format("calibrated with {}, measuring with {}", then.deviceName,
                                       now.deviceName.empty() ? "no device" : now.deviceName));
    } else if (then.channel && now.channel && *now.channel != *then.channel) {
        concerns.push_back(fmt::format("calibrated on channel {}, measuring channel {}", *then.channel + 1,
                                       *now.channel + 1));
    } else if (then.volumeGain && now.volumeGain) {
        const bool areAboveZero = *then.volumeGain > 0 && *now.volumeGain > 0;
        const double change = areAboveZero ? decibels(*now.volumeGain / *then.volumeGain) : 0;
        if (std::abs(change) > sameLevelDB)
            concerns.push_back(fmt::format("input volume changed by {:+.1f} dB since calibration", change));
        else if (!areAboveZero && *then.volumeGain != *now.volumeGain)
            concerns.emplace_back("input volume changed since calibration");
    }
    if (then.correctionGainDB && now.correctionGainDB) {
        const double change = *now.correctionGainDB - *then.correctionGainDB;
        if (std::abs(change) > sameLevelDB)
            concerns.push_back(
                fmt::format("correction filter changed levels by {:+.1f} dB since calibration", change));
    }
}

} // namespace

std::string_view rawValue(CalibrationMethod method)
{
    return rowOf(methods, method).rawValue;
}

void readJson(JsonElement element, CalibrationMethod& value)
{
    const auto method = valueFromRaw(methods, element.value.get_string());
    if (!method)
        throw JsonError("no method of calibration");
    value = *method;
}

void writeJson(JsonWriter& json, CalibrationMethod value)
{
    json.value(rawValue(value));
}

std::optional<std::int64_t> CalibrationTrust::ageInDays(Date now) const
{
    return date ? std::optional(velmor::ageInDays(*date, now)) : std::nullopt;
}

CalibrationTrust calibrationTrust(const std::optional<CalibrationRecord>& record,
                                  const CalibrationFacts& facts)
{
    CalibrationTrust trust;
    trust.filterDeparture = facts.filterDeparture;
    // A record of another offset is of a calibration that somebody else has replaced.
    if (record && record->offset == facts.offset) {
        trust.method = record->method;
        trust.date = record->date;
        trust.calibratorLevel = record->calibratorLevel;
        addChainConcerns(trust.concerns, record->chain, facts.chain);
    } else if (facts.isOffsetStored) {
        trust.method = CalibrationMethod::slider;
    }
    if (facts.isMuted)
        trust.concerns.push_back("input is muted");
    if (facts.isCorrectionOn && facts.filterDeparture && *facts.filterDeparture > largestFilterDeparture)
        trust.concerns.push_back(
            fmt::format("correction filter departs from its curve by {:.1f} dB", *facts.filterDeparture));
    if (facts.isCorrectionOn && facts.correctionSampleRate && facts.captureSampleRate &&
        *facts.correctionSampleRate != *facts.captureSampleRate)
        trust.concerns.push_back(fmt::format("correction filter is for {} Hz and rests at {} Hz",
                                             *facts.correctionSampleRate, *facts.captureSampleRate));
    if (facts.faults.clippedRuns > 0)
        trust.concerns.push_back(fmt::format("input clipped {}", times(facts.faults.clippedRuns)));
    if (facts.faults.droppedBlocks > 0)
        trust.concerns.push_back(fmt::format("{} block{} of sound {} lost", facts.faults.droppedBlocks,
                                             facts.faults.droppedBlocks == 1 ? "" : "s",
                                             facts.faults.droppedBlocks == 1 ? "was" : "were"));
    return trust;
}

CalibrationTrustService::CalibrationTrustService(DefaultsStore& defaults)
    : m_defaults(defaults)
{
    const auto data = m_defaults.get<DefaultsData>(defaultsKey);
    if (data)
        m_record = decodedJson<CalibrationRecord>(textOf(*data));
}

void CalibrationTrustService::note(const CalibrationRecord& record)
{
    m_record = record;
    if (const auto json = encodedJson(record))
        m_defaults.set(defaultsKey, dataOf(*json));
    else
        m_defaults.remove(defaultsKey);
}

void CalibrationTrustService::forget()
{
    m_record.reset();
    m_defaults.remove(defaultsKey);
}

void CalibrationTrustService::update(const CalibrationFacts& facts)
{
    auto present = calibrationTrust(m_record, facts);
    if (present != trust.get())
        trust = std::move(present);
}

} // namespace velmor
