// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velmor {

/// The last part of a path; a backslash parts it too for a program of Windows.
std::string_view baseName(std::string_view path);

/// Whether a lower-case name is that of a part of a program rather than of the program: a plug-in scanner
/// or host, a crash handler, an updater.
bool isHelperName(std::string_view lowerCaseName);

/// Whether a program was started for a task of its own, as in "reaper --PluginScan:4711".
bool isHelperCommand(const std::vector<std::string>& arguments);

/// Which program a command is: the executable's own name, behind `env` and its assignments; the script
/// for an interpreter; the .exe in lower case for Wine. Empty for a command that only hands on to
/// another program.
/// \param executable The path that runs, where it is known; empty otherwise.
std::string programName(std::string_view executable, const std::vector<std::string>& arguments);

/// The name without a version at its end: "ardour-7.3.0" and "ardour8" are both "ardour".
std::string_view withoutVersion(std::string_view name);

} // namespace velmor
