// SPDX-License-Identifier: GPL-3.0-or-later
#include <exposure/DoseLevel.h>

#include <array>
#include <cstddef>

namespace velmor {

namespace {

constexpr double cautionPercentage = 40.0;
constexpr double warningPercentage = 70.0;
constexpr double dangerPercentage = 90.0;

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
    if (dosePercentage < cautionPercentage)
        return DoseLevel::safe;
    if (dosePercentage < warningPercentage)
        return DoseLevel::caution;
    if (dosePercentage < dangerPercentage)
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
