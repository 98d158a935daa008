// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/MainLoop.h>
#include <base/TimerQueue.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace velmor {

/// A main loop in real time for programs without a desktop. The timers of after() and every() run on
/// the monotonic clock, so that setting the wall clock does not move them.
class PollMainLoop final : public MainLoop
{
public:
    PollMainLoop();
    ~PollMainLoop() override;
    PollMainLoop(const PollMainLoop&) = delete;
    PollMainLoop& operator=(const PollMainLoop&) = delete;

    Date now() const override;
    void post(Task task) override;
    void after(double seconds, Task task) override;
    Timer every(double seconds, Task task) override;
    Timer at(Date moment, Task task) override;
    std::unique_ptr<Doorbell> doorbell(Task task) override;

    /// Runs on the calling thread, the main thread, until quit().
    void run();

    /// Ends run() before it waits again or runs another timer. Main thread.
    void quit() { m_quits = true; }

private:
    class WakeUp;
    class Bell;
    class WallClock;

    void runPosted();
    void runBells();

    std::shared_ptr<WakeUp> m_wakeUp;
    TimerQueue m_timers;      ///< By the monotonic clock.
    TimerQueue m_clockTimers; ///< By the wall clock.
    std::unique_ptr<WallClock> m_wallClock;
    bool m_quits = false;
    std::mutex m_postedMutex;
    std::vector<Task> m_posted;
    std::vector<std::weak_ptr<Bell>> m_bells;
};

} // namespace velmor
