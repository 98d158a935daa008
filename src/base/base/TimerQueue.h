// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/MainLoop.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <queue>
#include <vector>

namespace velmor {

/// The timers of a main loop, ordered by the moment they are due; at equal moments the one that was
/// scheduled first goes first. Moments are nanoseconds on whatever clock the loop keeps.
class TimerQueue
{
public:
    using Moment = std::chrono::nanoseconds;

    void addOnce(Moment due, Task task);

    /// As addOnce(), but ends with its handle.
    Timer addSingle(Moment due, Task task);

    Timer addRepeating(Moment firstDue, Moment interval, Task task);

    /// When the next live timer is due; absent if there is none.
    std::optional<Moment> nextDue();

    /// Runs the next timer; there must be one. A repeating one is scheduled again before its task
    /// runs: at the first multiple of its interval that lies after `now`.
    void runNext(Moment now);

private:
    struct Entry
    {
        Moment due;
        std::uint64_t sequence;
        Moment interval; ///< 0 for a timer that fires once.
        std::weak_ptr<Task> task;
        std::shared_ptr<Task> onceTask; ///< What keeps the task of a timer that fires once.
    };
    struct Later
    {
        bool operator()(const Entry& a, const Entry& b) const
        {
            return a.due != b.due ? a.due > b.due : a.sequence > b.sequence;
        }
    };

    std::priority_queue<Entry, std::vector<Entry>, Later> m_entries;
    std::uint64_t m_nextSequence = 0;
};

} // namespace velmor
