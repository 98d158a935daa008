// SPDX-License-Identifier: GPL-3.0-or-later
#include <discipline/ReferenceLevelSettings.h>

namespace velmor {

namespace {

constexpr auto enabledKey = "MonitoringDiscipline.enabled";
constexpr auto targetKey = "MonitoringDiscipline.target";
constexpr auto toleranceKey = "MonitoringDiscipline.tolerance";
constexpr auto presetKey = "MonitoringDiscipline.presetID";

} // namespace

ReferenceLevelSettings ReferenceLevelSettingsStore::load() const
{
    ReferenceLevelSettings settings;
    settings.enabled = m_defaults.get<bool>(enabledKey).value_or(settings.enabled);
    settings.target = aboveZero(m_defaults.get<double>(targetKey)).value_or(settings.target);
    settings.tolerance = aboveZero(m_defaults.get<double>(toleranceKey)).value_or(settings.tolerance);
    settings.presetID = m_defaults.get<std::string>(presetKey).value_or(settings.presetID);
    return settings;
}

void ReferenceLevelSettingsStore::save(const ReferenceLevelSettings& settings)
{
    m_defaults.set(enabledKey, settings.enabled);
    m_defaults.set(targetKey, settings.target);
    m_defaults.set(toleranceKey, settings.tolerance);
    m_defaults.set(presetKey, settings.presetID);
}

} // namespace velmor
