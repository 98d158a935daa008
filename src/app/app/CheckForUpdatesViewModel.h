// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Observable.h>
#include <platform/SoftwareUpdater.h>

namespace velmor {

/// What the menu item "Check for Updates…" shows and does. Main thread. The updater outlives it.
class CheckForUpdatesViewModel final : public ObservableObject
{
public:
    explicit CheckForUpdatesViewModel(SoftwareUpdater& softwareUpdater)
        : updater(softwareUpdater)
        , canCheckForUpdates(*this, softwareUpdater.canCheckForUpdates.get())
        , m_changes(softwareUpdater.canCheckForUpdates.subscribe(
              [this](bool canCheck) { canCheckForUpdates = canCheck; }))
    {}

    SoftwareUpdater& updater;

    /// The updater's, from the start on.
    Published<bool> canCheckForUpdates;

    void checkForUpdates() { updater.checkForUpdates(); }

private:
    Subscription m_changes;
};

} // namespace velmor
