// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <base/Calendar.h>
#include <base/VirtualMainLoop.h>
#include <platform/LoginItem.h>
#include <platform/MemoryDefaultsStore.h>
#include <support/FakeAudio.h>
#include <support/FakeNotificationCenter.h>
#include <support/FakePlayback.h>
#include <support/FakeWorkspace.h>

#include <boost/signals2/signal.hpp>

#include <functional>
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
