// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/DefaultsStore.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace velmor {

/// Ready-made reference levels.
enum class ReferenceLevelPreset { mastering, k14, k12, k20, custom };

/// The reference band that the user wants to monitor in.
struct ReferenceLevelSettings
{
    bool enabled = true;          ///< Whether discipline is tracked at all.
    double target = 79.0;         ///< Centre of the band, dBA.
    double tolerance = 3.0;       ///< Half its width, dB.
    std::string presetID = "k14"; ///< Raw value of a preset, or any other text that was stored.

    bool operator==(const ReferenceLevelSettings&) const = default;
};

struct ReferenceLevelPresetRow
{
    ReferenceLevelPreset value;
    std::string_view rawValue;
    std::optional<double> suggestedTarget; ///< dBA; absent for the user's own.
    std::string_view label;
    std::string_view shortLabel; ///< Where there is little room.
};

/// In the order of a picker.
inline constexpr std::array<ReferenceLevelPresetRow, 5> referenceLevelPresets = {{
    {ReferenceLevelPreset::mastering, "mastering", 73.0, "73 dBA — Mastering", "Mastering"},
    {ReferenceLevelPreset::k14, "k14", 79.0, "79 dBA — K-14 Mixing", "K-14"},
    {ReferenceLevelPreset::k12, "k12", 83.0, "83 dBA — K-12 / Broadcast", "K-12"},
    {ReferenceLevelPreset::k20, "k20", 85.0, "85 dBA — K-20 / Dolby / Film", "K-20"},
    {ReferenceLevelPreset::custom, "custom", std::nullopt, "Custom", "Custom"},
}};

/// A tolerance to choose, in dB.
struct ReferenceLevelTolerance
{
    double value;
    std::string_view label;
};

/// In the order of a picker. Other tolerances are as valid.
inline constexpr std::array<ReferenceLevelTolerance, 3> referenceLevelTolerances = {{
    {2.0, "±2 dB (strict)"},
    {3.0, "±3 dB (recommended)"},
    {5.0, "±5 dB (relaxed)"},
}};

/// Keeps the settings in the defaults store. A value that is missing, of another type or not above 0
/// where it must be reads as its default.
class ReferenceLevelSettingsStore
{
public:
    explicit ReferenceLevelSettingsStore(DefaultsStore& defaults)
        : m_defaults(defaults)
    {}

    ReferenceLevelSettings load() const;
    void save(const ReferenceLevelSettings& settings);

private:
    DefaultsStore& m_defaults;
};

} // namespace velmor
