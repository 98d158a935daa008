// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace velmor {

/// A text that markup, as notifications and bars read it, shows as it is.
std::string markupEscaped(std::string_view text);

} // namespace velmor
