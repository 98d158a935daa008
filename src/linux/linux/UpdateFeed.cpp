// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/UpdateFeed.h>

#include <base/Text.h>

#include <simdjson.h>
#include <sodium.h>

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <map>
#include <new>
#include <utility>

namespace velmor {

namespace {

using namespace std::string_view_literals;

const char* lineFor(UpdateFeedProblem problem)
{
    switch (problem) {
    case UpdateFeedProblem::tooLarge:
        return "The update information is too large.";
    case UpdateFeedProblem::noFeed:
        return "What the update server sent is no update information.";
    case UpdateFeedProblem::damagedSignature:
        return "The signature of the update information is damaged.";
    case UpdateFeedProblem::notSigned:
        return "The update information is not signed by Velmor's makers.";
    case UpdateFeedProblem::unreadable:
        return "The update information cannot be read.";
    case UpdateFeedProblem::noVersion:
        return "The update information names no valid version.";
    case UpdateFeedProblem::noPage:
        return "The update information names no safe web page.";
    case UpdateFeedProblem::unusableNotes:
        return "The release notes in the update information are not valid.";
    }
    return "";
}

using TextMembers = std::map<std::string_view, std::string>;

/// The texts under these keys of a JSON object; absent where one is missing, comes twice or is no text.
std::optional<TextMembers> textMembers(std::string_view json, std::initializer_list<std::string_view> keys)
{
    // A byte order mark is no JSON, whatever later parsers make of it.
    if (json.empty() || json.starts_with("\xEF\xBB\xBF"))
        return std::nullopt;
    TextMembers members;
    try {
        simdjson::dom::parser parser;
        const simdjson::dom::object object = parser.parse(json.data(), json.size()).get_object();
        for (const auto& [key, value] : object) {
            const auto* const known = std::find(keys.begin(), keys.end(), key);
            if (known == keys.end())
                continue;
            const std::string_view text = value;
            if (!members.emplace(*known, text).second)
                return std::nullopt;
        }
    } catch (const simdjson::simdjson_error&) {
        return std::nullopt;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
    if (members.size() != keys.size())
        return std::nullopt;
    return members;
}

std::optional<Signature> signatureFromBase64(std::string_view text)
{
    Signature signature;
    std::size_t length = 0;
    if (::sodium_base642bin(signature.data(), signature.size(), text.data(), text.size(), nullptr, &length,
                            nullptr, sodium_base64_VARIANT_ORIGINAL) != 0 ||
        length != signature.size())
        return std::nullopt;
    return signature;
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// What comes before the separator, which is taken off the text with it; all of it where there is none.
std::string_view takeUpTo(char separator, std::string_view& text)
{
    const std::size_t length = std::min(text.find(separator), text.size());
    const std::string_view part = text.substr(0, length);
    text.remove_prefix(std::min(length + 1, text.size()));
    return part;
}

using VersionNumbers = std::array<std::uint32_t, 4>;

std::optional<VersionNumbers> versionNumbers(std::string_view text)
{
    constexpr std::size_t mostDigits = 9;
    VersionNumbers numbers{};
    if (text.ends_with('.'))
        return std::nullopt;
    for (auto& number : numbers) {
        const std::string_view digits = takeUpTo('.', text);
        if (digits.empty() || digits.size() > mostDigits || !std::ranges::all_of(digits, isDigit))
            return std::nullopt;
        std::from_chars(digits.data(), digits.data() + digits.size(), number);
        if (text.empty())
            return numbers;
    }
    return std::nullopt;
}

/// RFC 3986: what is reserved, what is not, and the sign of percent-encoding.
bool isAddressCharacter(char c)
{
    return isLetter(c) || isDigit(c) || "-._~:/?#[]@!$&'()*+,;=%"sv.find(c) != std::string_view::npos;
}

/// Each percent sign stands before the two digits of a byte that is no control character.
bool isPercentEncodingValid(std::string_view text)
{
    for (std::size_t at = text.find('%'); at != std::string_view::npos; at = text.find('%', at + 3)) {
        const std::string_view digits = text.substr(at + 1, 2);
        unsigned byte = 0;
        const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16).ptr;
        if (digits.size() != 2 || end != digits.data() + 2 || byte < 0x20 || byte == 0x7F)
            return false;
    }
    return true;
}

bool isHost(std::string_view text)
{
    constexpr std::size_t longestHost = 253;
    constexpr std::size_t longestLabel = 63;
    if (text.empty() || text.size() > longestHost || text.ends_with('.'))
        return false;
    while (!text.empty()) {
        const std::string_view label = takeUpTo('.', text);
        if (label.empty() || label.size() > longestLabel || label.starts_with('-') || label.ends_with('-') ||
            !std::ranges::all_of(label, [](char c) { return isLetter(c) || isDigit(c) || c == '-'; }))
            return false;
    }
    return true;
}

bool isPort(std::string_view text)
{
    unsigned port = 0;
    return !text.empty() && text.size() <= 5 && std::ranges::all_of(text, isDigit) &&
           std::from_chars(text.data(), text.data() + text.size(), port).ec == std::errc() && port >= 1 &&
           port <= 65535;
}

/// The code point of a sequence of well-formed UTF-8.
char32_t codePointOf(std::string_view sequence)
{
    const auto byte = [&](std::size_t i) {
        return static_cast<char32_t>(static_cast<unsigned char>(sequence[i]));
    };
    char32_t point = byte(0);
    if (sequence.size() > 1)
        point &= 0xFFU >> (sequence.size() + 1);
    for (std::size_t i = 1; i < sequence.size(); ++i)
        point = (point << 6U) | (byte(i) & 0x3FU);
    return point;
}

bool isControl(char32_t point)
{
    return point < 0x20 || (point >= 0x7F && point <= 0x9F);
}

/// Embeddings and overrides, isolates, and what ends them (UAX #9).
bool turnsDirection(char32_t point)
{
    return (point >= 0x202A && point <= 0x202E) || (point >= 0x2066 && point <= 0x2069);
}

/// Absent for a text that is no UTF-8, which escapes in JSON can make.
std::optional<std::string> plainText(std::string_view text)
{
    std::string plain;
    plain.reserve(text.size());
    while (!text.empty()) {
        const bool isAscii = static_cast<unsigned char>(text.front()) < 0x80;
        const std::size_t length = isAscii ? 1 : utf8SequenceLength(text);
        if (length == 0)
            return std::nullopt;
        const std::string_view sequence = text.substr(0, length);
        const char32_t point = codePointOf(sequence);
        if (point == U'\n' || point == U'\t' || (!isControl(point) && !turnsDirection(point)))
            plain += sequence;
        text.remove_prefix(length);
    }
    return plain;
}

} // namespace

UpdateFeedError::UpdateFeedError(UpdateFeedProblem problem)
    : std::runtime_error(lineFor(problem))
    , m_problem(problem)
{}

AvailableUpdate readUpdateFeed(std::string_view document, const PublicKey& key)
{
    const SignedUpdateText signedText = signedUpdateText(document);
    if (!isSignedBy(signedText, key))
        throw UpdateFeedError(UpdateFeedProblem::notSigned);
    return updateOfVerifiedText(signedText.text);
}

SignedUpdateText signedUpdateText(std::string_view document)
{
    if (document.size() > largestUpdateDocument)
        throw UpdateFeedError(UpdateFeedProblem::tooLarge);
    auto members = textMembers(document, {"feed", "signature"});
    if (!members)
        throw UpdateFeedError(UpdateFeedProblem::noFeed);
    const auto signature = signatureFromBase64(members->at("signature"));
    if (!signature)
        throw UpdateFeedError(UpdateFeedProblem::damagedSignature);
    return {std::move(members->at("feed")), *signature};
}

bool isSignedBy(const SignedUpdateText& signedText, const PublicKey& key)
{
    if (::sodium_init() < 0)
        return false;
    std::string message(updateSignatureContext);
    message += signedText.text;
    return ::crypto_sign_verify_detached(signedText.signature.data(),
                                         reinterpret_cast<const unsigned char*>(message.data()),
                                         message.size(), key.data()) == 0;
}

AvailableUpdate updateOfVerifiedText(std::string_view text)
{
    auto members = textMembers(text, {"version", "notes", "page"});
    if (!members)
        throw UpdateFeedError(UpdateFeedProblem::unreadable);
    AvailableUpdate update;
    update.version = std::move(members->at("version"));
    if (!isVersion(update.version))
        throw UpdateFeedError(UpdateFeedProblem::noVersion);
    update.page = std::move(members->at("page"));
    if (!isSafeWebAddress(update.page))
        throw UpdateFeedError(UpdateFeedProblem::noPage);
    const std::string& notes = members->at("notes");
    auto plainNotes = notes.size() <= longestUpdateNotes ? plainText(notes) : std::nullopt;
    if (!plainNotes)
        throw UpdateFeedError(UpdateFeedProblem::unusableNotes);
    update.notes = std::move(*plainNotes);
    return update;
}

UpdateOutcome outcomeFor(const AvailableUpdate& update, std::string_view currentVersion)
{
    if (compareVersions(update.version, currentVersion) > 0)
        return update;
    return UpToDate{std::string(currentVersion)};
}

std::optional<PublicKey> publicKeyFromHex(std::string_view text)
{
    PublicKey key;
    std::size_t length = 0;
    if (text.size() != 2 * key.size() ||
        ::sodium_hex2bin(key.data(), key.size(), text.data(), text.size(), nullptr, &length, nullptr) != 0 ||
        length != key.size())
        return std::nullopt;
    return key;
}

bool isVersion(std::string_view text)
{
    return versionNumbers(text).has_value();
}

std::partial_ordering compareVersions(std::string_view a, std::string_view b)
{
    const auto numbersOfA = versionNumbers(a);
    const auto numbersOfB = versionNumbers(b);
    if (!numbersOfA || !numbersOfB)
        return std::partial_ordering::unordered;
    return *numbersOfA <=> *numbersOfB;
}

bool isSafeWebAddress(std::string_view text)
{
    constexpr std::string_view scheme = "https://";
    if (text.size() > longestWebAddress || !text.starts_with(scheme) ||
        !std::ranges::all_of(text, isAddressCharacter) || !isPercentEncodingValid(text))
        return false;
    text.remove_prefix(scheme.size());
    std::string_view authority = text.substr(0, text.find_first_of("/?#"));
    const bool hasPort = authority.find(':') != std::string_view::npos;
    const std::string_view host = takeUpTo(':', authority);
    return isHost(host) && (!hasPort || isPort(authority));
}

} // namespace velmor
