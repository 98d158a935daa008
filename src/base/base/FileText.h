// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <system_error>

namespace velmor {

/// Reads a whole regular file.
/// \param error why it couldn't be read, then the text is empty; false-like where it could.
/// \param spareCapacity room for so many bytes beyond the text, for readers that look ahead.
std::string fileText(const std::filesystem::path& file, std::error_code& error,
                     std::size_t spareCapacity = 0);

} // namespace velmor
