// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/ProgramStart.h>

#include <csignal>

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

namespace velmor {

std::optional<pid_t> startProgram(const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    // The called function takes them as it would change them, and doesn't.
    for (const std::string& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);

    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    sigset_t signals;
    sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes, &signals);
    sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes, &signals);
    constexpr int flags = POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    ::posix_spawnattr_setflags(&attributes, static_cast<short>(flags));

    pid_t id = 0;
    const int error = ::posix_spawnp(&id, arguments[0], &actions, &attributes, arguments.data(), environ);
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? std::optional(id) : std::nullopt;
}

} // namespace velmor
