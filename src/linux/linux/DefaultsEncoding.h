// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/DefaultsStore.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace velmor {

/// A column of a database row: NULL, integer, real, text or blob. Text and blob are borrowed, but for
/// a text that was made for the row.
using DatabaseColumn = std::variant<std::monostate, std::int64_t, double, std::string_view,
                                    std::span<const std::byte>, std::string>;

/// The text in a row that tells the value's type.
std::string_view typeName(const DefaultsValue& value);

/// What is stored of a value beside its type; borrows from the value. A double that is not a number
/// becomes NULL, as the database has no form for it. A dictionary becomes a JSON object.
DatabaseColumn encodedDefaultsValue(const DefaultsValue& value);

/// The value of a row; absent if the column does not hold what the type asks for, or the type is
/// unknown.
std::optional<DefaultsValue> decodeDefaultsValue(std::string_view type, const DatabaseColumn& column);

} // namespace velmor
