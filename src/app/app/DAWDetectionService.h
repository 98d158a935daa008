// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Observable.h>
#include <platform/DefaultsStore.h>
#include <platform/Workspace.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace velmor {

/// Tells which digital audio workstations are running, and of the first that starts and the last that
/// ends. Watches for a fixed table of them and for those that the user has added. Main thread.
class DAWDetectionService final : public ObservableObject
{
public:
    /// Looks at what is running already: that raises nothing, as the callbacks are set later.
    DAWDetectionService(Workspace& workspace, DefaultsStore& defaults);

    using NamesByBundleID = std::map<std::string, std::string>;

    /// Display names of the watched programs that are running now.
    Published<NamesByBundleID> activeDAWs{*this, {}};

    /// Whether there is one in activeDAWs.
    Published<bool> isDAWRunning{*this, false};

    /// A workstation has started while none was running; takes its display name.
    std::function<void(const std::string& name)> onDAWLaunched;

    /// The last of them has ended.
    std::function<void()> onAllDAWsQuit;

    /// Display names of all that is watched for.
    const NamesByBundleID& watchedBundleIDs() const { return m_watchedBundleIDs; }

    /// Whether a program is of the fixed table.
    static bool isBuiltIn(const std::string& bundleID);

    /// Watches for one more, or gives a custom one another name. Does nothing for a program of the fixed
    /// table. One that is running already is noticed at its next launch.
    void addCustomDAW(const std::string& bundleID, const std::string& name);

    /// Does nothing for a program of the fixed table. One that is running stays active until it ends.
    void removeCustomDAW(const std::string& bundleID);

    /// Reads the custom entries anew, drops what is no longer watched for from activeDAWs, and looks at
    /// what is running. Where that is a workstation, onDAWLaunched is raised.
    void reloadCustomDAWs();

    /// Name of the active one whose identifier comes first; empty while there is none.
    std::string primaryDAWName() const;

    /// By identifier.
    std::vector<std::string> runningDAWNames() const;

private:
    void loadCustomDAWs();
    void writeCustomDAWs();
    void scanRunningApps();
    void handleAppLaunch(const Application& application);
    void handleAppTermination(const Application& application);
    void updateState();

    Workspace& m_workspace;
    DefaultsStore& m_defaults;
    NamesByBundleID m_watchedBundleIDs;
    std::vector<Subscription> m_workspaceObservers;
};

} // namespace velmor
