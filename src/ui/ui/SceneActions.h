// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Uuid.h>

#include <functional>

namespace velmor {

/// How a view reaches the program's other windows.
struct SceneActions
{
    std::function<void()> openSettings;
    std::function<void()> openHistory;
    std::function<void(const Uuid& session)> openReport;
    std::function<void()> terminate; ///< Ends the program.
};

} // namespace velmor
