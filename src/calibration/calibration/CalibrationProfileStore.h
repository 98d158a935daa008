// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Date.h>
#include <base/JsonMembers.h>
#include <base/MainLoop.h>
#include <base/Observable.h>
#include <base/Uuid.h>
#include <level/MicCorrectionProfile.h>
#include <level/MicFrequencyCorrection.h>
#include <platform/DefaultsStore.h>

#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace velmor {

/// A named snapshot of a calibration: the level offset, and the frequency correction where there is one.
struct CalibrationSavedProfile
{
    Uuid id{};
    std::string label;            ///< The user's name for it; need not be unique.
    std::string deviceUID;        ///< Of the selected input; empty for the system's default.
    std::string deviceName;       ///< For people, as of the day of saving.
    double levelOffsetAtSave = 0; ///< dB
    Date savedDate;
    std::optional<MicCorrectionProfile> freqProfile;

    bool operator==(const CalibrationSavedProfile&) const = default;
};

template <>
inline constexpr auto jsonMembers<CalibrationSavedProfile> = std::tuple(
    std::pair("id", &CalibrationSavedProfile::id), std::pair("label", &CalibrationSavedProfile::label),
    std::pair("deviceUID", &CalibrationSavedProfile::deviceUID),
    std::pair("deviceName", &CalibrationSavedProfile::deviceName),
    std::pair("levelOffsetAtSave", &CalibrationSavedProfile::levelOffsetAtSave),
    std::pair("savedDate", &CalibrationSavedProfile::savedDate),
    std::pair("freqProfile", &CalibrationSavedProfile::freqProfile));

/// The saved profiles, newest first. Stored data that can't be read counts as none, and is kept until the
/// next change. Main thread.
class CalibrationProfileStore final : public ObservableObject
{
public:
    static constexpr auto defaultsKey = "calibrationProfiles_v1";

    CalibrationProfileStore(MainLoop& loop, DefaultsStore& defaults);

    Published<std::vector<CalibrationSavedProfile>> profiles{*this, {}};

    void save(const std::string& label, const std::string& deviceUID, const std::string& deviceName,
              double levelOffset, const std::optional<MicCorrectionProfile>& freqProfile);

    /// Removes the profiles with that identity. What is left is stored, also where there was none.
    void remove(Uuid id);

    /// Reads the store anew, after somebody else has written to it.
    void reload();

    /// Puts the profile's frequency correction in force. One without any leaves the correction as it is. The
    /// level offset is the caller's affair.
    static void apply(const CalibrationSavedProfile& profile, MicFrequencyCorrection& correction);

    /// The label that a profile gets for the text that the user has typed: without white space at its ends,
    /// and the device's name in place of nothing.
    static std::string labelFor(std::string_view typedText, const std::string& deviceName);

private:
    void persist();
    void load();

    MainLoop& m_loop;
    DefaultsStore& m_defaults;
};

} // namespace velmor
