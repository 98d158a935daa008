// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <app/VelmorSessionFocusFilter.h>
#include <base/Observable.h>
#include <platform/DoNotDisturb.h>

namespace velmor {

/// Calls the Focus filter when the desktop's Do Not Disturb goes on and off, if the user has turned that on.
/// Main thread.
class FocusFollower
{
public:
    FocusFollower(AppState& hub, DoNotDisturb& doNotDisturb, VelmorSessionFocusFilter& filter);

private:
    Subscription m_changes;
};

} // namespace velmor
