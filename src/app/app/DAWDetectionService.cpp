// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/DAWDetectionService.h>

#include <integrations/Constants.h>

namespace velmor {

bool DAWDetectionService::isBuiltIn(const std::string& bundleID)
{
    return Constants::knownDAWBundleIDs.contains(bundleID);
}

DAWDetectionService::DAWDetectionService(Workspace& workspace, DefaultsStore& defaults)
    : m_workspace(workspace)
    , m_defaults(defaults)
    , m_watchedBundleIDs(Constants::knownDAWBundleIDs)
{
    loadCustomDAWs();
    m_workspaceObservers.push_back(
        workspace.onLaunch([this](const Application& application) { handleAppLaunch(application); }));
    m_workspaceObservers.push_back(workspace.onTermination(
        [this](const Application& application) { handleAppTermination(application); }));
    scanRunningApps();
}

void DAWDetectionService::addCustomDAW(const std::string& bundleID, const std::string& name)
{
    if (isBuiltIn(bundleID))
        return;
    m_watchedBundleIDs[bundleID] = name;
    writeCustomDAWs();
}

void DAWDetectionService::removeCustomDAW(const std::string& bundleID)
{
    if (isBuiltIn(bundleID))
        return;
    if (m_watchedBundleIDs.erase(bundleID) > 0)
        writeCustomDAWs();
}

void DAWDetectionService::reloadCustomDAWs()
{
    m_watchedBundleIDs = Constants::knownDAWBundleIDs;
    loadCustomDAWs();
    activeDAWs.update([this](NamesByBundleID& active) {
        std::erase_if(active,
                      [this](const auto& entry) { return !m_watchedBundleIDs.contains(entry.first); });
    });
    scanRunningApps();
}

std::string DAWDetectionService::primaryDAWName() const
{
    const NamesByBundleID& active = activeDAWs;
    return active.empty() ? std::string() : active.begin()->second;
}

std::vector<std::string> DAWDetectionService::runningDAWNames() const
{
    std::vector<std::string> names;
    for (const auto& [bundleID, name] : activeDAWs.get())
        names.push_back(name);
    return names;
}

// A stored entry can't rename a program of the fixed table.
void DAWDetectionService::loadCustomDAWs()
{
    const auto stored = m_defaults.get<DefaultsDictionary>(Constants::customDAWsKey);
    if (!stored)
        return;
    for (const auto& [bundleID, name] : *stored) {
        if (!isBuiltIn(bundleID))
            m_watchedBundleIDs[bundleID] = name;
    }
}

void DAWDetectionService::writeCustomDAWs()
{
    DefaultsDictionary custom;
    for (const auto& [bundleID, name] : m_watchedBundleIDs) {
        if (!isBuiltIn(bundleID))
            custom.emplace(bundleID, name);
    }
    m_defaults.set(Constants::customDAWsKey, std::move(custom));
}

void DAWDetectionService::scanRunningApps()
{
    for (const Application& application : m_workspace.runningApplications()) {
        const auto watched = m_watchedBundleIDs.find(application.bundleID);
        if (watched == m_watchedBundleIDs.end())
            continue;
        if (!activeDAWs.get().contains(watched->first))
            activeDAWs.update([&](NamesByBundleID& active) { active.insert(*watched); });
    }
    updateState();
    if (isDAWRunning && onDAWLaunched)
        onDAWLaunched(primaryDAWName());
}

void DAWDetectionService::handleAppLaunch(const Application& application)
{
    const auto watched = m_watchedBundleIDs.find(application.bundleID);
    if (watched == m_watchedBundleIDs.end())
        return;
    const bool wasNoneRunning = activeDAWs.get().empty();
    const std::string name = watched->second;
    activeDAWs.update([&](NamesByBundleID& active) { active[application.bundleID] = name; });
    updateState();
    if (wasNoneRunning && onDAWLaunched)
        onDAWLaunched(name);
}

// Looked up among the active ones alone: a custom entry that was removed while its program ran still ends
// properly.
void DAWDetectionService::handleAppTermination(const Application& application)
{
    if (!activeDAWs.get().contains(application.bundleID))
        return;
    activeDAWs.update([&](NamesByBundleID& active) { active.erase(application.bundleID); });
    updateState();
    if (!isDAWRunning && onAllDAWsQuit)
        onAllDAWsQuit();
}

void DAWDetectionService::updateState()
{
    isDAWRunning = !activeDAWs.get().empty();
}

} // namespace velmor
