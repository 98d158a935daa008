// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace velmor {

/// Starts a program, found by the path, with nothing of this one's: a session of its own, no standard
/// streams, signals as they are for everybody. \param command the program and its arguments.
/// \return its process; absent where it can't be started.
std::optional<pid_t> startProgram(const std::vector<std::string>& command);

} // namespace velmor
