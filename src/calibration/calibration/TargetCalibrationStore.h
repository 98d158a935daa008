// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Date.h>
#include <base/JsonMembers.h>
#include <base/Observable.h>
#include <platform/DefaultsStore.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

namespace velmor {

/// Where the monitor controller of an output stood when pink noise read the reference level.
struct TargetCalibrationRecord
{
    Date calibratedDate;
    std::string outputDeviceUID;
    std::string outputDeviceName;
    double targetDBA = 0;    ///< The reference level of that day, dBA.
    double toleranceDBA = 0; ///< And its tolerance, dB.
    double measuredDBA = 0;  ///< What was captured.
    std::string knobNote;    ///< The user's words for the position; may be empty.

    /// Older than 90 days.
    bool isStale(Date now) const;

    /// Whole days since then, never below 0.
    std::int64_t ageInDays(Date now) const;

    bool operator==(const TargetCalibrationRecord&) const = default;
};

template <>
inline constexpr auto jsonMembers<TargetCalibrationRecord> =
    std::tuple(std::pair("calibratedDate", &TargetCalibrationRecord::calibratedDate),
               std::pair("outputDeviceUID", &TargetCalibrationRecord::outputDeviceUID),
               std::pair("outputDeviceName", &TargetCalibrationRecord::outputDeviceName),
               std::pair("targetDBA", &TargetCalibrationRecord::targetDBA),
               std::pair("toleranceDBA", &TargetCalibrationRecord::toleranceDBA),
               std::pair("measuredDBA", &TargetCalibrationRecord::measuredDBA),
               std::pair("knobNote", &TargetCalibrationRecord::knobNote));

/// One record for each output device that has been calibrated. Stored data that can't be read counts as none,
/// and is kept until the next change. Main thread.
class TargetCalibrationStore final : public ObservableObject
{
public:
    using Records = std::map<std::string, TargetCalibrationRecord, std::less<>>;

    static constexpr auto defaultsKey = "TargetCalibrations.byOutputDevice";

    explicit TargetCalibrationStore(DefaultsStore& defaults);

    Published<Records> recordsByDeviceUID{*this, {}};

    std::optional<TargetCalibrationRecord> record(const std::string& deviceUID) const;

    /// Replaces the device's earlier record.
    void save(const TargetCalibrationRecord& record);

    void remove(const std::string& deviceUID);
    void clearAll();

    /// Reads the store anew, after somebody else has written to it.
    void reload();

private:
    void persist();
    Records load() const;

    DefaultsStore& m_defaults;
};

} // namespace velmor
