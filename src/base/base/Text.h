// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace velmor {

/// Latin letters in lower case; everything else as it is.
std::string lowerCase(std::string_view text);

/// Without the white space at both ends: Unicode's separators and the control characters from tab to
/// carriage return and U+0085. \param text UTF-8. \return a part of it.
std::string_view trimmed(std::string_view text);

} // namespace velmor
