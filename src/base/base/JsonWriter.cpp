// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/JsonWriter.h>

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <iterator>
#include <utility>

namespace velmor {

namespace {

constexpr double largestExactInteger = 9007199254740992.0; // 2^53

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

/// Bytes of the well-formed multi-byte UTF-8 sequence that the text begins with; 0 if it begins with
/// none.
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

} // namespace

JsonWriter::JsonWriter(Layout layout)
    : m_layout(layout)
{}

void JsonWriter::beginObject()
{
    begin('{');
}

void JsonWriter::endObject()
{
    end('}');
}

void JsonWriter::beginArray()
{
    begin('[');
}

void JsonWriter::endArray()
{
    end(']');
}

void JsonWriter::key(std::string_view name)
{
    beforeItem();
    appendQuoted(name);
    m_text += m_layout == Layout::pretty ? ": " : ":";
    m_afterKey = true;
}

void JsonWriter::value(std::string_view text)
{
    beforeItem();
    appendQuoted(text);
}

void JsonWriter::value(bool flag)
{
    beforeItem();
    m_text += flag ? "true" : "false";
}

void JsonWriter::value(std::int64_t number)
{
    beforeItem();
    fmt::format_to(std::back_inserter(m_text), "{}", number);
}

void JsonWriter::value(double number)
{
    beforeItem();
    if (!std::isfinite(number)) {
        m_allFinite = false;
        return;
    }
    char digits[32];
    // The shortest form of a large number can be a row of digits that readers take for an integer
    // which is too large for them.
    const auto end =
        std::abs(number) < largestExactInteger
            ? std::to_chars(std::begin(digits), std::end(digits), number).ptr
            : std::to_chars(std::begin(digits), std::end(digits), number, std::chars_format::scientific).ptr;
    m_text.append(digits, end);
}

std::optional<std::string> JsonWriter::text() const&
{
    return m_allFinite ? std::optional(m_text) : std::nullopt;
}

std::optional<std::string> JsonWriter::text() &&
{
    return m_allFinite ? std::optional(std::move(m_text)) : std::nullopt;
}

void JsonWriter::begin(char bracket)
{
    beforeItem();
    m_text += bracket;
    m_levelIsEmpty.push_back(true);
}

void JsonWriter::end(char bracket)
{
    const bool isEmpty = m_levelIsEmpty.back();
    m_levelIsEmpty.pop_back();
    if (!isEmpty)
        newLine();
    m_text += bracket;
}

void JsonWriter::beforeItem()
{
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (m_levelIsEmpty.empty())
        return;
    if (!m_levelIsEmpty.back())
        m_text += ',';
    m_levelIsEmpty.back() = false;
    newLine();
}

void JsonWriter::newLine()
{
    if (m_layout == Layout::compact)
        return;
    m_text += '\n';
    m_text.append(2 * m_levelIsEmpty.size(), ' ');
}

void JsonWriter::appendQuoted(std::string_view text)
{
    m_text += '"';
    while (!text.empty()) {
        const char c = text.front();
        if (static_cast<unsigned char>(c) >= 0x80) {
            // A file name may hold any bytes, but a JSON text is UTF-8.
            const std::size_t length = utf8SequenceLength(text);
            m_text += length > 0 ? text.substr(0, length) : replacementCharacter;
            text.remove_prefix(length > 0 ? length : 1);
            continue;
        }
        text.remove_prefix(1);
        switch (c) {
        case '"':
            m_text += "\\\"";
            break;
        case '\\':
            m_text += "\\\\";
            break;
        case '\n':
            m_text += "\\n";
            break;
        case '\r':
            m_text += "\\r";
            break;
        case '\t':
            m_text += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20)
                fmt::format_to(std::back_inserter(m_text), "\\u{:04x}", static_cast<unsigned>(c));
            else
                m_text += c;
        }
    }
    m_text += '"';
}

} // namespace velmor
