// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/MicFrequencyCorrection.h>

#include <base/JsonRecord.h>
#include <level/TapCorrelation.h>

#include <algorithm>
#include <utility>

namespace velmor {

namespace {

/// Samples that are taken at a time: longer blocks go through in several steps.
constexpr std::size_t stepLength = 1024;

} // namespace

MicFrequencyCorrection::MicFrequencyCorrection(DefaultsStore& defaults)
    : m_defaults(defaults)
    , m_enabledChanges(isEnabled.subscribe([this](bool isOn) { enabledChanged(isOn); }))
{
    isEnabled = m_defaults.get<bool>(enabledKey).value_or(false);
    loadFromDefaults();
}

void MicFrequencyCorrection::enabledChanged(bool isOn)
{
    m_defaults.set(enabledKey, isOn);
    if (isOn) {
        const std::lock_guard lock(m_lock);
        resetOverlap();
    }
    m_appliesTaps.store(isOn, std::memory_order_relaxed);
}

bool MicFrequencyCorrection::apply(std::span<float> samples, double sampleRate)
{
    if (!m_appliesTaps.load(std::memory_order_relaxed))
        return false;
    const std::unique_lock lock(m_lock, std::try_to_lock);
    if (!lock)
        return false;
    if (m_activeTaps.empty() || m_activeSampleRate != sampleRate)
        return false;
    while (!samples.empty()) {
        const auto step = samples.first(std::min(samples.size(), stepLength));
        filter(step);
        samples = samples.subspan(step.size());
    }
    return true;
}

void MicFrequencyCorrection::filter(std::span<float> samples)
{
    const auto joined = std::span(m_joined).first(m_overlapLength + samples.size());
    std::ranges::copy(samples, joined.begin() + static_cast<std::ptrdiff_t>(m_overlapLength));
    correlate(joined, m_activeTaps, samples);
    std::ranges::copy(joined.last(m_overlapLength), joined.begin());
}

void MicFrequencyCorrection::save(const MicCorrectionProfile& newProfile)
{
    const std::lock_guard lock(m_lock);
    profile = newProfile;
    activate(newProfile.taps, newProfile.sampleRate);
    if (const auto json = encodedJson(newProfile))
        m_defaults.set(profileKey, dataOf(*json));
}

void MicFrequencyCorrection::clear()
{
    {
        const std::lock_guard lock(m_lock);
        activate({}, 0);
    }
    profile = std::nullopt;
    isEnabled = false;
    m_defaults.remove(profileKey);
    m_defaults.remove(enabledKey);
}

void MicFrequencyCorrection::reload()
{
    {
        const std::lock_guard lock(m_lock);
        activate({}, 0);
        auto stored = storedProfile();
        if (stored)
            activate(stored->taps, stored->sampleRate);
        profile = std::move(stored);
    }
    isEnabled = m_defaults.get<bool>(enabledKey).value_or(false);
}

void MicFrequencyCorrection::loadFromDefaults()
{
    auto stored = storedProfile();
    if (!stored)
        return;
    activate(stored->taps, stored->sampleRate);
    profile = std::move(stored);
}

std::optional<MicCorrectionProfile> MicFrequencyCorrection::storedProfile() const
{
    const auto data = m_defaults.get<DefaultsData>(profileKey);
    return data ? decodedJson<MicCorrectionProfile>(textOf(*data)) : std::nullopt;
}

void MicFrequencyCorrection::activate(std::vector<float> taps, double sampleRate)
{
    m_activeTaps = std::move(taps);
    m_activeSampleRate = sampleRate;
    m_overlapLength = m_activeTaps.empty() ? 0 : m_activeTaps.size() - 1;
    m_joined.assign(m_overlapLength + stepLength, 0.0F);
}

void MicFrequencyCorrection::resetOverlap()
{
    std::fill_n(m_joined.begin(), m_overlapLength, 0.0F);
}

} // namespace velmor
