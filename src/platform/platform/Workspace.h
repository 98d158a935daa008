// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Observable.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmor {

/// A program with which the user works.
struct Application
{
    std::string bundleID; ///< Its identifier; empty where it has none.
    std::string name;     ///< For people.

    bool operator==(const Application&) const = default;
};

/// The picture that stands for a program: a name in the desktop's icon theme, or the absolute path of an
/// image file.
struct ApplicationIcon
{
    std::string name;

    bool operator==(const ApplicationIcon&) const = default;
};

/// The programs of the user's desktop. Main thread.
class Workspace
{
public:
    virtual ~Workspace() = default;

    /// In the order in which they were noticed.
    virtual std::vector<Application> runningApplications() const = 0;

    /// Those that could be started, by name.
    virtual std::vector<Application> installedApplications() const = 0;

    /// Calls back on the main thread when a program has started.
    [[nodiscard]] virtual Subscription onLaunch(const std::function<void(const Application&)>& callback) = 0;

    /// Calls back on the main thread when a program has ended.
    [[nodiscard]] virtual Subscription
    onTermination(const std::function<void(const Application&)>& callback) = 0;

    /// Where the program is described or installed; absent for one that is not.
    virtual std::optional<std::filesystem::path> applicationLocation(const std::string& bundleID) const = 0;

    /// The icon of what applicationLocation() gave; absent where it has none.
    virtual std::optional<ApplicationIcon> icon(const std::filesystem::path& location) const = 0;

    /// Whether a program is there for such URLs. It is not started by the question.
    virtual bool hasApplicationToOpen(const std::string& url) const = 0;

    /// Has the program that is there for such URLs open this one. Nobody is told how that went. URLs are
    /// opened in the order of the calls.
    virtual void open(const std::string& url) = 0;
};

/// For programs that don't look at others.
class NoWorkspace final : public Workspace
{
public:
    std::vector<Application> runningApplications() const override { return {}; }
    std::vector<Application> installedApplications() const override { return {}; }
    Subscription onLaunch(const std::function<void(const Application&)>&) override { return {}; }
    Subscription onTermination(const std::function<void(const Application&)>&) override { return {}; }
    std::optional<std::filesystem::path> applicationLocation(const std::string&) const override
    {
        return std::nullopt;
    }
    std::optional<ApplicationIcon> icon(const std::filesystem::path&) const override { return std::nullopt; }
    bool hasApplicationToOpen(const std::string&) const override { return false; }
    void open(const std::string&) override {}
};

} // namespace velmor
