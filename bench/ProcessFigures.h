// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <support/RunProgram.h>

#include <fstream>
#include <sstream>
#include <string>

#include <sys/types.h>
#include <unistd.h>

namespace velmor::bench {

/// User and system time of all threads.
inline double processorSeconds(pid_t process)
{
    const std::string stat = test::contentOf("/proc/" + std::to_string(process) + "/stat");
    std::istringstream fields(stat.substr(stat.rfind(')') + 2));
    std::string skipped;
    for (int i = 3; i < 14; ++i)
        fields >> skipped;
    double user = 0;
    double system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

/// A line of the process's status, in MiB.
inline double memory(pid_t process, const std::string& name)
{
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name + ":"))
            return std::stod(line.substr(name.size() + 1)) / 1024;
    }
    return 0;
}

} // namespace velmor::bench
