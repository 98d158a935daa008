// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmor {

/// A parameter of a URL's query, decoded.
struct QueryItem
{
    std::string name;
    std::optional<std::string> value; ///< Absent where the item has no equals sign.

    bool operator==(const QueryItem&) const = default;
};

/// Whether bytes are UTF-8.
bool isText(std::string_view bytes);

/// A text that is a URL: it has only characters that a URL may have (RFC 3986), and each percent sign in it
/// begins a code. The text is kept as it is; the parts of it are decoded.
class Url
{
public:
    /// Absent for a text that is no URL, the empty one included.
    static std::optional<Url> fromText(std::string_view text);

    const std::string& text() const { return m_text; }

    /// In lower case; absent where there is none.
    std::optional<std::string> scheme() const;

    /// Without user, port and the brackets of an address; absent where there is none, where it is empty, and
    /// where its bytes are no text.
    std::optional<std::string> host() const;

    /// The first part of the path that is neither empty nor a slash. One whose bytes are no text is not
    /// decoded.
    std::optional<std::string> firstPathComponent() const;

    /// Absent for a URL that does not part into components, as one with a port that is no number; no items
    /// for one without a query. Plus signs stay.
    std::optional<std::vector<QueryItem>> queryItems() const;

    /// The same URL with these items for its query. In names and values letters, digits and
    /// -._~!$'()*+,;:@/? stay as they are; every other byte becomes a percent code in upper case. Absent for
    /// a URL that does not part into components.
    std::optional<Url> withQueryItems(const std::vector<QueryItem>& items) const;

private:
    explicit Url(std::string_view text)
        : m_text(text)
    {}

    std::string_view authority() const;
    std::size_t pathPosition() const;
    std::string_view path() const;

    std::string m_text;
};

} // namespace velmor
