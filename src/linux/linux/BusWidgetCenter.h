// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Lifetime.h>
#include <linux/BusObject.h>
#include <linux/SqliteDefaultsStore.h>
#include <platform/WidgetCenter.h>

namespace velmor {

/// Tells widgets by a signal on the session bus, once the record is where they read it. Main thread.
class BusWidgetCenter final : public WidgetCenter
{
public:
    static constexpr auto interfaceName = "dev.brightfen.velmor.Widgets1";
    static constexpr auto reloadSignal = "ReloadAllTimelines";

    /// \param suite holds the record.
    BusWidgetCenter(BusObject& object, SqliteDefaultsStore& suite);

    void reloadAllTimelines() override;

    /// Waits for what is still to be told. For the end of the program.
    void flush();

private:
    void tell();

    BusObject& m_object;
    SqliteDefaultsStore& m_suite;
    bool m_isWaiting = false;
    Lifetime m_lifetime;
};

} // namespace velmor
