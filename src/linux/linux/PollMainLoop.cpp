// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/PollMainLoop.h>

#include <base/Print.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <optional>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
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

    /// Waits for a signal, at most until the timeout, and takes it.
    void wait(std::optional<std::chrono::nanoseconds> timeout)
    {
        pollfd descriptor{m_descriptor, POLLIN, 0};
        timespec limit{};
        if (timeout) {
            limit.tv_sec = std::chrono::floor<std::chrono::seconds>(*timeout).count();
            limit.tv_nsec = (*timeout % std::chrono::seconds(1)).count();
        }
        if (::ppoll(&descriptor, 1, timeout ? &limit : nullptr, nullptr) > 0) {
            std::uint64_t count = 0;
            [[maybe_unused]] const auto taken = ::read(m_descriptor, &count, sizeof count);
        }
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
        m_wakeUp->wait(due ? std::optional(*due - now) : std::nullopt);
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
