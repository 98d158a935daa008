// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace velmor {

/// A PDF with document information in place of what it has.
/// \param entries keys as in "/Title", and their texts in UTF-8.
std::string withInformation(const std::string& document,
                            const std::vector<std::pair<std::string, std::string>>& entries);

} // namespace velmor
