// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/VirtualMainLoop.h>

#include <algorithm>
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
    m_timers.addOnce(m_elapsed + nanosecondsFrom(seconds), std::move(task));
}

Timer VirtualMainLoop::every(double seconds, Task task)
{
    const auto interval = nanosecondsFrom(seconds);
    return m_timers.addRepeating(m_elapsed + interval, interval, std::move(task));
}

Timer VirtualMainLoop::at(Date moment, Task task)
{
    return m_clockTimers.addSingle(moment.time_since_epoch(), std::move(task));
}

std::unique_ptr<Doorbell> VirtualMainLoop::doorbell(Task task)
{
    return std::make_unique<PostingDoorbell>(*this, std::move(task));
}

void VirtualMainLoop::runPosted()
{
    while (true) {
        std::vector<Task> tasks;
        {
            const std::lock_guard lock(m_postedMutex);
            std::swap(m_posted, tasks);
        }
        if (tasks.empty())
            return;
        for (const Task& task : tasks)
            task();
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
    while (true) {
        const auto due = m_timers.nextDue();
        const auto clockDue = m_clockTimers.nextDue();
        if (!due && !clockDue)
            break;
        // How long until either is due; a clock timer that is overdue waits no longer.
        constexpr auto never = TimerQueue::Moment::max();
        const auto wait = due ? std::max(*due - m_elapsed, TimerQueue::Moment(0)) : never;
        const auto clockWait =
            clockDue ? std::max(*clockDue - m_now.time_since_epoch(), TimerQueue::Moment(0)) : never;
        const auto step = std::min(wait, clockWait);
        const auto left = std::max<std::chrono::nanoseconds>(moment - m_now, TimerQueue::Moment(0));
        if (inclusive ? step > left : step >= left)
            break;
        m_now += step;
        m_elapsed += step;
        if (wait <= clockWait)
            m_timers.runNext(m_elapsed);
        else
            m_clockTimers.runNext(m_now.time_since_epoch());
        runPosted();
    }
    if (moment > m_now) {
        m_elapsed += moment - m_now;
        m_now = moment;
    }
}

} // namespace velmor
