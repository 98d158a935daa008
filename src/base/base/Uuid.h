// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <boost/uuid/uuid.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace velmor {

/// The identity of a record. Compares and orders by its bytes.
using Uuid = boost::uuids::uuid;

/// A new random one (RFC 4122, version 4).
Uuid makeUuid();

/// The canonical text, 36 characters in upper case.
std::string uuidText(const Uuid& uuid);

/// Reads the canonical text, in upper or lower case. Absent for anything else.
std::optional<Uuid> uuidFromText(std::string_view text);

} // namespace velmor
