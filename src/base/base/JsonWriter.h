// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Date.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmor {

/// Writes one JSON text from beginning to end. Numbers are in the shortest form that reads back as
/// the same 64-bit value. Calling the operations in an order that is no JSON is a programming error.
class JsonWriter
{
public:
    enum class Layout {
        pretty,  ///< A member or element a line, indented by two spaces.
        compact, ///< All in one line, without white space.
    };

    /// \param expectedSize of the text in bytes, for one that is large: it then grows in place.
    explicit JsonWriter(Layout layout, std::size_t expectedSize = 0);

    void beginObject();
    void endObject();
    void beginArray();
    void endArray();

    /// The name of the member whose value comes next.
    void key(std::string_view name);

    void value(std::string_view text);
    void value(Date date); ///< As isoText().
    void value(const char* text) { value(std::string_view(text)); }
    void value(bool flag);
    void value(std::int64_t number);
    void value(double number);
    void value(float number); ///< In the shortest form that reads back as the same 32-bit value.
    void null();

    template <typename Value>
    void member(std::string_view name, const Value& content)
    {
        key(name);
        value(content);
    }

    /// The finished text; absent when a number was not finite, which JSON has no form for.
    std::optional<std::string> text() const&;
    std::optional<std::string> text() &&;

private:
    void begin(char bracket);
    void end(char bracket);
    template <typename Number>
    void appendNumber(Number number);
    void beforeItem();
    void newLine(bool afterComma);
    void appendQuoted(std::string_view text);
    std::size_t appendCharacter(std::string_view text);

    Layout m_layout;
    std::string m_text;
    std::vector<char> m_levelIsEmpty; ///< One entry for each open object or array: 1 while it is empty.
    bool m_afterKey = false;
    bool m_allFinite = true;
};

} // namespace velmor
