// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Date.h>

#include <optional>

namespace velmor {

/// Whether the accounting is paused, and until when.
struct PauseState
{
    bool isPaused = false;
    std::optional<Date> pauseUntil; ///< Absent for a pause without end, and while not paused.

    bool operator==(const PauseState&) const = default;
};

} // namespace velmor
