// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/Workspace.h>

#include <boost/signals2/signal.hpp>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velmor::test {

/// A desktop on which programs start and end as its owner says.
struct FakeWorkspace final : Workspace
{
    std::vector<Application> running;
    std::map<std::string, std::filesystem::path> locations; ///< By bundle identifier.
    std::map<std::filesystem::path, ApplicationIcon> icons; ///< By location.
    mutable int iconLookUps = 0;
    std::vector<std::string> opened;     ///< URLs.
    std::set<std::string> openedSchemes; ///< Those that a program is there for.
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

    bool hasApplicationToOpen(const std::string& url) const override
    {
        return openedSchemes.contains(url.substr(0, url.find(':')));
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

} // namespace velmor::test
