// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <linux/DescriptorMainLoop.h>
#include <linux/ProcessEndWatch.h>

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <string>

#include <sys/types.h>

namespace velmor {

/// Has the desktop open URLs, by xdg-open, which talks to the portal in a sandbox. They are given to it one
/// after the other, as the argument that they are: no shell sees them. Main thread.
class UrlOpener
{
public:
    /// As many may wait. What comes on top of them is dropped, with one printed line: whoever sends so many
    /// means no good.
    static constexpr std::size_t longestQueue = 100;

    explicit UrlOpener(DescriptorMainLoop& loop, std::string program = "xdg-open");

    /// Those that wait are opened without waiting any more.
    ~UrlOpener();
    UrlOpener(const UrlOpener&) = delete;
    UrlOpener& operator=(const UrlOpener&) = delete;

    /// \param url without white space or control characters, and with a scheme.
    void open(const std::string& url);

private:
    void startNext();
    void goOn();
    void reap(pid_t id);

    DescriptorMainLoop& m_loop;
    std::string m_program;
    std::deque<std::string> m_waiting;
    std::map<pid_t, std::unique_ptr<ProcessEndWatch>> m_children; ///< Null where that can't be watched.
    pid_t m_current = 0; ///< The one that the next URL waits for; 0 for none.
    Timer m_patience;
    bool m_isMissing = false; ///< The program; that has been printed.
};

} // namespace velmor
