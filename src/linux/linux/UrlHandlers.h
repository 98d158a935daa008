// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace velmor {

/// Whether the user's desktop has a program for URLs of this one's scheme.
bool hasUrlHandler(const std::string& url);

} // namespace velmor
