// SPDX-License-Identifier: GPL-3.0-or-later
// The journal of a running session. The first byte says whether the lines are taken as they are or get
// their checksums first, which nobody would guess.
#include <sessions/SessionFormat.h>
#include <sessions/SessionJournal.h>

#include <boost/crc.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

std::string withChecksums(std::string_view lines)
{
    std::string journal;
    while (!lines.empty()) {
        const std::size_t end = std::min(lines.find('\n'), lines.size());
        const std::string_view line = lines.substr(0, end);
        lines.remove_prefix(std::min(end + 1, lines.size()));
        boost::crc_32_type crc;
        crc.process_bytes(line.data(), line.size());
        journal += fmt::format("\n{:08x} {}", crc.checksum(), line);
    }
    return journal;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace velmor;
    if (size == 0)
        return 0;
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto session =
        SessionJournals::sessionFrom(data[0] % 2 == 0 ? std::string(text) : withChecksums(text));
    if (!session)
        return 0;
    // What is recovered goes into the history: it must be fit for it.
    const auto history = encodedHistory(std::vector{*session});
    if (!history || decodedHistory(*history) != std::vector{*session})
        std::abort();
    return 0;
}
