// SPDX-License-Identifier: GPL-3.0-or-later
// A document as an update server may send it. Whole, it is refused: nobody guesses a signature. Each layer by
// itself either refuses it too, or makes of it what keeps the promises to those who show and open it.
#include <base/Text.h>
#include <linux/UpdateFeed.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

using namespace velmor;

void demand(bool isSo)
{
    if (!isSo)
        std::abort();
}

void readInner(std::string_view text)
{
    try {
        const AvailableUpdate update = updateOfVerifiedText(text);
        demand(isVersion(update.version));
        demand(compareVersions(update.version, update.version) == 0);
        demand(outcomeFor(update, update.version) == UpdateOutcome(UpToDate{update.version}));
        demand(isSafeWebAddress(update.page) && update.page.size() <= longestWebAddress);
        demand(update.notes.size() <= longestUpdateNotes && validUtf8(update.notes) == update.notes);
        demand(std::ranges::none_of(update.notes, [](char c) {
            return (c >= 0 && c < 0x20 && c != '\n' && c != '\t') || c == 0x7F;
        }));
    } catch (const UpdateFeedError&) {
    }
}

void readOuter(std::string_view document)
{
    try {
        readInner(signedUpdateText(document).text);
    } catch (const UpdateFeedError&) {
    }
}

void readWhole(std::string_view document)
{
    static const PublicKey key =
        publicKeyFromHex("d75a980182b10ab7d54bfed3c964073a0ee172f3daa62325af021a68f707511a").value();
    // The seed that is signed is the only document that may pass.
    constexpr std::string_view signedVersion = "1.2.3";
    try {
        demand(readUpdateFeed(document, key).version == signedVersion);
    } catch (const UpdateFeedError&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view document(reinterpret_cast<const char*>(data), size);
    readWhole(document);
    readOuter(document);
    readInner(document);
    isSafeWebAddress(document);
    isVersion(document);
    publicKeyFromHex(document);
    return 0;
}
