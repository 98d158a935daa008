// SPDX-License-Identifier: GPL-3.0-or-later
#include <exposure/DoseLevel.h>

#include <exposure/DoseLimits.h>

#include <array>
#include <cstddef>

namespace velmor {

namespace {

struct Texts
{
    std::string_view rawValue;
    std::string_view label;
};

/// In the order of the enumeration.
constexpr std::array<Texts, 4> texts = {{
    {"safe", "Safe"},
    {"caution", "Caution"},
    {"warning", "Warning"},
    {"danger", "Over-exposed"},
}};

} // namespace

DoseLevel doseLevelFrom(double dosePercentage)
{
    if (dosePercentage < cautionDosePercentage)
        return DoseLevel::safe;
    if (dosePercentage < warningDosePercentage)
        return DoseLevel::caution;
    if (dosePercentage < dangerDosePercentage)
        return DoseLevel::warning;
    return DoseLevel::danger;
}

std::string_view rawValue(DoseLevel level)
{
    return texts[static_cast<std::size_t>(level)].rawValue;
}

std::string_view label(DoseLevel level)
{
    return texts[static_cast<std::size_t>(level)].label;
}

} // namespace velmor
