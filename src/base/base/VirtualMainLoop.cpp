// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/VirtualMainLoop.h>

#include <utility>

namespace velmor {

namespace {

class PostingDoorbell final : public Doorbell
{
public:
    PostingDoorbell(MainLoop& loop, Task task)
        : m_loop(loop)
        , m_task(std::make_shared<Task>(std::move(task)))
    {}

    void ring() noexcept override
    {
        m_loop.post([weak = std::weak_ptr(m_task)] {
            if (const auto task = weak.lock())
                (*task)();
        });
    }

private:
    MainLoop& m_loop;
    std::shared_ptr<Task> m_task;
};

} // namespace

VirtualMainLoop::VirtualMainLoop(Date start)
    : m_now(start)
{}

void VirtualMainLoop::post(Task task)
{
    const std::lock_guard lock(m_postedMutex);
    m_posted.push_back(std::move(task));
}

void VirtualMainLoop::after(double seconds, Task task)
{
    m_timers.addOnce(m_now.time_since_epoch() + nanosecondsFrom(seconds), std::move(task));
}

Timer VirtualMainLoop::every(double seconds, Task task)
{
    const auto interval = nanosecondsFrom(seconds);
    return m_timers.addRepeating(m_now.time_since_epoch() + interval, interval, std::move(task));
}

std::unique_ptr<Doorbell> VirtualMainLoop::doorbell(Task task)
{
    return std::make_unique<PostingDoorbell>(*this, std::move(task));
}

void VirtualMainLoop::runPosted()
{
    while (true) {
        {
            const std::lock_guard lock(m_postedMutex);
            std::swap(m_posted, m_running);
        }
        if (m_running.empty())
            return;
        for (const Task& task : m_running)
            task();
        m_running.clear();
    }
}

void VirtualMainLoop::runUntil(Date moment)
{
    run(moment, true);
}

void VirtualMainLoop::runBefore(Date moment)
{
    run(moment, false);
}

void VirtualMainLoop::runFor(double seconds)
{
    runUntil(m_now + nanosecondsFrom(seconds));
}

void VirtualMainLoop::run(Date moment, bool inclusive)
{
    runPosted();
    while (const auto due = m_timers.nextDue()) {
        const Date dueDate(*due);
        if (inclusive ? dueDate > moment : dueDate >= moment)
            break;
        if (dueDate > m_now)
            m_now = dueDate;
        m_timers.runNext(m_now.time_since_epoch());
        runPosted();
    }
    if (moment > m_now)
        m_now = moment;
}

} // namespace velmor
