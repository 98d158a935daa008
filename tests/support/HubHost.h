// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <base/Calendar.h>
#include <base/VirtualMainLoop.h>
#include <platform/LoginItem.h>
#include <platform/MemoryDefaultsStore.h>
#include <platform/Workspace.h>
#include <support/FakeAudio.h>
#include <support/FakeNotificationCenter.h>
#include <support/FakePlayback.h>

#include <boost/signals2/signal.hpp>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velmor::test {

struct FakeLoginItem final : LoginItem
{
    std::vector<std::string> calls;
    bool enabled = false;
    bool refuses = false;

    bool isEnabled() const override { return enabled; }
    bool registerItem() override { return change("register", true); }
    bool unregisterItem() override { return change("unregister", false); }

private:
    bool change(const char* call, bool toEnabled)
    {
        calls.emplace_back(call);
        if (refuses)
            return false;
        enabled = toEnabled;
        return true;
    }
};

/// A desktop on which programs start and end as its owner says.
struct FakeWorkspace final : Workspace
{
    std::vector<Application> running;
    std::map<std::string, std::filesystem::path> locations; ///< By bundle identifier.
    std::map<std::filesystem::path, ApplicationIcon> icons; ///< By location.
    mutable int iconLookUps = 0;
    std::vector<std::string> opened; ///< URLs.
    boost::signals2::signal<void(const Application&)> launched;
    boost::signals2::signal<void(const Application&)> terminated;

    std::vector<Application> runningApplications() const override { return running; }
    std::vector<Application> installedApplications() const override { return {}; }
    Subscription onLaunch(const std::function<void(const Application&)>& callback) override
    {
        return launched.connect(callback);
    }
    Subscription onTermination(const std::function<void(const Application&)>& callback) override
    {
        return terminated.connect(callback);
    }
    std::optional<std::filesystem::path> applicationLocation(const std::string& bundleID) const override
    {
        ++iconLookUps;
        const auto found = locations.find(bundleID);
        return found != locations.end() ? std::optional(found->second) : std::nullopt;
    }
    std::optional<ApplicationIcon> icon(const std::filesystem::path& location) const override
    {
        const auto found = icons.find(location);
        return found != icons.end() ? std::optional(found->second) : std::nullopt;
    }

    void open(const std::string& url) override { opened.push_back(url); }

    void launch(const std::string& bundleID)
    {
        running.push_back({bundleID, bundleID});
        launched(running.back());
    }
    void terminate(const std::string& bundleID)
    {
        const auto found = std::ranges::find(running, bundleID, &Application::bundleID);
        if (found != running.end())
            running.erase(found);
        terminated({bundleID, bundleID});
    }
};

/// Counts how often widgets are told.
struct FakeWidgetCenter final : WidgetCenter
{
    int reloads = 0;

    void reloadAllTimelines() override { ++reloads; }
};

/// A desktop that wants URLs opened when its owner says so.
struct FakeURLEvents final : URLEvents
{
    boost::signals2::signal<void(const std::vector<std::string>&)> open;

    Subscription onOpen(const std::function<void(const std::vector<std::string>&)>& callback) override
    {
        return open.connect(callback);
    }
};

/// Everything that a hub runs on, in memory and in virtual time.
struct HubHost
{
    explicit HubHost(const char* start = "2026-03-02T09:00:00Z", const char* zone = "UTC")
        : loop(dateFromIsoText(start).value())
        , calendar(Calendar::inZone(zone).value())
    {}

    FakeAudio audio;
    FakePlayback playback;
    VirtualMainLoop loop;
    MemoryDefaultsStore defaults;
    Calendar calendar;
    FakeNotificationCenter notifications;
    FakeLoginItem loginItem;
    FakeWorkspace workspace;
    MemoryDefaultsStore widgetSuite;
    FakeWidgetCenter widgetCenter;
    FakeURLEvents urlEvents;
    SessionStorage storage = SessionStorage::nowhere();
    SessionManager::Bundle bundle = SessionManager::Bundle::none;

    Host host()
    {
        return {loop,      audio,     audio,   playback, defaults,     calendar,      notifications,
                loginItem, workspace, storage, bundle,   &widgetSuite, &widgetCenter, &urlEvents};
    }
};

/// The levels of a moment, as the measurement would publish them. Capture must be on.
inline void setLevels(AppState& hub, double dBA, double dBC, double peakDBC = 0, double peakDBA = 0)
{
    hub.audioService.currentSPL = dBA;
    hub.audioService.currentDBC = dBC;
    hub.audioService.peakDBC = peakDBC;
    hub.audioService.peakDBA = peakDBA;
}

} // namespace velmor::test
