// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace velmor::test {

/// A small file system on a folder, in a view of the file systems that this process has alone. To be made
/// before the process has another thread. Where a container or the system forbids mounting there is none,
/// and problem() says why: a test can only be skipped then.
class SmallDisk
{
public:
    SmallDisk(std::string folder, std::string size)
        : m_folder(std::move(folder))
        , m_options("size=" + std::move(size))
        , m_problem(namespaceProblem())
    {
        if (m_problem.empty() && ::mount("none", m_folder.c_str(), "tmpfs", 0, m_options.c_str()) != 0)
            m_problem = systemError("mount");
    }
    ~SmallDisk()
    {
        if (m_problem.empty())
            ::umount2(m_folder.c_str(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    /// Empty if it is there.
    const std::string& problem() const { return m_problem; }

    /// \return whether that could be done.
    bool setReadOnly(bool isReadOnly) const
    {
        const unsigned long flags = isReadOnly ? MS_REMOUNT | MS_RDONLY : MS_REMOUNT;
        return ::mount("none", m_folder.c_str(), "tmpfs", flags, m_options.c_str()) == 0;
    }

private:
    static std::string systemError(const char* call)
    {
        return std::string(call) + ": " + std::strerror(errno);
    }

    static const std::string& namespaceProblem()
    {
        static const std::string problem = enterMountNamespace();
        return problem;
    }

    static std::string enterMountNamespace()
    {
        const auto user = ::getuid();
        const auto group = ::getgid();
        if (::unshare(CLONE_NEWNS | (user == 0 ? 0 : CLONE_NEWUSER)) != 0)
            return systemError("unshare");
        if (user != 0) {
            std::ofstream("/proc/self/setgroups") << "deny";
            std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
            std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
        }
        return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 ? "" : systemError("mount");
    }

    std::string m_folder;
    std::string m_options;
    std::string m_problem;
};

} // namespace velmor::test
