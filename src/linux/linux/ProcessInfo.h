// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace velmor {

/// The unit of systemd that a launcher has put a program into, with all that the program starts.
struct ApplicationScope
{
    std::string path;          ///< Of its control group; of one launch alone.
    std::string applicationID; ///< What the launcher calls the program.

    bool operator==(const ApplicationScope&) const = default;
};

/// What /proc tells of one process.
struct ProcessInfo
{
    pid_t id = 0;
    pid_t parent = 0;
    std::string executable;             ///< Path; of a file that has been replaced since, too.
    std::vector<std::string> arguments; ///< The program's own name first.
    std::optional<ApplicationScope> scope;

    bool operator==(const ProcessInfo&) const = default;
};

/// Absent for a text that is not that of a process's "stat".
std::optional<pid_t> parentFromStat(std::string_view stat);

/// The scope in a process's "cgroup"; absent for one that no launcher has made.
std::optional<ApplicationScope> scopeFromCgroup(std::string_view cgroup);

/// The sandbox of a Flatpak, from its ".flatpak-info": as good as a scope, where there is no systemd.
std::optional<ApplicationScope> scopeFromFlatpakInfo(std::string_view info);

/// The user for whom a process acts, from its "status".
std::optional<uid_t> ownerFromStatus(std::string_view status);

/// \param processes descriptor of /proc, also below.
std::optional<uid_t> readOwner(int processes, pid_t id);

/// Reads what a process is at this moment.
/// \return absent for one that has ended and for those of the kernel's own.
std::optional<ProcessInfo> readProcess(int processes, pid_t id);

} // namespace velmor
