// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/JsonRecord.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace velmor {

void readJson(JsonElement element, double& value)
{
    value = element.value.get_double();
}

void readJson(JsonElement element, float& value)
{
    const double wide = element.value.get_double();
    // The shortest text of the largest number of 32 bits lies a little beyond it.
    constexpr double largest = static_cast<double>(std::numeric_limits<float>::max());
    constexpr double halfAStep = 0x1p103;
    if (!(std::abs(wide) < largest + halfAStep))
        throw JsonError("a number is too large for 32 bits");
    value = static_cast<float>(std::clamp(wide, -largest, largest));
}

void readJson(JsonElement element, bool& value)
{
    value = element.value.get_bool();
}

void readJson(JsonElement element, std::int64_t& value)
{
    value = element.value.get_int64();
}

void readJson(JsonElement element, std::string& value)
{
    value = std::string_view(element.value.get_string());
}

void readJson(JsonElement element, Uuid& value)
{
    const auto uuid = uuidFromText(element.value.get_string());
    if (!uuid)
        throw JsonError("a text is no UUID");
    value = *uuid;
}

void readJson(JsonElement element, Date& value)
{
    const auto date = element.dates == JsonDates::iso ? dateFromIsoText(element.value.get_string())
                                                      : dateFromReference(element.value.get_double());
    if (!date)
        throw JsonError(element.dates == JsonDates::iso ? "a text is no date" : "a moment is out of reach");
    value = *date;
}

} // namespace velmor
