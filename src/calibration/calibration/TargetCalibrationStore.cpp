// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/TargetCalibrationStore.h>

#include <base/JsonRecord.h>
#include <base/Print.h>
#include <calibration/AgeInDays.h>

namespace velmor {

namespace {

constexpr double staleAfterSeconds = 7776000.0; // 90 days

} // namespace

bool TargetCalibrationRecord::isStale(Date now) const
{
    return secondsBetween(calibratedDate, now) > staleAfterSeconds;
}

std::int64_t TargetCalibrationRecord::ageInDays(Date now) const
{
    return velmor::ageInDays(calibratedDate, now);
}

TargetCalibrationStore::TargetCalibrationStore(DefaultsStore& defaults)
    : m_defaults(defaults)
{
    recordsByDeviceUID = load();
}

std::optional<TargetCalibrationRecord> TargetCalibrationStore::record(const std::string& deviceUID) const
{
    const Records& records = recordsByDeviceUID;
    const auto found = records.find(deviceUID);
    return found != records.end() ? std::optional(found->second) : std::nullopt;
}

void TargetCalibrationStore::save(const TargetCalibrationRecord& record)
{
    recordsByDeviceUID.update(
        [&](Records& records) { records.insert_or_assign(record.outputDeviceUID, record); });
    persist();
}

void TargetCalibrationStore::remove(const std::string& deviceUID)
{
    recordsByDeviceUID.update([&](Records& records) { records.erase(deviceUID); });
    persist();
}

void TargetCalibrationStore::clearAll()
{
    recordsByDeviceUID = Records();
    persist();
}

void TargetCalibrationStore::reload()
{
    recordsByDeviceUID = load();
}

void TargetCalibrationStore::persist()
{
    if (const auto json = encodedJson(recordsByDeviceUID.get()))
        m_defaults.set(defaultsKey, dataOf(*json));
    else
        printLine("TargetCalibrationStore persist failed: a number is not finite");
}

TargetCalibrationStore::Records TargetCalibrationStore::load() const
{
    const auto data = m_defaults.get<DefaultsData>(defaultsKey);
    if (!data)
        return {};
    try {
        return decodedJsonOrThrow<Records>(textOf(*data));
    } catch (const JsonError& error) {
        printLine("TargetCalibrationStore load failed: {}", error.what());
        return {};
    }
}

} // namespace velmor
