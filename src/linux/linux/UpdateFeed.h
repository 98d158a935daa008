// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/SoftwareUpdater.h>

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace velmor {

/// An Ed25519 public key.
using PublicKey = std::array<std::uint8_t, 32>;

/// An Ed25519 signature.
using Signature = std::array<std::uint8_t, 64>;

/// Bytes. A longer document is refused unread.
inline constexpr std::size_t largestUpdateDocument = std::size_t{256} * 1024;

/// Bytes of UTF-8.
inline constexpr std::size_t longestUpdateNotes = std::size_t{64} * 1024;

/// Bytes.
inline constexpr std::size_t longestWebAddress = 2048;

/// What is signed is this and then the feed's text: a signature made with the same key for another purpose
/// is none for a feed.
inline constexpr std::string_view updateSignatureContext = "velmor-update-feed\n";

/// What is wrong with a feed, in the order in which it is looked at.
enum class UpdateFeedProblem {
    tooLarge,         ///< The document, above largestUpdateDocument.
    noFeed,           ///< The document is no JSON object with the texts "feed" and "signature", each once.
    damagedSignature, ///< "signature" is not the Base64 form of 64 bytes.
    notSigned,        ///< The signature is not that of the key over this text.
    unreadable,       ///< The signed text is no JSON object with the texts that it takes, each once.
    noVersion,        ///< "version" is none.
    noPage,           ///< "page" is no safe web address.
    unusableNotes,    ///< "notes" is too long or no Unicode.
};

/// A feed is refused. The message is one sentence for the user.
class UpdateFeedError : public std::runtime_error
{
public:
    explicit UpdateFeedError(UpdateFeedProblem problem);

    UpdateFeedProblem problem() const { return m_problem; }

private:
    UpdateFeedProblem m_problem;
};

/// A document as it was fetched: a text that nobody has vouched for yet, and a signature.
struct SignedUpdateText
{
    std::string text;
    Signature signature{};

    bool operator==(const SignedUpdateText&) const = default;
};

/// The version that a feed names, whether newer than ours or not. Nothing of the feed's text is looked at
/// before its signature has been verified.
/// \throws UpdateFeedError
AvailableUpdate readUpdateFeed(std::string_view document, const PublicKey& key);

/// The outer layer of a document; verifies nothing. \throws UpdateFeedError
SignedUpdateText signedUpdateText(std::string_view document);

/// Whether the text was signed with the secret key that belongs to this one.
bool isSignedBy(const SignedUpdateText& signedText, const PublicKey& key);

/// The inner layer: for a text whose signature has been verified. Control characters but for line feeds and
/// tabs are taken out of the notes, and so is what would turn the direction of other text around.
/// \throws UpdateFeedError
AvailableUpdate updateOfVerifiedText(std::string_view text);

/// The update where it is newer than our version; that we are up to date where it isn't: an older version
/// is never offered.
UpdateOutcome outcomeFor(const AvailableUpdate& update, std::string_view currentVersion);

/// 64 hexadecimal digits; absent for anything else.
std::optional<PublicKey> publicKeyFromHex(std::string_view text);

/// 1 to 4 numbers of 1 to 9 digits each with dots between them, and nothing else.
bool isVersion(std::string_view text);

/// By their numbers; missing ones are 0, so that 1.2 is 1.2.0. Unordered where one is no version.
std::partial_ordering compareVersions(std::string_view a, std::string_view b);

/// An absolute https URL of at most longestWebAddress bytes that leaves programs no room to understand it
/// differently: the host is of letters, digits, hyphens and dots, there is no user information, all
/// characters are of those that URLs are written in, and none of them stands for a control character.
bool isSafeWebAddress(std::string_view text);

} // namespace velmor
