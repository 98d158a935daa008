// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <tuple>
#include <type_traits>
#include <utility>

namespace velmor {

/// The stored members of a record with their keys, in order. A record gets a table of its own by
///
///     template <>
///     inline constexpr auto jsonMembers<Point> = std::tuple(std::pair("x", &Point::x), std::pair("y",
///     &Point::y));
///
/// and is then written and read by what is in JsonRecord.h.
template <typename Record>
inline constexpr auto jsonMembers = std::tuple();

/// Has such a table.
template <typename Record>
concept JsonRecord = std::tuple_size_v<std::remove_const_t<decltype(jsonMembers<Record>)>>
!= 0;

} // namespace velmor
