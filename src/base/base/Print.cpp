// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Print.h>

#include <cstdio>
#include <cstdlib>

namespace velmor {

namespace {

bool printsOnStandardError = false;

} // namespace

void printLine(std::string_view text)
{
    std::FILE* const stream = printsOnStandardError ? stderr : stdout;
    fmt::print(stream, "[Velmor] {}\n", text);
    std::fflush(stream);
}

void printLinesOnStandardError()
{
    printsOnStandardError = true;
}

void stopOnProgrammingError(std::string_view text)
{
    fmt::print(stderr, "[Velmor] programming error: {}\n", text);
    std::abort();
}

} // namespace velmor
