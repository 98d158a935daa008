// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <linux/DescriptorMainLoop.h>
#include <linux/DesktopEntries.h>
#include <linux/ProcessEndWatch.h>
#include <linux/ProcessInfo.h>
#include <linux/UrlHandlers.h>
#include <linux/UrlOpener.h>
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
/// its executable; workstations get the identifier that all desktops know them by. It runs from the first
/// of its processes to the last: a second start that only hands over to the first one ends nothing. A
/// plug-in scanner, a crash handler or another process that a program starts is none of them. Main thread.
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

    bool hasApplicationToOpen(const std::string& url) const override { return hasUrlHandler(url); }
    void open(const std::string& url) override { m_opener.open(url); }

    /// Looks for processes that have come and gone since the last time, as the timer does.
    void scan();

private:
    /// What a process stands for.
    struct Identity
    {
        Application application;
        std::string program; ///< As programName() has it.
        bool isOwn = false;  ///< Its own executable says so, not only the scope that it leads.
    };

    /// A process by which its program is running.
    struct Member
    {
        Identity identity;
        std::string executable;
        std::string scopePath;
        std::unique_ptr<ProcessEndWatch> endWatch;
    };

    /// A process of a program that another process of the same program has started.
    struct Helper
    {
        std::string executable;
        pid_t ancestor = 0; ///< The one that has started it.
        int scansAlone = 0; ///< Since that one is a member no more.
    };

    /// The first process of a scope.
    struct Leader
    {
        pid_t id = 0;
        bool hasLedToProgram = false; ///< A process of the program's own has come, also if it has ended.
    };

    /// A process that has been listed.
    struct Listed
    {
        pid_t id = 0;
        int looksLeft = 0;
    };

    std::optional<std::vector<pid_t>> listedNow() const;
    std::vector<pid_t> noteListed(const std::vector<pid_t>& ids);
    bool isListed(pid_t id) const;
    bool isOfThisUser(pid_t id) const;
    void look(pid_t id);
    std::optional<Identity> identityOf(const ProcessInfo& process);
    std::optional<Application> ownApplication(const std::string& program) const;
    bool isHelper(const ProcessInfo& process, const std::string& program);
    std::optional<pid_t> ancestorOfProgram(const ProcessInfo& process, const std::string& program) const;
    void followHelpers();
    bool leadsItsScope(const ProcessInfo& process);
    void join(const ProcessInfo& process, const Identity& identity);
    void leave(pid_t id);
    void watchExit(pid_t id, Member& member);
    bool isRunning(const std::string& bundleID) const;
    Application applicationWithID(const std::string& id) const;

    DescriptorMainLoop& m_loop;
    UrlOpener m_opener;
    DesktopEntries m_entries;
    bool m_hasRealProcesses;
    int m_processes;              ///< Descriptor of the folder.
    std::vector<Listed> m_listed; ///< By number.
    std::map<pid_t, Member> m_members;
    std::vector<Application> m_running;      ///< In the order in which they were noticed.
    std::map<std::string, Leader> m_leaders; ///< By scope, also those that have ended.
    boost::signals2::signal<void(const Application&)> m_launched;
    boost::signals2::signal<void(const Application&)> m_terminated;
    std::map<pid_t, Helper> m_helpers;
    Timer m_scanTimer;
};

} // namespace velmor
