// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/CalibrationProfileStore.h>

#include <base/JsonRecord.h>
#include <base/Text.h>

namespace velmor {

CalibrationProfileStore::CalibrationProfileStore(MainLoop& loop, DefaultsStore& defaults)
    : m_loop(loop)
    , m_defaults(defaults)
{
    load();
}

void CalibrationProfileStore::save(const std::string& label, const std::string& deviceUID,
                                   const std::string& deviceName, double levelOffset,
                                   const std::optional<MicCorrectionProfile>& freqProfile)
{
    profiles.update([&](auto& all) {
        all.insert(all.begin(),
                   {makeUuid(), label, deviceUID, deviceName, levelOffset, m_loop.now(), freqProfile});
    });
    persist();
}

void CalibrationProfileStore::remove(Uuid id)
{
    profiles.update([&](auto& all) {
        std::erase_if(all, [&](const CalibrationSavedProfile& profile) { return profile.id == id; });
    });
    persist();
}

void CalibrationProfileStore::reload()
{
    profiles = std::vector<CalibrationSavedProfile>();
    load();
}

void CalibrationProfileStore::apply(const CalibrationSavedProfile& profile,
                                    MicFrequencyCorrection& correction)
{
    if (!profile.freqProfile)
        return;
    correction.save(*profile.freqProfile);
    correction.isEnabled = true;
}

std::string CalibrationProfileStore::labelFor(std::string_view typedText, const std::string& deviceName)
{
    const std::string_view label = trimmed(typedText);
    return label.empty() ? deviceName : std::string(label);
}

void CalibrationProfileStore::persist()
{
    if (const auto json = encodedJson(profiles.get()))
        m_defaults.set(defaultsKey, dataOf(*json));
}

void CalibrationProfileStore::load()
{
    const auto data = m_defaults.get<DefaultsData>(defaultsKey);
    auto stored = data ? decodedJson<std::vector<CalibrationSavedProfile>>(textOf(*data)) : std::nullopt;
    if (stored)
        profiles = *std::move(stored);
}

} // namespace velmor
