// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Date.h>
#include <base/JsonMembers.h>

#include <tuple>
#include <utility>
#include <vector>

namespace velmor {

/// One point of a correction curve, as charts draw it.
struct FrequencyCurvePoint
{
    float frequency = 0; ///< Hertz.
    float gainDB = 0;    ///< Correction gain, dB.

    bool operator==(const FrequencyCurvePoint&) const = default;
};

/// One measured correction of a microphone's frequency response.
struct MicCorrectionProfile
{
    std::vector<float> taps; ///< Coefficients of the filter. A measured profile has 128.
    double sampleRate = 0;   ///< Hertz; the only rate at which the taps are applied.
    Date measuredDate;
    std::vector<FrequencyCurvePoint> correctionCurve; ///< For display; the audio path never reads it.

    bool operator==(const MicCorrectionProfile&) const = default;
};

template <>
inline constexpr auto
    jsonMembers<FrequencyCurvePoint> = std::tuple(std::pair("frequency", &FrequencyCurvePoint::frequency),
                                                  std::pair("gainDB", &FrequencyCurvePoint::gainDB));

template <>
inline constexpr auto jsonMembers<MicCorrectionProfile> =
    std::tuple(std::pair("taps", &MicCorrectionProfile::taps),
               std::pair("sampleRate", &MicCorrectionProfile::sampleRate),
               std::pair("measuredDate", &MicCorrectionProfile::measuredDate),
               std::pair("correctionCurve", &MicCorrectionProfile::correctionCurve));

} // namespace velmor
