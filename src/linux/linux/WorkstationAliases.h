// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velmor {

/// The identifier under which all desktops know a workstation, from what this one calls it. Absent for any
/// other program.

/// \param id of a desktop file or a Flatpak.
std::optional<std::string> workstationWithID(std::string_view id);

/// \param program as programName() gives it, of Linux or, with ".exe" at its end, under Wine.
std::optional<std::string> workstationOfProgram(std::string_view program);

} // namespace velmor
