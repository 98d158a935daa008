// SPDX-License-Identifier: GPL-3.0-or-later
// Reads a history file into records and prints the most memory that it took, in KiB.
#include <base/FileText.h>
#include <base/JsonStream.h>
#include <sessions/SessionFormat.h>

#include <fmt/format.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <system_error>
#include <utility>

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 2)
        return 2;
    std::error_code error;
    std::string text = velmor::fileText(arguments[1], error, velmor::jsonSpareCapacity);
    if (error)
        return 2;
    const auto sessions = velmor::decodedHistory(std::move(text));
    // The peak of this program alone: what its parent took before the start is in getrusage().
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:"))
            fmt::print("{}\n", std::stol(line.substr(6)));
    }
    return sessions.capacity() > 0 || sessions.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}
