// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/StandardStreams.h>

#include <csignal>
#include <cstdio>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace velmor {

void prepareStandardStreams()
{
    int descriptor = 0;
    do
        descriptor = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    ::close(descriptor);
    std::signal(SIGPIPE, SIG_IGN);
}

bool writeLine(std::string_view line)
{
    const std::string text = std::string(line) + "\n";
    return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
}

} // namespace velmor
