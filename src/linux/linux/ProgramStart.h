// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace velmor {

/// Starts a program, found by the path, that goes on without this one: in a session of its own, with no
/// standard streams and all signals as they come. Environment and working directory are this one's. \param
/// command the program and its arguments. \return its process; absent where it can't be started.
std::optional<pid_t> startProgram(const std::vector<std::string>& command);

} // namespace velmor
