// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <linux/DescriptorMainLoop.h>
#include <linux/DesktopEntries.h>
#include <linux/ProcessInfo.h>
#include <platform/Workspace.h>

#include <boost/signals2/signal.hpp>

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <sys/types.h>

namespace velmor {

/// The programs of the user, as their processes show them. Lists all processes once a second and looks
/// only into new ones; the end of a program's process is noticed at once.
///
/// A program is named by its Flatpak, by the scope that its launcher made for it, or by the desktop file of
/// its executable; workstations get the identifier that all desktops know them by. A plug-in scanner, a
/// crash handler or another process that a program starts is no program of its own. Main thread.
class ProcessWorkspace final : public Workspace
{
public:
    /// \param processes where the processes show; a test may have them elsewhere.
    explicit ProcessWorkspace(DescriptorMainLoop& loop, const std::vector<std::filesystem::path>& dataFolders,
                              const std::filesystem::path& processes = "/proc");
    ~ProcessWorkspace() override;
    ProcessWorkspace(const ProcessWorkspace&) = delete;
    ProcessWorkspace& operator=(const ProcessWorkspace&) = delete;

    std::vector<Application> runningApplications() const override;
    std::vector<Application> installedApplications() const override;
    Subscription onLaunch(const std::function<void(const Application&)>& callback) override;
    Subscription onTermination(const std::function<void(const Application&)>& callback) override;
    std::optional<std::filesystem::path> applicationLocation(const std::string& bundleID) const override;
    std::optional<ApplicationIcon> icon(const std::filesystem::path& location) const override;

    /// Looks for processes that have come and gone since the last time, as the timer does.
    void scan();

private:
    /// One launch of a program: of the scope's name where it has one, else of its process.
    struct Instance
    {
        std::string key;
        Application application;
    };

    /// A process without which its instance isn't running.
    struct Member
    {
        std::string instanceKey;
        std::string executable;
        std::shared_ptr<void> descriptor;
        std::unique_ptr<DescriptorWatch> exitWatch;
    };

    /// A process that has been listed.
    struct Listed
    {
        pid_t id = 0;
        int looksLeft = 0;
    };

    /// What a process stands for.
    struct Identity
    {
        std::string instanceKey;
        Application application;
    };

    std::vector<pid_t> listedNow() const;
    void look(pid_t id);
    std::optional<Identity> identityOf(const ProcessInfo& process);
    std::optional<Application> ownApplication(const ProcessInfo& process) const;
    bool isHelperOfOwnProgram(const ProcessInfo& process, const std::string& bundleID);
    bool hasAncestorOfProgram(const ProcessInfo& process, const std::string& bundleID) const;
    bool isListed(pid_t id) const;
    bool leadsItsScope(const ProcessInfo& process);
    void join(const ProcessInfo& process, const Identity& identity);
    void leave(pid_t id);
    void watchExit(pid_t id, Member& member);
    Application applicationWithID(const std::string& id, const std::string& fallbackName) const;

    DescriptorMainLoop& m_loop;
    DesktopEntries m_entries;
    bool m_hasRealProcesses;
    int m_processes;              ///< Descriptor of the folder.
    std::vector<Listed> m_listed; ///< By number.
    std::map<pid_t, Member> m_members;
    std::vector<Instance> m_instances;      ///< In the order in which they were noticed.
    std::map<std::string, pid_t> m_leaders; ///< First processes of scopes, also those that have ended.
    boost::signals2::signal<void(const Application&)> m_launched;
    boost::signals2::signal<void(const Application&)> m_terminated;
    std::map<pid_t, std::string> m_helpers; ///< Executables of processes that a program of the same started.
    Timer m_scanTimer;
};

} // namespace velmor
