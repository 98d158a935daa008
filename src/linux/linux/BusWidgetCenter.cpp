// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/BusWidgetCenter.h>

namespace velmor {

BusWidgetCenter::BusWidgetCenter(BusObject& object, SqliteDefaultsStore& suite)
    : m_object(object)
    , m_suite(suite)
{
    m_object.offer({interfaceName, {}, {{reloadSignal, {}}}});
}

// One signal stands for all records that were written since the last one.
void BusWidgetCenter::reloadAllTimelines()
{
    m_isWaiting = true;
    m_suite.whenWritten(m_lifetime.guarded([this] { tell(); }));
}

void BusWidgetCenter::flush()
{
    m_suite.flush();
    tell();
}

void BusWidgetCenter::tell()
{
    if (!m_isWaiting)
        return;
    m_isWaiting = false;
    m_object.emitSignal(interfaceName, reloadSignal, {});
}

} // namespace velmor
