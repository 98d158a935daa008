// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <support/TemporaryFolder.h>

#include <filesystem>
#include <string>
#include <vector>

namespace velmor::test {

/// A program that is installed.
inline void writeDesktopFile(const std::filesystem::path& dataFolder, const std::string& id,
                             const std::string& name, const std::string& exec, const std::string& more = {})
{
    std::filesystem::create_directories(dataFolder / "applications");
    writeFile(dataFolder / "applications" / (id + ".desktop"),
              "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=" + exec + "\nIcon=" + id + "\n" +
                  more);
}

/// A process as a test makes it up.
struct MadeUpProcess
{
    int id = 0;
    int parent = 1;
    std::string executable;
    std::vector<std::string> arguments; ///< Empty for the executable alone.
    std::string cgroup = "/user.slice/user-1000.slice/session-2.scope";
    std::string flatpakInfo;
};

/// A folder that looks like /proc, for programs that can't run here.
class FakeProcesses
{
public:
    const std::filesystem::path& path() const { return m_folder.path(); }

    void add(const MadeUpProcess& process)
    {
        const auto folder = m_folder / std::to_string(process.id);
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder / "root");
        std::filesystem::create_symlink(process.executable, folder / "exe");
        std::string commandLine;
        const auto arguments =
            process.arguments.empty() ? std::vector{process.executable} : process.arguments;
        for (const std::string& argument : arguments)
            commandLine += argument + '\0';
        writeFile(folder / "cmdline", commandLine);
        writeFile(folder / "stat",
                  std::to_string(process.id) + " (a) b) S " + std::to_string(process.parent) + " 1 1 0");
        writeFile(folder / "cgroup", "0::" + process.cgroup + "\n");
        if (!process.flatpakInfo.empty())
            writeFile(folder / "root/.flatpak-info", process.flatpakInfo);
    }

    /// One that its parent has not yet asked for.
    void addEnded(int id)
    {
        add({.id = id, .executable = "/gone"});
        std::filesystem::remove(m_folder / std::to_string(id) / "exe");
        writeFile(m_folder / std::to_string(id) / "cmdline", "");
    }

    void remove(int id) { std::filesystem::remove_all(m_folder / std::to_string(id)); }

private:
    TemporaryFolder m_folder;
};

/// The group of a program that a desktop's launcher has started.
inline std::string scopeOf(const std::string& unit)
{
    return "/user.slice/user-1000.slice/user@1000.service/app.slice/" + unit;
}

} // namespace velmor::test
