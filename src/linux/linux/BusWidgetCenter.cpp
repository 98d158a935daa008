// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/BusWidgetCenter.h>

namespace velmor {

BusWidgetCenter::BusWidgetCenter(BusObject& object, SqliteDefaultsStore& suite)
    : m_object(object)
    , m_suite(suite)
{
    m_object.offer({interfaceName, {}, {{reloadSignal, {}}}});
}

// The record of this request may come to be read later than that of the one before: each waits for its own.
void BusWidgetCenter::reloadAllTimelines()
{
    const std::int64_t request = ++m_requested;
    m_suite.whenWritten(m_lifetime.guarded([this, request] { tell(request); }));
}

void BusWidgetCenter::flush()
{
    m_suite.flush();
    tell(m_requested);
}

void BusWidgetCenter::tell(std::int64_t request)
{
    if (request <= m_told)
        return;
    m_told = request;
    m_object.emitSignal(interfaceName, reloadSignal, {});
}

} // namespace velmor
