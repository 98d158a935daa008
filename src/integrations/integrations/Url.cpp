// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/Url.h>

#include <base/Text.h>

#include <boost/url/grammar/alnum_chars.hpp>
#include <boost/url/grammar/alpha_chars.hpp>
#include <boost/url/grammar/hexdig_chars.hpp>
#include <boost/url/grammar/lut_chars.hpp>
#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>
#include <fmt/format.h>
#include <simdjson.h>

#include <algorithm>

namespace velmor {

namespace urls = boost::urls;

namespace {

constexpr urls::grammar::lut_chars keptInQueryItems =
    urls::grammar::alnum_chars + urls::grammar::lut_chars("-._~!$'()*+,;:@/?");
constexpr urls::grammar::lut_chars legalCharacters =
    urls::grammar::alnum_chars + urls::grammar::lut_chars("-._~:/?#[]@!$&'()*+,;=");
constexpr urls::grammar::lut_chars schemeCharacters =
    urls::grammar::alnum_chars + urls::grammar::lut_chars("+-.");

bool isOneOf(const urls::grammar::lut_chars& characters, char c)
{
    return characters(static_cast<unsigned char>(c));
}

/// A percent sign and two hexadecimal digits.
constexpr std::size_t percentCodeLength = 3;

bool isPercentCode(std::string_view text)
{
    return text.size() >= percentCodeLength && text[0] == '%' && urls::grammar::hexdig_chars(text[1]) &&
           urls::grammar::hexdig_chars(text[2]);
}

/// \param text has only whole percent codes.
std::string decoded(std::string_view text)
{
    return urls::pct_string_view(text).decode();
}

std::string encoded(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        if (isOneOf(keptInQueryItems, c))
            result += c;
        else
            result += fmt::format("%{:02X}", static_cast<unsigned>(static_cast<unsigned char>(c)));
    }
    return result;
}

/// Without what stands before the first of a character, and that character; empty where there is none.
std::string_view behind(std::string_view text, std::string_view mark)
{
    const auto position = text.find(mark);
    return position == std::string_view::npos ? std::string_view() : text.substr(position + mark.size());
}

std::string_view upTo(std::string_view text, std::string_view marks)
{
    return text.substr(0, text.find_first_of(marks));
}

} // namespace

bool isText(std::string_view bytes)
{
    return simdjson::validate_utf8(bytes.data(), bytes.size());
}

std::optional<Url> Url::fromText(std::string_view text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!isOneOf(legalCharacters, text[i]) && !isPercentCode(text.substr(i)))
            return std::nullopt;
    }
    return text.empty() ? std::nullopt : std::optional(Url(text));
}

std::optional<std::string> Url::scheme() const
{
    const std::string_view text = m_text;
    const auto colon = text.find(':');
    if (colon == std::string_view::npos || !urls::grammar::alpha_chars(text[0]) ||
        !std::ranges::all_of(text.substr(0, colon), [](char c) { return isOneOf(schemeCharacters, c); }))
        return std::nullopt;
    return lowerCase(text.substr(0, colon));
}

std::optional<std::string> Url::host() const
{
    std::string_view host = authority();
    if (const auto user = host.rfind('@'); user != std::string_view::npos)
        host.remove_prefix(user + 1);
    host = host.starts_with('[') ? upTo(host.substr(1), "]") : upTo(host, ":");
    std::string result = decoded(host);
    return result.empty() || !isText(result) ? std::nullopt : std::optional(std::move(result));
}

std::optional<std::string> Url::firstPathComponent() const
{
    std::string_view rest = path();
    while (!rest.empty()) {
        const std::string_view component = upTo(rest, "/");
        rest.remove_prefix(std::min(component.size() + 1, rest.size()));
        std::string result = decoded(component);
        if (!result.empty() && result != "/")
            return isText(result) ? std::move(result) : std::string(component);
    }
    return std::nullopt;
}

std::optional<std::vector<QueryItem>> Url::queryItems() const
{
    // The parser is not made for a query right behind a scheme.
    std::string text = m_text;
    if (path().empty())
        text.insert(pathPosition(), 1, '/');
    const auto components = urls::parse_uri_reference(text);
    // It takes a port that is no number for the begin of the path: then its authority is not the text's.
    if (!components || std::string_view(components->encoded_authority()) != authority())
        return std::nullopt;
    std::vector<QueryItem> items;
    if (components->encoded_query().empty())
        return items;
    for (const auto& param : components->encoded_params()) {
        QueryItem& item = items.emplace_back();
        item.name = param.key.decode();
        if (param.has_value)
            item.value = param.value.decode();
    }
    return items;
}

std::optional<Url> Url::withQueryItems(const std::vector<QueryItem>& items) const
{
    if (!queryItems())
        return std::nullopt;
    std::string text(upTo(m_text, "?#"));
    char separator = '?';
    for (const QueryItem& item : items) {
        text += separator;
        text += encoded(item.name);
        if (item.value)
            text += '=' + encoded(*item.value);
        separator = '&';
    }
    if (const auto fragment = m_text.find('#'); fragment != std::string::npos)
        text += m_text.substr(fragment);
    return Url(text);
}

std::string_view Url::authority() const
{
    const std::string_view rest = scheme() ? behind(m_text, ":") : std::string_view(m_text);
    return rest.starts_with("//") ? upTo(rest.substr(2), "/?#") : std::string_view();
}

std::size_t Url::pathPosition() const
{
    const std::size_t position = scheme() ? m_text.find(':') + 1 : 0;
    const bool hasAuthority = m_text.compare(position, 2, "//") == 0;
    return hasAuthority ? position + 2 + authority().size() : position;
}

std::string_view Url::path() const
{
    return upTo(std::string_view(m_text).substr(pathPosition()), "?#");
}

} // namespace velmor
