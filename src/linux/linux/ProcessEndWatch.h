// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <linux/DescriptorMainLoop.h>

#include <memory>

#include <sys/types.h>

namespace velmor {

/// Runs a task when a process has ended, as long as the object lives. Main thread.
class ProcessEndWatch
{
public:
    /// Null where the process can't be watched: it may be gone already.
    static std::unique_ptr<ProcessEndWatch> of(pid_t process, DescriptorMainLoop& loop, Task task);

    ~ProcessEndWatch();
    ProcessEndWatch(const ProcessEndWatch&) = delete;
    ProcessEndWatch& operator=(const ProcessEndWatch&) = delete;

private:
    ProcessEndWatch(int descriptor, DescriptorMainLoop& loop, Task task);

    int m_descriptor;
    std::unique_ptr<DescriptorWatch> m_watch;
};

} // namespace velmor
