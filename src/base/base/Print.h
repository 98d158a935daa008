// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace velmor {

/// Prints "[Velmor] ", the text and a line break on standard output and flushes, so that the line
/// is there also when the program is killed right after it. Not for real-time threads.
void printLine(std::string_view text);

template <typename... Arguments>
void printLine(fmt::format_string<Arguments...> format,
               Arguments&&... arguments) requires(sizeof...(Arguments) > 0)
{
    printLine(std::string_view(fmt::format(format, std::forward<Arguments>(arguments)...)));
}

/// Prints the text and a line break as printLine() does, without its mark.
void printUnmarkedLine(std::string_view text);

enum class PrintedLines { onStandardOutput, onStandardError, nowhere };

/// Where lines are printed: on standard output, unless a program needs that for its result. Called
/// while no other thread prints.
void setPrintedLines(PrintedLines where);

/// Stops the program after a programming error: says what was wrong on standard error and aborts.
[[noreturn]] void stopOnProgrammingError(std::string_view text);

} // namespace velmor
