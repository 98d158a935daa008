// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace velmor {

/// What the tray item shows.
enum class MenuBarDisplayMode { icon, dBA, dBC, iconAndDBA, iconAndDBC };

struct MenuBarDisplayModeRow
{
    enum class Number { none, spl, dBC };

    MenuBarDisplayMode value;
    std::string_view rawValue;
    std::string_view label;
    bool showsIcon;
    Number number;

    /// The number to show; absent where there is none.
    std::optional<double> measurement(double spl, double dBC) const
    {
        if (number == Number::none)
            return std::nullopt;
        return number == Number::spl ? spl : dBC;
    }
};

/// In the order of a picker.
inline constexpr std::array<MenuBarDisplayModeRow, 5> menuBarDisplayModes = {{
    {MenuBarDisplayMode::icon, "icon", "Icon only", true, MenuBarDisplayModeRow::Number::none},
    {MenuBarDisplayMode::dBA, "dBA", "Live dBA", false, MenuBarDisplayModeRow::Number::spl},
    {MenuBarDisplayMode::dBC, "dBC", "Live dBC", false, MenuBarDisplayModeRow::Number::dBC},
    {MenuBarDisplayMode::iconAndDBA, "iconAndDBA", "Icon + dBA", true, MenuBarDisplayModeRow::Number::spl},
    {MenuBarDisplayMode::iconAndDBC, "iconAndDBC", "Icon + dBC", true, MenuBarDisplayModeRow::Number::dBC},
}};

} // namespace velmor
