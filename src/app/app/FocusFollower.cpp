// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/FocusFollower.h>

namespace velmor {

// The filter itself isn't told the direction. One that would run against it is left out: a Focus that was on
// before the program must not begin a session by its end.
FocusFollower::FocusFollower(AppState& hub, DoNotDisturb& doNotDisturb, VelmorSessionFocusFilter& filter)
    : m_changes(doNotDisturb.onChange([&hub, &filter](bool isOn) {
        if (hub.settings.focusFilterEnabled && isOn != filter.awaitsDeactivation())
            filter.perform(hub.settings.focusFilterDAW.get());
    }))
{}

} // namespace velmor
