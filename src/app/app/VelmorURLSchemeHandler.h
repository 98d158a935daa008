// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/VelmorURLDispatcher.h>
#include <base/Lifetime.h>
#include <base/MainLoop.h>
#include <base/Observable.h>
#include <platform/URLEvents.h>

#include <memory>
#include <string_view>

namespace velmor {

/// Takes what the desktop wants opened and hands the velmor:// URLs among it on. Anything else ends here
/// without a word. Main thread.
class VelmorURLSchemeHandler
{
public:
    VelmorURLSchemeHandler(MainLoop& loop, std::weak_ptr<VelmorURLDispatcher> dispatcher);

    /// Each text is handled in a turn of the loop of its own, in their order.
    void registerWith(URLEvents& events);

    void handleGetURLEvent(std::string_view text);

private:
    MainLoop& m_loop;
    std::weak_ptr<VelmorURLDispatcher> m_dispatcher;
    Subscription m_events;
    Lifetime m_lifetime;
};

} // namespace velmor
