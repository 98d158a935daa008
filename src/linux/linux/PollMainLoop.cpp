// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/PollMainLoop.h>

#include <base/Print.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace velmor {

/// An event descriptor that ends a poll(). Shared, because a bell may ring while the loop goes away.
class PollMainLoop::WakeUp
{
public:
    WakeUp()
        : m_descriptor(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
    {
        if (m_descriptor < 0)
            stopOnProgrammingError("no event descriptor for the main loop");
    }
    ~WakeUp() { ::close(m_descriptor); }
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;

    /// Neither locks nor blocks; may be called from a signal handler too.
    void signal() noexcept
    {
        const std::uint64_t one = 1;
        // A counter that is full has woken the loop already.
        [[maybe_unused]] const auto written = ::write(m_descriptor, &one, sizeof one);
    }

    /// Waits for a signal or for the other descriptor, at most until the timeout, and takes the signal.
    void wait(std::optional<std::chrono::nanoseconds> timeout, int other)
    {
        pollfd descriptors[] = {{m_descriptor, POLLIN, 0}, {other, POLLIN, 0}};
        timespec limit{};
        if (timeout) {
            limit.tv_sec = std::chrono::floor<std::chrono::seconds>(*timeout).count();
            limit.tv_nsec = (*timeout % std::chrono::seconds(1)).count();
        }
        const bool isWoken =
            ::ppoll(descriptors, std::size(descriptors), timeout ? &limit : nullptr, nullptr) > 0;
        if (isWoken && descriptors[0].revents != 0) {
            std::uint64_t count = 0;
            [[maybe_unused]] const auto taken = ::read(m_descriptor, &count, sizeof count);
        }
    }

private:
    int m_descriptor;
};

/// A descriptor that becomes readable when the wall clock shows a moment, or is set.
class PollMainLoop::WallClock
{
public:
    WallClock()
        : m_descriptor(::timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC))
    {
        if (m_descriptor < 0)
            stopOnProgrammingError("no timer descriptor for the main loop");
    }
    ~WallClock() { ::close(m_descriptor); }
    WallClock(const WallClock&) = delete;
    WallClock& operator=(const WallClock&) = delete;

    int descriptor() const { return m_descriptor; }

    void arm(TimerQueue::Moment moment)
    {
        // A time of 0 would disarm it.
        const auto due = std::max(moment, TimerQueue::Moment(1));
        itimerspec setting = {};
        setting.it_value.tv_sec = std::chrono::floor<std::chrono::seconds>(due).count();
        setting.it_value.tv_nsec = (due % std::chrono::seconds(1)).count();
        ::timerfd_settime(m_descriptor, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &setting, nullptr);
    }

private:
    int m_descriptor;
};

class PollMainLoop::Bell final
{
public:
    Bell(std::shared_ptr<WakeUp> wakeUp, Task task)
        : m_wakeUp(std::move(wakeUp))
        , m_task(std::move(task))
    {}

    void ring() noexcept
    {
        if (!m_rung.exchange(true, std::memory_order_acq_rel))
            m_wakeUp->signal();
    }

    void answer()
    {
        if (m_rung.exchange(false, std::memory_order_acq_rel))
            m_task();
    }

private:
    std::shared_ptr<WakeUp> m_wakeUp;
    Task m_task;
    std::atomic<bool> m_rung = false;
};

namespace {

TimerQueue::Moment monotonicNow()
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

TimerQueue::Moment wallNow()
{
    return std::chrono::system_clock::now().time_since_epoch();
}

template <typename Bell>
class BellHandle final : public Doorbell
{
public:
    explicit BellHandle(std::shared_ptr<Bell> bell)
        : m_bell(std::move(bell))
    {}
    void ring() noexcept override { m_bell->ring(); }

private:
    std::shared_ptr<Bell> m_bell;
};

} // namespace

PollMainLoop::PollMainLoop()
    : m_wakeUp(std::make_shared<WakeUp>())
    , m_wallClock(std::make_unique<WallClock>())
{}

PollMainLoop::~PollMainLoop() = default;

Date PollMainLoop::now() const
{
    return std::chrono::system_clock::now();
}

void PollMainLoop::post(Task task)
{
    {
        const std::lock_guard lock(m_postedMutex);
        m_posted.push_back(std::move(task));
    }
    m_wakeUp->signal();
}

void PollMainLoop::after(double seconds, Task task)
{
    m_timers.addOnce(monotonicNow() + nanosecondsFrom(seconds), std::move(task));
}

Timer PollMainLoop::every(double seconds, Task task)
{
    const auto interval = nanosecondsFrom(seconds);
    return m_timers.addRepeating(monotonicNow() + interval, interval, std::move(task));
}

Timer PollMainLoop::at(Date moment, Task task)
{
    return m_clockTimers.addSingle(moment.time_since_epoch(), std::move(task));
}

std::unique_ptr<Doorbell> PollMainLoop::doorbell(Task task)
{
    auto bell = std::make_shared<Bell>(m_wakeUp, std::move(task));
    std::erase_if(m_bells, [](const auto& weak) { return weak.expired(); });
    m_bells.push_back(bell);
    return std::make_unique<BellHandle<Bell>>(std::move(bell));
}

void PollMainLoop::run()
{
    m_quits = false;
    while (!m_quits) {
        runPosted();
        runBells();
        if (m_quits)
            return;
        const auto due = m_timers.nextDue();
        const auto now = monotonicNow();
        if (due && *due <= now) {
            m_timers.runNext(now);
            continue;
        }
        const auto clockDue = m_clockTimers.nextDue();
        if (clockDue && *clockDue <= wallNow()) {
            m_clockTimers.runNext(wallNow());
            continue;
        }
        // Armed anew each time: that also takes the news of a clock that was set.
        if (clockDue)
            m_wallClock->arm(*clockDue);
        m_wakeUp->wait(due ? std::optional(*due - now) : std::nullopt,
                       clockDue ? m_wallClock->descriptor() : -1);
    }
}

void PollMainLoop::runPosted()
{
    std::vector<Task> tasks;
    {
        const std::lock_guard lock(m_postedMutex);
        std::swap(tasks, m_posted);
    }
    for (const Task& task : tasks)
        task();
}

void PollMainLoop::runBells()
{
    // A task may hang up a bell or ask for another one.
    const auto bells = m_bells;
    for (const auto& weak : bells) {
        if (const auto bell = weak.lock())
            bell->answer();
    }
}

} // namespace velmor
