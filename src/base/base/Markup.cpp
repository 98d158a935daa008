// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Markup.h>

namespace velmor {

std::string markupEscaped(std::string_view text)
{
    std::string escaped;
    for (const char c : text) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

} // namespace velmor
