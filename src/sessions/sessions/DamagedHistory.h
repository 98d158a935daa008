// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Date.h>

#include <filesystem>
#include <system_error>

namespace velmor {

/// Keeps a damaged history from the next save, which overwrites it: gives what the file holds a second
/// name beside it, with the date, and prints it. Does nothing where such a copy is there already, and
/// for what a save doesn't overwrite, such as a folder.
/// \return why that failed; false-like where nothing can be lost any more.
std::error_code setDamagedHistoryAside(const std::filesystem::path& file, Date now);

} // namespace velmor
