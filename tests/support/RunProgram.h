// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <support/TemporaryFolder.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmor::test {

/// On a developer's machine the packages may be missing; in CI they are installed.
inline bool packagesMustBeThere()
{
    const char* const ci = std::getenv("CI");
    return ci && std::string(ci) == "true";
}

/// A program of the build.
inline std::string programPath(const std::string& name)
{
    const char* folder = std::getenv("VELMOR_PROGRAMS");
    if (!folder)
        throw std::runtime_error("VELMOR_PROGRAMS is not set: run the test through ctest");
    return std::string(folder) + "/" + name;
}

inline pid_t spawn(const std::vector<std::string>& command, const std::string& outputFile = "/dev/null",
                   const std::string& errorFile = "/dev/null")
{
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const auto& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    // Both may be one file, in which neither writes over what the other has written.
    constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND;
    ::posix_spawn_file_actions_addopen(&actions, 1, outputFile.c_str(), flags, 0600);
    ::posix_spawn_file_actions_addopen(&actions, 2, errorFile.c_str(), flags, 0600);
    pid_t process = -1;
    const int error = ::posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error("can't start " + command[0]);
    return process;
}

struct Outcome
{
    int status = -1; ///< Exit status; negative for the number of the signal that ended it.
    std::string output;
    std::string error;
    long peakMemoryKiB = 0;
};

/// Runs a program to its end.
inline Outcome run(const std::vector<std::string>& command)
{
    const TemporaryFolder folder;
    const pid_t process = spawn(command, folder / "output", folder / "error");
    int status = 0;
    rusage usage = {};
    ::wait4(process, &status, 0, &usage);
    Outcome outcome;
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    outcome.output = contentOf(folder / "output");
    outcome.error = contentOf(folder / "error");
    outcome.peakMemoryKiB = usage.ru_maxrss;
    return outcome;
}

} // namespace velmor::test
