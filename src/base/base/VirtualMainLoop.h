// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/MainLoop.h>
#include <base/TimerQueue.h>

#include <mutex>
#include <vector>

namespace velmor {

/// A main loop whose clock jumps from event to event: a day passes in seconds and each run is the
/// same. The caller drives it; between two calls the clock stands still.
class VirtualMainLoop final : public MainLoop
{
public:
    explicit VirtualMainLoop(Date start);

    Date now() const override { return m_now; }
    void post(Task task) override;
    void after(double seconds, Task task) override;
    Timer every(double seconds, Task task) override;
    Timer at(Date moment, Task task) override;
    std::unique_ptr<Doorbell> doorbell(Task task) override;

    /// Sets the clock, forward or back, as its owner or a sleep of the machine would: the timers of
    /// after() and every() don't notice.
    void setClock(Date now) { m_now = now; }

    /// Runs what has been posted, and what that posts, without moving the clock.
    void runPosted();

    /// Runs every event up to and including the moment, then stands there. A moment in the past
    /// runs what is due and leaves the clock.
    void runUntil(Date moment);

    /// As runUntil(), but leaves the timers that are due at the very moment for the next call: what
    /// the caller does in between comes before them.
    void runBefore(Date moment);

    /// runUntil() the given number of seconds from now.
    void runFor(double seconds);

private:
    void run(Date moment, bool inclusive);

    Date m_now;
    TimerQueue::Moment m_elapsed{0}; ///< Since construction, whatever the clock was set to.
    TimerQueue m_timers;             ///< By m_elapsed.
    TimerQueue m_clockTimers;        ///< By m_now.

    std::mutex m_postedMutex;
    std::vector<Task> m_posted;
};

} // namespace velmor
