// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace velmor {

/// The system's own log. Main thread.
class SystemLog
{
public:
    virtual ~SystemLog() = default;

    /// Adds a line at the default level.
    virtual void log(std::string_view subsystem, std::string_view category, std::string_view message) = 0;
};

} // namespace velmor
