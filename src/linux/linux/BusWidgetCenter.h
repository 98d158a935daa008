// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Lifetime.h>
#include <linux/BusObject.h>
#include <linux/SqliteDefaultsStore.h>
#include <platform/WidgetCenter.h>

#include <cstdint>

namespace velmor {

/// Tells widgets by a signal on the session bus, once writing the record has been tried. Main thread.
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
    void tell(std::int64_t request);

    BusObject& m_object;
    SqliteDefaultsStore& m_suite;
    std::int64_t m_requested = 0; ///< How often a reload was asked for.
    std::int64_t m_told = 0;      ///< Up to which of them widgets know.
    Lifetime m_lifetime;
};

} // namespace velmor
