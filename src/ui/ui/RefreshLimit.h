// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QTimer>

#include <functional>

namespace velmor {

/// Lets what is shown follow a fast source, no more often than the eye needs. Main thread.
class RefreshLimit
{
public:
    /// \param refresh is called back at once for a change after a calm time, and so many milliseconds after
    /// the call before for others.
    RefreshLimit(int leastMilliseconds, std::function<void()> refresh);

    /// Something has changed.
    void changed();

    /// Calls back now.
    void refreshNow();

private:
    int m_leastMilliseconds;
    std::function<void()> m_refresh;
    QElapsedTimer m_sinceRefresh;
    QTimer m_timer;
};

} // namespace velmor
