// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Date.h>
#include <base/Observable.h>
#include <exposure/PauseState.h>

#include <optional>

namespace velmor {

/// Lets the user stop the accounting for a while without ending the session. Not kept over a restart.
/// Has no timer: a pause ends when somebody next asks. Main thread.
class MonitoringPauseService final : public ObservableObject
{
public:
    Published<bool> isPaused{*this, false};
    Published<std::optional<Date>> pauseUntil{*this, {}};

    /// Pauses, or changes how long the present pause lasts.
    /// \param duration seconds, at most a day; absent, not finite, 0 or less for a pause without end.
    void pause(std::optional<double> duration, Date now);

    void resume();

    /// The present state, after ending a pause that has run out: the end moment itself is past it.
    PauseState state(Date now);

    bool isCurrentlyPaused(Date now) { return state(now).isPaused; }
};

} // namespace velmor
