// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/RefreshLimit.h>

#include <algorithm>
#include <utility>

namespace velmor {

RefreshLimit::RefreshLimit(int leastMilliseconds, std::function<void()> refresh)
    : m_leastMilliseconds(leastMilliseconds)
    , m_refresh(std::move(refresh))
{
    m_timer.setSingleShot(true);
    QObject::connect(&m_timer, &QTimer::timeout, [this] { refreshNow(); });
}

void RefreshLimit::changed()
{
    if (m_timer.isActive())
        return;
    const qint64 elapsed = m_sinceRefresh.isValid() ? m_sinceRefresh.elapsed() : m_leastMilliseconds;
    m_timer.start(static_cast<int>(std::max<qint64>(m_leastMilliseconds - elapsed, 0)));
}

void RefreshLimit::refreshNow()
{
    m_timer.stop();
    m_sinceRefresh.start();
    m_refresh();
}

} // namespace velmor
