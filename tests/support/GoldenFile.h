// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace velmor::test {

/// A reviewed file of what is expected. \throws std::runtime_error where it is missing.
inline std::ifstream openGolden(const std::filesystem::path& file)
{
    std::ifstream stream(file);
    if (!stream)
        throw std::runtime_error(file.native() + " is missing");
    return stream;
}

} // namespace velmor::test
