// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velmor {

/// Latin letters in lower case; everything else as it is.
std::string lowerCase(std::string_view text);

/// Without the white space at both ends: Unicode's separators and the control characters from tab to
/// carriage return and U+0085. \param text UTF-8. \return a part of it.
std::string_view trimmed(std::string_view text);

/// Without the control characters of ASCII. \param text UTF-8.
std::string withoutControls(std::string_view text);

/// Without what leads a terminal astray: the control characters of ASCII and those from U+0080 to U+009F,
/// some of which stand for whole escapes. \param text UTF-8.
std::string forTerminal(std::string_view text);

/// Stands in for bytes that are no UTF-8.
inline constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

/// Bytes of the well-formed multi-byte UTF-8 sequence that the text begins with; 0 if it begins with
/// none.
std::size_t utf8SequenceLength(std::string_view text);

/// The text as UTF-8: what comes from outside, as a file name, may hold any bytes.
std::string validUtf8(std::string_view text);

} // namespace velmor
