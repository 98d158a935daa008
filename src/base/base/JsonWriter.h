// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

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

    explicit JsonWriter(Layout layout);

    void beginObject();
    void endObject();
    void beginArray();
    void endArray();

    /// The name of the member whose value comes next.
    void key(std::string_view name);

    void value(std::string_view text);
    void value(const char* text) { value(std::string_view(text)); }
    void value(bool flag);
    void value(std::int64_t number);
    void value(double number);

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
    void beforeItem();
    void newLine();
    void appendQuoted(std::string_view text);

    Layout m_layout;
    std::string m_text;
    std::vector<bool> m_levelIsEmpty; ///< One entry for each open object or array.
    bool m_afterKey = false;
    bool m_allFinite = true;
};

} // namespace velmor
