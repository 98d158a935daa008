// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/DescriptorMainLoop.h>

#include <base/Print.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <limits>
#include <utility>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace velmor {

namespace {

/// What epoll hands back for the loop's own descriptors; watches are numbered from 0.
constexpr auto wakeUpNumber = std::numeric_limits<std::uint64_t>::max();
constexpr auto timerNumber = wakeUpNumber - 1;
constexpr auto wallClockNumber = wakeUpNumber - 2;

TimerQueue::Moment monotonicNow()
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

TimerQueue::Moment wallNow()
{
    return std::chrono::system_clock::now().time_since_epoch();
}

class Descriptor
{
public:
    explicit Descriptor(int descriptor)
        : m_descriptor(descriptor)
    {
        if (m_descriptor < 0)
            stopOnProgrammingError("no descriptor for the main loop");
    }
    ~Descriptor() { ::close(m_descriptor); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    operator int() const { return m_descriptor; }

    /// Takes what made it readable.
    void drain() const
    {
        std::uint64_t count = 0;
        [[maybe_unused]] const auto taken = ::read(m_descriptor, &count, sizeof count);
    }

private:
    int m_descriptor;
};

/// Becomes readable at a moment of its clock. The one on the wall clock does so too when that is set.
class TimerDescriptor
{
public:
    TimerDescriptor(int clock, int flags)
        : m_descriptor(::timerfd_create(clock, TFD_NONBLOCK | TFD_CLOEXEC))
        , m_flags(flags)
    {}

    operator int() const { return m_descriptor; }

    void arm(std::optional<TimerQueue::Moment> due)
    {
        if (due == m_due)
            return;
        m_due = due;
        itimerspec setting = {};
        if (due) {
            // A time of 0 would disarm it.
            const auto moment = std::max(*due, TimerQueue::Moment(1));
            setting.it_value.tv_sec = std::chrono::floor<std::chrono::seconds>(moment).count();
            setting.it_value.tv_nsec = (moment % std::chrono::seconds(1)).count();
        }
        ::timerfd_settime(m_descriptor, m_flags, &setting, nullptr);
    }

    /// After it was readable: it has to be armed anew, also where the clock was set.
    void drain()
    {
        m_descriptor.drain();
        m_due.reset();
    }

private:
    Descriptor m_descriptor;
    int m_flags;
    std::optional<TimerQueue::Moment> m_due;
};

} // namespace

class DescriptorMainLoop::Descriptors
{
public:
    Descriptors()
    {
        add(wakeUp, wakeUpNumber);
        add(timer, timerNumber);
        add(wallClock, wallClockNumber);
    }

    /// Neither locks nor blocks; may be called from a signal handler too.
    void signal() noexcept
    {
        const std::uint64_t one = 1;
        // A counter that is full has woken the loop already.
        [[maybe_unused]] const auto written = ::write(wakeUp, &one, sizeof one);
    }

    void add(int descriptor, std::uint64_t number) const
    {
        epoll_event event = {};
        event.events = EPOLLIN;
        event.data.u64 = number;
        if (::epoll_ctl(all, EPOLL_CTL_ADD, descriptor, &event) != 0)
            stopOnProgrammingError("a descriptor that can't be watched");
    }

    void remove(int descriptor) const { ::epoll_ctl(all, EPOLL_CTL_DEL, descriptor, nullptr); }

    const Descriptor all{::epoll_create1(EPOLL_CLOEXEC)};
    const Descriptor wakeUp{::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)};
    TimerDescriptor timer{CLOCK_MONOTONIC, TFD_TIMER_ABSTIME};
    TimerDescriptor wallClock{CLOCK_REALTIME, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET};
};

class DescriptorMainLoop::Bell final
{
public:
    Bell(std::shared_ptr<Descriptors> descriptors, Task task)
        : m_descriptors(std::move(descriptors))
        , m_task(std::move(task))
    {}

    void ring() noexcept
    {
        if (!m_rung.exchange(true, std::memory_order_acq_rel))
            m_descriptors->signal();
    }

    void answer()
    {
        if (m_rung.exchange(false, std::memory_order_acq_rel))
            m_task();
    }

private:
    std::shared_ptr<Descriptors> m_descriptors;
    Task m_task;
    std::atomic<bool> m_rung = false;
};

class DescriptorMainLoop::Watch final : public DescriptorWatch
{
public:
    Watch(DescriptorMainLoop& loop, int descriptor, std::uint64_t number)
        : m_loop(loop)
        , m_descriptor(descriptor)
        , m_number(number)
    {
        m_loop.m_descriptors->add(m_descriptor, m_number);
    }
    ~Watch() override
    {
        m_loop.m_watches.erase(m_number);
        m_loop.m_descriptors->remove(m_descriptor);
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

private:
    DescriptorMainLoop& m_loop;
    int m_descriptor;
    std::uint64_t m_number;
};

namespace {

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

DescriptorMainLoop::DescriptorMainLoop()
    : m_descriptors(std::make_shared<Descriptors>())
{}

DescriptorMainLoop::~DescriptorMainLoop() = default;

Date DescriptorMainLoop::now() const
{
    return std::chrono::system_clock::now();
}

void DescriptorMainLoop::post(Task task)
{
    {
        const std::lock_guard lock(m_postedMutex);
        m_posted.push_back(std::move(task));
    }
    m_descriptors->signal();
}

// A timer is armed by the end of the dispatch; one that is asked for outside of it wakes the loop.
void DescriptorMainLoop::after(double seconds, Task task)
{
    m_timers.addOnce(monotonicNow() + nanosecondsFrom(seconds), std::move(task));
    m_descriptors->signal();
}

Timer DescriptorMainLoop::every(double seconds, Task task)
{
    const auto interval = nanosecondsFrom(seconds);
    m_descriptors->signal();
    return m_timers.addRepeating(monotonicNow() + interval, interval, std::move(task));
}

Timer DescriptorMainLoop::at(Date moment, Task task)
{
    m_descriptors->signal();
    return m_clockTimers.addSingle(moment.time_since_epoch(), std::move(task));
}

std::unique_ptr<Doorbell> DescriptorMainLoop::doorbell(Task task)
{
    auto bell = std::make_shared<Bell>(m_descriptors, std::move(task));
    std::erase_if(m_bells, [](const auto& weak) { return weak.expired(); });
    m_bells.push_back(bell);
    return std::make_unique<BellHandle<Bell>>(std::move(bell));
}

std::unique_ptr<DescriptorWatch> DescriptorMainLoop::watch(int descriptor, Task task)
{
    const std::uint64_t number = m_nextWatch++;
    m_watches.emplace(number, std::make_shared<const Task>(std::move(task)));
    return std::make_unique<Watch>(*this, descriptor, number);
}

int DescriptorMainLoop::descriptor() const
{
    return m_descriptors->all;
}

void DescriptorMainLoop::dispatch()
{
    m_leavesDispatch = false;
    std::array<epoll_event, 32> events = {};
    const int count = ::epoll_wait(m_descriptors->all, events.data(), static_cast<int>(events.size()), 0);
    std::vector<std::uint64_t> readable;
    for (int i = 0; i < count; ++i) {
        const std::uint64_t number = events[static_cast<std::size_t>(i)].data.u64;
        if (number == wakeUpNumber)
            m_descriptors->wakeUp.drain();
        else if (number == timerNumber)
            m_descriptors->timer.drain();
        else if (number == wallClockNumber)
            m_descriptors->wallClock.drain();
        else
            readable.push_back(number);
    }

    // What becomes due meanwhile waits for the next time, so that a host loop gets its turn.
    const auto monotonicLimit = monotonicNow();
    const auto wallLimit = wallNow();
    do {
        runPosted();
        runBells();
    } while (!m_leavesDispatch && runTimer(monotonicLimit, wallLimit));

    for (const std::uint64_t number : readable) {
        if (m_leavesDispatch)
            break;
        // The task before may have ended this watch.
        const auto found = m_watches.find(number);
        if (found == m_watches.end())
            continue;
        const auto task = found->second;
        (*task)();
    }

    m_descriptors->timer.arm(m_timers.nextDue());
    m_descriptors->wallClock.arm(m_clockTimers.nextDue());
}

void DescriptorMainLoop::runPosted()
{
    std::vector<Task> tasks;
    {
        const std::lock_guard lock(m_postedMutex);
        std::swap(tasks, m_posted);
    }
    for (const Task& task : tasks)
        task();
}

void DescriptorMainLoop::runBells()
{
    // A task may hang up a bell or ask for another one.
    const auto bells = m_bells;
    for (const auto& weak : bells) {
        if (const auto bell = weak.lock())
            bell->answer();
    }
}

bool DescriptorMainLoop::runTimer(TimerQueue::Moment monotonicLimit, TimerQueue::Moment wallLimit)
{
    if (const auto due = m_timers.nextDue(); due && *due <= monotonicLimit) {
        m_timers.runNext(monotonicNow());
        return true;
    }
    if (const auto due = m_clockTimers.nextDue(); due && *due <= wallLimit) {
        m_clockTimers.runNext(wallNow());
        return true;
    }
    return false;
}

} // namespace velmor
