// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velmor {

/// A position of the "audio.position" vocabulary in plain words: "FL" is "Front Left", "AUX3" is "AUX 3".
/// Absent for a position that says nothing ("UNK") and for one that is not in the vocabulary.
std::optional<std::string> channelName(std::string_view position);

} // namespace velmor
