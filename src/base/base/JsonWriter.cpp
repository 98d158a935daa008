// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/JsonWriter.h>

#include <base/Text.h>

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <iterator>
#include <utility>

namespace velmor {

namespace {

constexpr double largestExactInteger = 9007199254740992.0; // 2^53

/// Whether a character stands for itself between quotes.
bool isPlain(char c)
{
    return static_cast<unsigned char>(c) >= 0x20 && static_cast<unsigned char>(c) < 0x80 && c != '"' &&
           c != '\\';
}

/// Looks at all of it, also where the first character has given the answer: without a branch.
bool isPlain(std::string_view text)
{
    unsigned unplain = 0;
    for (const char c : text)
        unplain |= isPlain(c) ? 0U : 1U;
    return unplain == 0;
}

} // namespace

JsonWriter::JsonWriter(Layout layout, std::size_t expectedSize)
    : m_layout(layout)
{
    m_text.reserve(expectedSize);
}

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

void JsonWriter::value(Date date)
{
    const auto characters = isoCharacters(date);
    value(std::string_view(characters.data(), characters.size()));
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
    appendNumber(number);
}

void JsonWriter::value(float number)
{
    appendNumber(number);
}

template <typename Number>
void JsonWriter::appendNumber(Number number)
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
        std::abs(number) < static_cast<Number>(largestExactInteger)
            ? std::to_chars(std::begin(digits), std::end(digits), number).ptr
            : std::to_chars(std::begin(digits), std::end(digits), number, std::chars_format::scientific).ptr;
    m_text.append(digits, end);
}

void JsonWriter::null()
{
    beforeItem();
    m_text += "null";
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
    m_levelIsEmpty.push_back(1);
}

void JsonWriter::end(char bracket)
{
    const bool isEmpty = m_levelIsEmpty.back() != 0;
    m_levelIsEmpty.pop_back();
    if (!isEmpty)
        newLine(false);
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
    newLine(m_levelIsEmpty.back() == 0);
    m_levelIsEmpty.back() = 0;
}

void JsonWriter::newLine(bool afterComma)
{
    constexpr std::string_view commaAndIndented = ",\n                                ";
    const std::string_view all = commaAndIndented.substr(afterComma ? 0 : 1);
    const std::size_t spaces = 2 * m_levelIsEmpty.size();
    const std::size_t wanted =
        m_layout == Layout::compact ? (afterComma ? 1 : 0) : (afterComma ? 2 : 1) + spaces;
    m_text += all.substr(0, wanted);
    if (wanted > all.size())
        m_text.append(wanted - all.size(), ' ');
}

void JsonWriter::appendQuoted(std::string_view text)
{
    m_text += '"';
    // Most texts have nothing to escape.
    if (isPlain(text)) {
        m_text += text;
    } else {
        while (!text.empty())
            text.remove_prefix(appendCharacter(text));
    }
    m_text += '"';
}

// \return how many bytes of the text that was.
std::size_t JsonWriter::appendCharacter(std::string_view text)
{
    const char c = text.front();
    if (isPlain(c)) {
        m_text += c;
        return 1;
    }
    if (static_cast<unsigned char>(c) >= 0x80) {
        // A file name may hold any bytes, but a JSON text is UTF-8.
        const std::size_t length = utf8SequenceLength(text);
        m_text += length > 0 ? text.substr(0, length) : replacementCharacter;
        return length > 0 ? length : 1;
    }
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
        fmt::format_to(std::back_inserter(m_text), "\\u{:04x}", static_cast<unsigned>(c));
    }
    return 1;
}

} // namespace velmor
