// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/MainLoop.h>
#include <base/TimerQueue.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace velmor {

/// Keeps a descriptor watched while it lives.
class DescriptorWatch
{
public:
    virtual ~DescriptorWatch() = default;
};

/// A main loop in real time whose need to run shows as one readable descriptor, so that it can live on
/// its own or as a guest in another event loop. The timers of after() and every() run on the monotonic
/// clock, so that setting the wall clock does not move them; those of at() follow the wall clock, also
/// when it is set and while the machine sleeps.
class DescriptorMainLoop : public MainLoop
{
public:
    DescriptorMainLoop();
    ~DescriptorMainLoop() override;
    DescriptorMainLoop(const DescriptorMainLoop&) = delete;
    DescriptorMainLoop& operator=(const DescriptorMainLoop&) = delete;

    Date now() const final;
    void post(Task task) final;
    void after(double seconds, Task task) final;
    Timer every(double seconds, Task task) final;
    Timer at(Date moment, Task task) final;

    /// The bell may also be rung in a signal handler.
    std::unique_ptr<Doorbell> doorbell(Task task) final;

    /// Runs the task whenever the descriptor is readable, until the watch is destroyed, which comes
    /// before the descriptor is closed. Main thread.
    [[nodiscard]] std::unique_ptr<DescriptorWatch> watch(int descriptor, Task task);

protected:
    /// Readable while there is something to do.
    int descriptor() const;

    /// Does what there is to do at this moment, without waiting for more.
    void dispatch();

    /// Ends the dispatch() that is under way before it runs another timer or watch.
    void leaveDispatch() { m_leavesDispatch = true; }

private:
    class Bell;
    class Descriptors;
    class Watch;

    void runPosted();
    void runBells();
    bool runTimer(TimerQueue::Moment monotonicLimit, TimerQueue::Moment wallLimit);

    std::shared_ptr<Descriptors> m_descriptors; ///< Shared: a bell may ring while the loop goes away.
    TimerQueue m_timers;                        ///< By the monotonic clock.
    TimerQueue m_clockTimers;                   ///< By the wall clock.
    bool m_leavesDispatch = false;
    std::mutex m_postedMutex;
    std::vector<Task> m_posted;
    std::vector<std::weak_ptr<Bell>> m_bells;
    std::map<std::uint64_t, std::shared_ptr<const Task>> m_watches; ///< By the number of the watch.
    std::uint64_t m_nextWatch = 0;
};

} // namespace velmor
