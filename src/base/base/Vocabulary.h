// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>

namespace velmor {

/// The row of a fixed vocabulary's table for one of its values; there must be one. A row has at least
/// the members `value` and `rawValue`, the text that is stored and sent.
template <typename Table, typename Value>
constexpr const auto& rowOf(const Table& table, Value value)
{
    return *std::ranges::find_if(table, [value](const auto& row) { return row.value == value; });
}

/// The value that a stored text stands for; absent for a text that isn't in the table.
template <typename Table>
constexpr auto valueFromRaw(const Table& table, std::string_view rawValue)
{
    const auto row =
        std::ranges::find_if(table, [rawValue](const auto& entry) { return entry.rawValue == rawValue; });
    return row != std::ranges::end(table) ? std::optional(row->value) : std::nullopt;
}

} // namespace velmor
