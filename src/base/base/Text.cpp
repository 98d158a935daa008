// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Text.h>

#include <algorithm>
#include <array>

namespace velmor {

namespace {

using namespace std::string_view_literals;

constexpr std::array whiteSpace = {"\t"sv,     "\n"sv,     "\v"sv,     "\f"sv,     "\r"sv,
                                   " "sv,      "\u0085"sv, "\u00A0"sv, "\u1680"sv, "\u2000"sv,
                                   "\u2001"sv, "\u2002"sv, "\u2003"sv, "\u2004"sv, "\u2005"sv,
                                   "\u2006"sv, "\u2007"sv, "\u2008"sv, "\u2009"sv, "\u200A"sv,
                                   "\u2028"sv, "\u2029"sv, "\u202F"sv, "\u205F"sv, "\u3000"sv};

} // namespace

std::string lowerCase(std::string_view text)
{
    std::string lower(text);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return lower;
}

std::string_view trimmed(std::string_view text)
{
    const auto next = [&](auto matches) { return std::ranges::find_if(whiteSpace, matches); };
    while (true) {
        const auto first = next([&](std::string_view space) { return text.starts_with(space); });
        if (first == whiteSpace.end())
            break;
        text.remove_prefix(first->size());
    }
    while (true) {
        const auto last = next([&](std::string_view space) { return text.ends_with(space); });
        if (last == whiteSpace.end())
            break;
        text.remove_suffix(last->size());
    }
    return text;
}

} // namespace velmor
