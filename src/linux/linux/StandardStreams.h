// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace velmor {

/// At the begin of a program. Started with its standard streams closed, it would take its own files for them;
/// a reader of its lines that has gone away must not end it.
void prepareStandardStreams();

/// Writes a line on standard output at once. \return whether it arrived; otherwise errno says why not.
bool writeLine(std::string_view line);

} // namespace velmor
