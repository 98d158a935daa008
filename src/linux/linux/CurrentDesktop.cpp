// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/CurrentDesktop.h>

#include <fmt/format.h>

#include <cstdlib>
#include <string>

namespace velmor {

bool isCurrentDesktop(std::string_view name)
{
    const char* desktops = std::getenv("XDG_CURRENT_DESKTOP");
    return desktops && fmt::format(":{}:", desktops).find(fmt::format(":{}:", name)) != std::string::npos;
}

} // namespace velmor
