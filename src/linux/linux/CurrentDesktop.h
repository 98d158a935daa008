// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace velmor {

/// Whether this is a session of the desktop, or of one that is made from it: it stands in
/// $XDG_CURRENT_DESKTOP. What another desktop has stored may be as it was left long ago.
bool isCurrentDesktop(std::string_view name);

} // namespace velmor
