// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Print.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace velmor {

namespace {

PrintedLines printedLines = PrintedLines::onStandardOutput;

} // namespace

void printLine(std::string_view text)
{
    printUnmarkedLine(fmt::format("[Velmor] {}", text));
}

void printUnmarkedLine(std::string_view text)
{
    if (printedLines == PrintedLines::nowhere)
        return;
    std::FILE* const stream = printedLines == PrintedLines::onStandardError ? stderr : stdout;
    // fmt::print would throw where the stream is closed or its disk full: a line that nobody reads is
    // no reason to end.
    const std::string line = fmt::format("{}\n", text);
    std::fwrite(line.data(), 1, line.size(), stream);
    std::fflush(stream);
}

void setPrintedLines(PrintedLines where)
{
    printedLines = where;
}

void stopOnProgrammingError(std::string_view text)
{
    const std::string line = fmt::format("[Velmor] programming error: {}\n", text);
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::abort();
}

} // namespace velmor
