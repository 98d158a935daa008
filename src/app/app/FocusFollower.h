// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <app/VelmorSessionFocusFilter.h>
#include <base/Observable.h>
#include <platform/DoNotDisturb.h>

namespace velmor {

/// Calls the Focus filter when the desktop's Do Not Disturb goes on and off, if the user has turned that on.
/// The filter itself isn't told the direction: a call that would run against it is left out, so that a Do Not
/// Disturb from before the program begins no session by its end. Main thread.
class FocusFollower
{
public:
    FocusFollower(AppState& hub, DoNotDisturb& doNotDisturb, VelmorSessionFocusFilter& filter);
    ~FocusFollower();
    FocusFollower(const FocusFollower&) = delete;
    FocusFollower& operator=(const FocusFollower&) = delete;

private:
    void follow(bool isOn);
    void forget();

    AppState& m_hub;
    VelmorSessionFocusFilter& m_filter;
    bool m_hasActivated = false; ///< What the filter remembers is from here.
    Subscription m_changes;
};

} // namespace velmor
