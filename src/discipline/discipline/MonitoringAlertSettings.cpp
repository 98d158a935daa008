// SPDX-License-Identifier: GPL-3.0-or-later
#include <discipline/MonitoringAlertSettings.h>

#include <base/Vocabulary.h>

#include <string>

namespace velmor {

namespace {

constexpr auto driftEnabledKey = "MonitoringAlerts.driftEnabled";
constexpr auto offTargetEnabledKey = "MonitoringAlerts.offTargetEnabled";
constexpr auto offTargetDirectionKey = "MonitoringAlerts.offTargetDirection";
constexpr auto offTargetWindowKey = "MonitoringAlerts.offTargetWindowSec";
constexpr auto offTargetToleranceKey = "MonitoringAlerts.offTargetToleranceDB";

} // namespace

MonitoringAlertSettings MonitoringAlertSettingsStore::load() const
{
    MonitoringAlertSettings settings;
    settings.driftAlertEnabled = m_defaults.get<bool>(driftEnabledKey).value_or(settings.driftAlertEnabled);
    settings.offTargetAlertEnabled =
        m_defaults.get<bool>(offTargetEnabledKey).value_or(settings.offTargetAlertEnabled);
    if (const auto direction = m_defaults.get<std::string>(offTargetDirectionKey)) {
        settings.offTargetDirection =
            valueFromRaw(offTargetDirections, *direction).value_or(settings.offTargetDirection);
    }
    settings.offTargetWindowSec =
        aboveZero(m_defaults.get<double>(offTargetWindowKey)).value_or(settings.offTargetWindowSec);
    settings.offTargetToleranceDB =
        aboveZero(m_defaults.get<double>(offTargetToleranceKey)).value_or(settings.offTargetToleranceDB);
    return settings;
}

void MonitoringAlertSettingsStore::save(const MonitoringAlertSettings& settings)
{
    m_defaults.set(driftEnabledKey, settings.driftAlertEnabled);
    m_defaults.set(offTargetEnabledKey, settings.offTargetAlertEnabled);
    m_defaults.set(offTargetDirectionKey,
                   std::string(rowOf(offTargetDirections, settings.offTargetDirection).rawValue));
    m_defaults.set(offTargetWindowKey, settings.offTargetWindowSec);
    m_defaults.set(offTargetToleranceKey, settings.offTargetToleranceDB);
}

} // namespace velmor
