// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Date.h>

#include <functional>
#include <memory>

namespace velmor {

/// A piece of work for the main thread.
using Task = std::function<void()>;

/// Keeps a timer alive; the timer ends when the handle is destroyed, also from inside its own task.
using Timer = std::shared_ptr<Task>;

/// Wakes the main loop from a thread that must neither lock nor allocate.
class Doorbell
{
public:
    virtual ~Doorbell() = default;

    /// The bell's task runs on the main thread at least once after the present moment. Any thread,
    /// real-time ones included.
    virtual void ring() noexcept = 0;
};

/// The only source of time and of asynchrony. All tasks run on the main thread, one after the other;
/// posted ones come before timers that are due.
class MainLoop
{
public:
    virtual ~MainLoop() = default;

    /// The wall clock.
    virtual Date now() const = 0;

    /// Runs the task in a later turn of the loop, in the order of posting. Any thread; locks and
    /// allocates, so not for a real-time one.
    virtual void post(Task task) = 0;

    /// Runs the task once, `seconds` from now. Main thread. The task can't be taken back: it checks
    /// by itself whether what it works on still exists.
    virtual void after(double seconds, Task task) = 0;

    /// Runs the task every `seconds` (above 0), first after one interval, without drift. Where the loop
    /// was busy, a single firing stands for all that fell due meanwhile. Main thread.
    [[nodiscard]] virtual Timer every(double seconds, Task task) = 0;

    /// Runs the task once, when the wall clock shows the moment or a later one: a clock that is set, or
    /// goes on while the machine sleeps, is followed. Destroying the handle calls the timer off. Main
    /// thread.
    [[nodiscard]] virtual Timer at(Date moment, Task task) = 0;

    /// A bell for one task. Main thread; the bell is destroyed there too, after which its task does
    /// not run any more.
    [[nodiscard]] virtual std::unique_ptr<Doorbell> doorbell(Task task) = 0;
};

} // namespace velmor
