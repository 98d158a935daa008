// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmor {

/// The entries of a list in any of the forms that "audio.position" has: "FL,FR", "[ FL FR ]".
std::vector<std::string> listEntries(std::string_view list);

/// Absent for a text that is not wholly a number.
std::optional<std::uint32_t> wholeNumber(std::string_view text);

/// The member "name" of a metadata value like {"name":"alsa_input.usb"}; empty where there is none.
std::string nameInMetadata(const std::string& value);

} // namespace velmor
