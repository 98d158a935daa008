// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/ProcessInfo.h>

#include <linux/KeyFile.h>

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <climits>
#include <cstddef>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmor {

namespace {

constexpr std::string_view deletedMark = " (deleted)";

/// Beyond this the arguments tell nothing more of what runs.
constexpr std::size_t longestText = 16384;

std::string textOf(int folder, const std::string& name)
{
    const int file = ::openat(folder, name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
        return {};
    std::string text;
    std::array<char, 4096> part = {};
    ssize_t count = 0;
    while (text.size() < longestText && (count = ::read(file, part.data(), part.size())) > 0)
        text.append(part.data(), static_cast<std::size_t>(count));
    ::close(file);
    return text;
}

std::string executableOf(int processes, const std::string& folder)
{
    std::array<char, PATH_MAX> path = {};
    const ssize_t length = ::readlinkat(processes, (folder + "/exe").c_str(), path.data(), path.size());
    if (length <= 0)
        return {};
    std::string_view executable(path.data(), static_cast<std::size_t>(length));
    if (executable.ends_with(deletedMark))
        executable.remove_suffix(deletedMark.size());
    return std::string(executable);
}

std::vector<std::string> argumentsIn(std::string_view text)
{
    std::vector<std::string> arguments;
    while (!text.empty()) {
        const auto length = std::min(text.find('\0'), text.size());
        arguments.emplace_back(text.substr(0, length));
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return arguments;
}

/// The last of the parts that "-" separates.
std::string_view lastPart(std::string_view text)
{
    const auto dash = text.rfind('-');
    return dash == std::string_view::npos ? text : text.substr(dash + 1);
}

std::optional<char> escapedCharacter(std::string_view text)
{
    if (text.size() < 4 || !text.starts_with("\\x"))
        return std::nullopt;
    unsigned value = 0;
    const auto [end, error] = std::from_chars(text.data() + 2, text.data() + 4, value, 16);
    if (error != std::errc() || end != text.data() + 4)
        return std::nullopt;
    return static_cast<char>(value);
}

/// Undoes the escapes of unit names: "\x2d" is "-".
std::string unescaped(std::string_view name)
{
    std::string text;
    while (!name.empty()) {
        const auto character = escapedCharacter(name);
        text += character.value_or(name.front());
        name.remove_prefix(character ? 4 : 1);
    }
    return text;
}

/// The program's part in the name of a launcher's unit: app-LAUNCHER-ID-RANDOM.scope or
/// app-LAUNCHER-ID@RANDOM.service, each without launcher too. Empty for any other unit.
std::string applicationIDIn(std::string_view unit)
{
    constexpr std::string_view prefix = "app-";
    constexpr std::string_view scope = ".scope";
    constexpr std::string_view service = ".service";
    if (!unit.starts_with(prefix))
        return {};
    unit.remove_prefix(prefix.size());
    if (unit.ends_with(scope)) {
        unit.remove_suffix(scope.size());
        const auto random = unit.rfind('-');
        return random != std::string_view::npos ? unescaped(lastPart(unit.substr(0, random))) : std::string();
    }
    if (unit.ends_with(service)) {
        unit.remove_suffix(service.size());
        return unescaped(lastPart(unit.substr(0, unit.find('@'))));
    }
    return {};
}

} // namespace

std::optional<pid_t> parentFromStat(std::string_view stat)
{
    // "4711 (the name) S 42 ...", where the name may hold anything.
    const auto nameEnd = stat.rfind(')');
    if (nameEnd == std::string_view::npos || stat.size() < nameEnd + 4)
        return std::nullopt;
    stat.remove_prefix(nameEnd + 4);
    pid_t parent = 0;
    const auto [end, error] = std::from_chars(stat.data(), stat.data() + stat.size(), parent);
    return error == std::errc() ? std::optional(parent) : std::nullopt;
}

std::optional<ApplicationScope> scopeFromCgroup(std::string_view cgroup)
{
    while (!cgroup.empty()) {
        const auto length = std::min(cgroup.find('\n'), cgroup.size());
        std::string_view line = cgroup.substr(0, length);
        cgroup.remove_prefix(std::min(length + 1, cgroup.size()));
        constexpr std::string_view unified = "0::";
        if (!line.starts_with(unified))
            continue;
        line.remove_prefix(unified.size());
        // A program that is itself a service manager may have groups below its own.
        std::size_t start = 0;
        while (start < line.size()) {
            const auto end = std::min(line.find('/', start), line.size());
            if (auto id = applicationIDIn(line.substr(start, end - start)); !id.empty())
                return ApplicationScope{std::string(line.substr(0, end)), std::move(id)};
            start = end + 1;
        }
    }
    return std::nullopt;
}

std::optional<ApplicationScope> scopeFromFlatpakInfo(std::string_view info)
{
    const auto keys = KeyFile::fromText(info);
    const auto id = keys ? keys->text("Application", "name") : std::nullopt;
    if (!id || id->empty())
        return std::nullopt;
    return ApplicationScope{"flatpak:" + keys->text("Instance", "instance-id").value_or(*id), *id};
}

std::optional<uid_t> ownerFromStatus(std::string_view status)
{
    // "Uid:" and the real, the effective and two more users.
    constexpr std::string_view key = "\nUid:\t";
    const auto line = status.find(key);
    if (line == std::string_view::npos)
        return std::nullopt;
    status.remove_prefix(line + key.size());
    const auto separator = status.find('\t');
    if (separator == std::string_view::npos)
        return std::nullopt;
    status.remove_prefix(separator + 1);
    uid_t owner = 0;
    const auto [end, error] = std::from_chars(status.data(), status.data() + status.size(), owner);
    return error == std::errc() ? std::optional(owner) : std::nullopt;
}

std::optional<uid_t> readOwner(int processes, pid_t id)
{
    return ownerFromStatus(textOf(processes, fmt::format("{}/status", id)));
}

std::optional<ProcessInfo> readProcess(int processes, pid_t id)
{
    const std::string folder = fmt::format("{}", id);
    ProcessInfo process;
    process.id = id;
    process.arguments = argumentsIn(textOf(processes, folder + "/cmdline"));
    process.executable = executableOf(processes, folder);
    // Where a program has rights of its own, only its command may be read.
    if (process.executable.empty() && !process.arguments.empty())
        process.executable = process.arguments.front();
    const auto parent = parentFromStat(textOf(processes, folder + "/stat"));
    if (process.executable.empty() || !parent)
        return std::nullopt;
    process.parent = *parent;
    process.scope = scopeFromCgroup(textOf(processes, folder + "/cgroup"));
    if (auto sandbox = scopeFromFlatpakInfo(textOf(processes, folder + "/root/.flatpak-info"))) {
        // Started in a terminal it is in that one's scope. Its own tells it from what is outside.
        if (!process.scope || process.scope->applicationID != sandbox->applicationID)
            process.scope = std::move(sandbox);
    }
    return process;
}

} // namespace velmor
