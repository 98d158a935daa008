// SPDX-License-Identifier: GPL-3.0-or-later
// What is in the file that Tovik, this program's predecessor, exports.
#pragma once

#include <base/JsonMembers.h>
#include <calibration/CalibrationProfileStore.h>
#include <calibration/TargetCalibrationStore.h>
#include <level/MicCorrectionProfile.h>
#include <sessions/Session.h>

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace velmor {

/// The settings that are single values, by the keys that they have here too.
struct UserDefaultsBlock
{
    std::optional<std::string> selectedDeviceUID;
    std::optional<std::string> selectedOutputDeviceUID;
    std::optional<double> calibrationOffset; ///< dB
    std::optional<bool> conservativeDoseMode;
    std::optional<bool> peakMonitoringEnabled;
    std::optional<bool> autoStartSessions;
    std::optional<bool> launchAtLogin;
    std::optional<bool> timeSensitiveNotifications;
};

template <>
inline constexpr auto jsonMembers<UserDefaultsBlock> =
    std::tuple(std::pair("selectedDeviceUID", &UserDefaultsBlock::selectedDeviceUID),
               std::pair("selectedOutputDeviceUID", &UserDefaultsBlock::selectedOutputDeviceUID),
               std::pair("calibrationOffset", &UserDefaultsBlock::calibrationOffset),
               std::pair("conservativeDoseMode", &UserDefaultsBlock::conservativeDoseMode),
               std::pair("peakMonitoringEnabled", &UserDefaultsBlock::peakMonitoringEnabled),
               std::pair("autoStartSessions", &UserDefaultsBlock::autoStartSessions),
               std::pair("launchAtLogin", &UserDefaultsBlock::launchAtLogin),
               std::pair("timeSensitiveNotifications", &UserDefaultsBlock::timeSensitiveNotifications));

/// The correction of the microphone that is in force.
struct MicFrequencyCorrectionBlock
{
    std::optional<bool> enabled;
    std::optional<MicCorrectionProfile> profile;
};

template <>
inline constexpr auto jsonMembers<MicFrequencyCorrectionBlock> =
    std::tuple(std::pair("enabled", &MicFrequencyCorrectionBlock::enabled),
               std::pair("profile", &MicFrequencyCorrectionBlock::profile));

struct ReferenceLevelBlock
{
    std::optional<bool> enabled;
    std::optional<double> target;    ///< dB
    std::optional<double> tolerance; ///< dB
    std::optional<std::string> presetID;
};

template <>
inline constexpr auto
    jsonMembers<ReferenceLevelBlock> = std::tuple(std::pair("enabled", &ReferenceLevelBlock::enabled),
                                                  std::pair("target", &ReferenceLevelBlock::target),
                                                  std::pair("tolerance", &ReferenceLevelBlock::tolerance),
                                                  std::pair("presetID", &ReferenceLevelBlock::presetID));

struct MonitoringAlertBlock
{
    std::optional<bool> driftAlertEnabled;
    std::optional<bool> offTargetAlertEnabled;
    std::optional<std::string> offTargetDirection; ///< The raw value of a direction, or anything else.
    std::optional<double> offTargetWindowSec;
    std::optional<double> offTargetToleranceDB;
};

template <>
inline constexpr auto jsonMembers<MonitoringAlertBlock> =
    std::tuple(std::pair("driftAlertEnabled", &MonitoringAlertBlock::driftAlertEnabled),
               std::pair("offTargetAlertEnabled", &MonitoringAlertBlock::offTargetAlertEnabled),
               std::pair("offTargetDirection", &MonitoringAlertBlock::offTargetDirection),
               std::pair("offTargetWindowSec", &MonitoringAlertBlock::offTargetWindowSec),
               std::pair("offTargetToleranceDB", &MonitoringAlertBlock::offTargetToleranceDB));

/// A workstation that the user has added.
struct CustomDAW
{
    std::string bundleID;
    std::string name;
};

template <>
inline constexpr auto jsonMembers<CustomDAW> = std::tuple(std::pair("bundleID", &CustomDAW::bundleID),
                                                          std::pair("name", &CustomDAW::name));

/// What the day of the export had come to.
struct TodayDoseBlock
{
    std::string date; ///< As in 2026-03-01.
    std::optional<double> dosePercent;
    std::optional<std::int64_t> peakDBACount115;
    std::optional<std::int64_t> peakCount135;
    std::optional<std::int64_t> peakCount137;
    std::optional<std::int64_t> peakCount140;
};

template <>
inline constexpr auto
    jsonMembers<TodayDoseBlock> = std::tuple(std::pair("date", &TodayDoseBlock::date),
                                             std::pair("dosePercent", &TodayDoseBlock::dosePercent),
                                             std::pair("peakDBACount115", &TodayDoseBlock::peakDBACount115),
                                             std::pair("peakCount135", &TodayDoseBlock::peakCount135),
                                             std::pair("peakCount137", &TodayDoseBlock::peakCount137),
                                             std::pair("peakCount140", &TodayDoseBlock::peakCount140));

/// The whole file. Values are as they came, and may lie beyond every sensible range.
struct ExportFile
{
    std::int64_t schemaVersion = 0;
    std::optional<std::string> exportedFromTovikVersion;
    std::optional<std::string> exportedFromTovikBuild;
    std::optional<UserDefaultsBlock> userDefaults;
    std::optional<std::vector<Session>> sessions;
    std::optional<std::vector<TargetCalibrationRecord>> targetCalibrations;
    std::optional<std::vector<CalibrationSavedProfile>> calibrationProfiles;
    std::optional<MicFrequencyCorrectionBlock> micFrequencyCorrection;
    std::optional<MonitoringAlertBlock> monitoringAlertSettings;
    std::optional<ReferenceLevelBlock> referenceLevelSettings;
    std::optional<std::vector<CustomDAW>> customDAWBundleIDs;
    std::optional<TodayDoseBlock> todayDose;
};

/// Reads the file's text. Strict: a key that must be there and isn't, or a value of another type, fails the
/// whole. So do corrections of more than 8192 taps or points and texts of more than 4096 bytes in sessions,
/// profiles and records. Moments are texts as isoText() writes them. Of a key that comes twice at the top the
/// last counts. A text with `jsonSpareCapacity` bytes of room is not copied. \throws JsonError
ExportFile decodedExportFile(std::string text);

} // namespace velmor
