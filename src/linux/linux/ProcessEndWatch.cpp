// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/ProcessEndWatch.h>

#include <utility>

#include <sys/syscall.h>
#include <unistd.h>

namespace velmor {

std::unique_ptr<ProcessEndWatch> ProcessEndWatch::of(pid_t process, DescriptorMainLoop& loop, Task task)
{
    // Close-on-exec by itself.
    const auto descriptor = static_cast<int>(::syscall(SYS_pidfd_open, process, 0U));
    if (descriptor < 0)
        return nullptr;
    return std::unique_ptr<ProcessEndWatch>(new ProcessEndWatch(descriptor, loop, std::move(task)));
}

ProcessEndWatch::ProcessEndWatch(int descriptor, DescriptorMainLoop& loop, Task task)
    : m_descriptor(descriptor)
    , m_watch(loop.watch(descriptor, std::move(task)))
{}

ProcessEndWatch::~ProcessEndWatch()
{
    m_watch.reset();
    ::close(m_descriptor);
}

} // namespace velmor
