// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/AppSettings.h>

namespace velmor {

void AppSettings::takeImported()
{
    const auto takeIfDifferent = [&](auto& setting, const auto& row) {
        const auto stored = row.stored(m_defaults);
        if (stored && *stored != setting.get())
            setting = *stored;
    };
    takeIfDifferent(selectedDeviceUID, SettingRows::selectedDeviceUID);
    takeIfDifferent(selectedOutputDeviceUID, SettingRows::selectedOutputDeviceUID);
    takeIfDifferent(calibrationOffset, SettingRows::calibrationOffset);
    takeIfDifferent(conservativeDoseMode, SettingRows::conservativeDoseMode);

    const auto take = [&](Setting<bool>& setting, const SettingRow<bool>& row) {
        if (const auto stored = row.stored(m_defaults))
            setting = *stored;
    };
    take(peakMonitoringEnabled, SettingRows::peakMonitoringEnabled);
    take(autoStartSessions, SettingRows::autoStartSessions);
    take(timeSensitiveNotifications, SettingRows::timeSensitiveNotifications);
}

} // namespace velmor
