// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/UrlOpener.h>

#include <base/Print.h>
#include <linux/ProgramStart.h>

#include <utility>

#include <sys/wait.h>

namespace velmor {

namespace {

/// On a desktop that it doesn't know, xdg-open lives as long as the program that it has started: the next
/// URL does not wait for that.
constexpr double patienceSeconds = 2.0;

} // namespace

UrlOpener::UrlOpener(DescriptorMainLoop& loop, std::string program)
    : m_loop(loop)
    , m_program(std::move(program))
{}

UrlOpener::~UrlOpener()
{
    for (const std::string& url : m_waiting)
        startProgram({m_program, url});
}

void UrlOpener::open(const std::string& url)
{
    if (m_waiting.size() >= longestQueue) {
        printLine("too many URLs to open at once — {} dropped", url);
        return;
    }
    m_waiting.push_back(url);
    if (m_current == 0)
        startNext();
}

void UrlOpener::startNext()
{
    while (!m_waiting.empty() && m_current == 0) {
        const std::string url = std::move(m_waiting.front());
        m_waiting.pop_front();
        const auto id = startProgram({m_program, url});
        if (!id) {
            if (!std::exchange(m_isMissing, true))
                printLine("{} can't be started — URLs are not opened", m_program);
            continue;
        }
        m_isMissing = false;
        // Where the end can't be watched the patience ends the wait.
        m_children[*id] = ProcessEndWatch::of(*id, m_loop, [this, id = *id] { reap(id); });
        m_current = *id;
        m_patience = m_loop.every(patienceSeconds, [this] { goOn(); });
    }
}

void UrlOpener::goOn()
{
    const Timer last = std::move(m_patience);
    m_current = 0;
    std::erase_if(m_children, [](const auto& child) {
        return !child.second && ::waitpid(child.first, nullptr, WNOHANG) != 0;
    });
    startNext();
}

void UrlOpener::reap(pid_t id)
{
    ::waitpid(id, nullptr, WNOHANG);
    m_children.erase(id);
    if (id == m_current)
        goOn();
}

} // namespace velmor
