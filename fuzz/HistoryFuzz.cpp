// SPDX-License-Identifier: GPL-3.0-or-later
// A history file: whatever it holds either does not decode, or decodes to sessions that can be written
// and read back as the same.
#include <sessions/SessionFormat.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace velmor;
    std::vector<Session> sessions;
    try {
        sessions = decodedHistory(std::string(reinterpret_cast<const char*>(data), size));
    } catch (const JsonError&) {
        return 0;
    }
    const auto text = encodedHistory(sessions);
    if (!text || decodedHistory(*text) != sessions)
        std::abort();
    return 0;
}
