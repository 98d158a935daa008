// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/DefaultsEncoding.h>

#include <array>
#include <cmath>
#include <string>

namespace velmor {

namespace {

/// In the order of the alternatives of DefaultsValue.
constexpr std::array<std::string_view, std::variant_size_v<DefaultsValue>> typeNames = {
    "boolean", "integer", "double", "string", "data", "date"};

constexpr std::chrono::hours dateMargin(48);

struct Encoder
{
    DatabaseColumn operator()(bool flag) const { return std::int64_t(flag); }
    DatabaseColumn operator()(std::int64_t number) const { return number; }
    DatabaseColumn operator()(double number) const
    {
        if (std::isnan(number))
            return std::monostate();
        return number;
    }
    DatabaseColumn operator()(const std::string& text) const { return std::string_view(text); }
    DatabaseColumn operator()(const DefaultsData& data) const { return std::span<const std::byte>(data); }
    DatabaseColumn operator()(Date date) const { return date.time_since_epoch().count(); }
};

} // namespace

std::string_view typeName(const DefaultsValue& value)
{
    return typeNames[value.index()];
}

DatabaseColumn encodedDefaultsValue(const DefaultsValue& value)
{
    return std::visit(Encoder(), value);
}

std::optional<DefaultsValue> decodeDefaultsValue(std::string_view type, const DatabaseColumn& column)
{
    const auto* integer = std::get_if<std::int64_t>(&column);
    if (type == "boolean" && integer && (*integer == 0 || *integer == 1))
        return *integer == 1;
    if (type == "integer" && integer)
        return *integer;
    if (type == "date" && integer) {
        const Date date{std::chrono::nanoseconds(*integer)};
        // Nearer to the ends of time the local date could not be told.
        const bool isUsable = date > Date::min() + dateMargin && date < Date::max() - dateMargin;
        return isUsable ? std::optional<DefaultsValue>(date) : std::nullopt;
    }
    if (const auto* real = std::get_if<double>(&column); type == "double" && real)
        return *real;
    if (const auto* text = std::get_if<std::string_view>(&column); type == "string" && text)
        return std::string(*text);
    if (const auto* blob = std::get_if<std::span<const std::byte>>(&column); type == "data" && blob)
        return DefaultsData(blob->begin(), blob->end());
    return std::nullopt;
}

} // namespace velmor
