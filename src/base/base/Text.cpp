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

std::string withoutControls(std::string_view text)
{
    std::string kept(text);
    std::erase_if(kept, [](char byte) {
        constexpr unsigned char firstPrintable = 0x20;
        constexpr unsigned char del = 0x7F;
        const auto code = static_cast<unsigned char>(byte);
        return code < firstPrintable || code == del;
    });
    return kept;
}

std::string forTerminal(std::string_view text)
{
    constexpr char lead = '\xC2';
    std::string kept;
    for (const char byte : withoutControls(text)) {
        const bool isControl =
            static_cast<unsigned char>(byte) >= 0x80 && static_cast<unsigned char>(byte) < 0xA0;
        if (isControl && !kept.empty() && kept.back() == lead)
            kept.pop_back();
        else
            kept += byte;
    }
    return kept;
}

std::size_t utf8SequenceLength(std::string_view text)
{
    const auto byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    const auto continues = [&](std::size_t i) { return (byte(i) & 0xC0U) == 0x80U; };
    const unsigned lead = byte(0);
    if (lead >= 0xC2 && lead <= 0xDF)
        return continues(1) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        const bool overlong = lead == 0xE0 && byte(1) < 0xA0;
        const bool surrogate = lead == 0xED && byte(1) > 0x9F;
        return continues(1) && continues(2) && !overlong && !surrogate ? 3 : 0;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        const bool overlong = lead == 0xF0 && byte(1) < 0x90;
        const bool beyond = lead == 0xF4 && byte(1) > 0x8F;
        return continues(1) && continues(2) && continues(3) && !overlong && !beyond ? 4 : 0;
    }
    return 0;
}

std::string validUtf8(std::string_view text)
{
    std::string valid;
    valid.reserve(text.size());
    while (!text.empty()) {
        const bool isAscii = static_cast<unsigned char>(text.front()) < 0x80;
        const std::size_t length = isAscii ? 1 : utf8SequenceLength(text);
        valid += length > 0 ? text.substr(0, length) : replacementCharacter;
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return valid;
}

} // namespace velmor
