// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/TimerQueue.h>

#include <utility>

namespace velmor {

void TimerQueue::addOnce(Moment due, Task task)
{
    auto kept = std::make_shared<Task>(std::move(task));
    m_entries.push({due, m_nextSequence++, Moment(0), kept, kept});
}

Timer TimerQueue::addSingle(Moment due, Task task)
{
    return addRepeating(due, Moment(0), std::move(task));
}

Timer TimerQueue::addRepeating(Moment firstDue, Moment interval, Task task)
{
    auto timer = std::make_shared<Task>(std::move(task));
    m_entries.push({firstDue, m_nextSequence++, interval, timer, nullptr});
    return timer;
}

std::optional<TimerQueue::Moment> TimerQueue::nextDue()
{
    while (!m_entries.empty() && m_entries.top().task.expired())
        m_entries.pop();
    if (m_entries.empty())
        return std::nullopt;
    return m_entries.top().due;
}

void TimerQueue::runNext(Moment now)
{
    Entry entry = m_entries.top();
    m_entries.pop();
    const auto task = entry.task.lock();
    if (!task)
        return;
    if (entry.interval > Moment(0)) {
        entry.due += entry.interval;
        if (entry.due <= now)
            entry.due += ((now - entry.due) / entry.interval + 1) * entry.interval;
        entry.sequence = m_nextSequence++;
        m_entries.push(entry);
    }
    (*task)();
}

} // namespace velmor
