// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/MenuBarDisplayMode.h>
#include <app/Setting.h>
#include <base/Observable.h>
#include <platform/DefaultsStore.h>
#include <sessions/SessionRetention.h>

#include <cmath>
#include <cstdint>
#include <string>

namespace velmor {

/// The table of the hub's settings: key, default, and which stored values are used.
namespace SettingRows {

inline bool isAtLeastOneDay(const std::int64_t& days)
{
    return days >= 1;
}

inline const SettingRow<std::string> selectedDeviceUID{"selectedDeviceUID", ""};
/// A stored 0 means that there is none.
inline const SettingRow<double> calibrationOffset{
    "calibrationOffset", 94.0, [](const double& offset) { return offset != 0 && std::isfinite(offset); }};
inline const SettingRow<bool> conservativeDoseMode{"conservativeDoseMode", false};
inline const SettingRow<bool> peakMonitoringEnabled{"peakMonitoringEnabled", true};
inline const SettingRow<bool> autoStartSessions{"autoStartSessions", true};
inline const SettingRow<std::string> selectedOutputDeviceUID{"selectedOutputDeviceUID", ""};
/// The login item knows; what is stored is never used.
inline const SettingRow<bool> launchAtLogin{"launchAtLogin", false, [](const bool&) { return false; }};
inline const SettingRow<bool> timeSensitiveNotifications{"timeSensitiveNotifications", true};
inline const SettingRow<MenuBarDisplayMode> menuBarDisplayMode{"menuBarDisplayMode",
                                                               MenuBarDisplayMode::icon};
inline const SettingRow<bool> menuBarShowDecimal{"menuBarShowDecimal", false};
inline const SettingRow<bool> menuBarColorEnabled{"menuBarColorEnabled", false};
inline const SettingRow<double> menuBarColorYellowAt{"menuBarColorYellowAt", 70.0};
inline const SettingRow<double> menuBarColorOrangeAt{"menuBarColorOrangeAt", 80.0};
inline const SettingRow<double> menuBarColorRedAt{"menuBarColorRedAt", 95.0};
inline const SettingRow<bool> menuBarUseClassicEarIcon{"menuBarUseClassicEarIcon", false};
inline const SettingRow<std::int64_t> sessionDetailedRetentionDays{
    detailedRetention.key, detailedRetention.defaultDays, isAtLeastOneDay};
inline const SettingRow<std::int64_t> sessionTotalRetentionDays{totalRetention.key,
                                                                totalRetention.defaultDays, isAtLeastOneDay};
inline const SettingRow<bool> panelShowsDose{"panelShowsDose", true};
inline const SettingRow<bool> panelShowsCurrentSPL{"panelShowsCurrentSPL", true};
inline const SettingRow<bool> panelShowsDiscipline{"panelShowsDiscipline", true};
inline const SettingRow<bool> panelShowsLeq{"panelShowsLeq", true};
inline const SettingRow<bool> panelShowsActiveSession{"panelShowsActiveSession", true};
inline const SettingRow<bool> panelShowsToday{"panelShowsToday", true};
inline const SettingRow<bool> focusFilterEnabled{"focusFilterEnabled", false};
inline const SettingRow<std::string> focusFilterDAW{"focusFilterDAW", ""};

} // namespace SettingRows

/// The user's preferences, each an observable value that is read at construction and written with each
/// assignment. There are no range checks: whoever assigns holds the limits. Main thread.
class AppSettings final : public ObservableObject
{
    template <typename Value>
    Setting<Value> setting(const SettingRow<Value>& row)
    {
        return {*this, m_defaults, row};
    }

    DefaultsStore& m_defaults;

public:
    explicit AppSettings(DefaultsStore& defaults)
        : m_defaults(defaults)
    {}

    Setting<std::string> selectedDeviceUID = setting(SettingRows::selectedDeviceUID); ///< Empty: default.
    Setting<double> calibrationOffset = setting(SettingRows::calibrationOffset);      ///< dB
    Setting<bool> conservativeDoseMode = setting(SettingRows::conservativeDoseMode);
    Setting<bool> peakMonitoringEnabled = setting(SettingRows::peakMonitoringEnabled);
    Setting<bool> autoStartSessions = setting(SettingRows::autoStartSessions);
    Setting<std::string> selectedOutputDeviceUID = setting(SettingRows::selectedOutputDeviceUID);
    Setting<bool> launchAtLogin = setting(SettingRows::launchAtLogin);
    Setting<bool> timeSensitiveNotifications = setting(SettingRows::timeSensitiveNotifications);
    Setting<MenuBarDisplayMode> menuBarDisplayMode = setting(SettingRows::menuBarDisplayMode);
    Setting<bool> menuBarShowDecimal = setting(SettingRows::menuBarShowDecimal);
    Setting<bool> menuBarColorEnabled = setting(SettingRows::menuBarColorEnabled);
    Setting<double> menuBarColorYellowAt = setting(SettingRows::menuBarColorYellowAt); ///< dB
    Setting<double> menuBarColorOrangeAt = setting(SettingRows::menuBarColorOrangeAt); ///< dB
    Setting<double> menuBarColorRedAt = setting(SettingRows::menuBarColorRedAt);       ///< dB
    Setting<bool> menuBarUseClassicEarIcon = setting(SettingRows::menuBarUseClassicEarIcon);
    Setting<std::int64_t> sessionDetailedRetentionDays = setting(SettingRows::sessionDetailedRetentionDays);
    Setting<std::int64_t> sessionTotalRetentionDays = setting(SettingRows::sessionTotalRetentionDays);
    Setting<bool> panelShowsDose = setting(SettingRows::panelShowsDose);
    Setting<bool> panelShowsCurrentSPL = setting(SettingRows::panelShowsCurrentSPL);
    Setting<bool> panelShowsDiscipline = setting(SettingRows::panelShowsDiscipline);
    Setting<bool> panelShowsLeq = setting(SettingRows::panelShowsLeq);
    Setting<bool> panelShowsActiveSession = setting(SettingRows::panelShowsActiveSession);
    Setting<bool> panelShowsToday = setting(SettingRows::panelShowsToday);

    /// Whether the desktop's Do Not Disturb starts and ends a session, and the label of that session.
    Setting<bool> focusFilterEnabled = setting(SettingRows::focusFilterEnabled);
    Setting<std::string> focusFilterDAW = setting(SettingRows::focusFilterDAW);

    /// Assigns what the store holds now under the keys that an import of another program's data
    /// writes, each with its effects. The first four only where the value differs from the present one.
    void takeImported();
};

} // namespace velmor
