// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/DoNotDisturb.h>

#include <functional>
#include <memory>

namespace velmor {

/// Do Not Disturb of whichever desktop this is: Plasma's and dunst's as properties of the notification
/// server, Xfce's as a channel of its configuration, GNOME's as a setting. Others are never on. What is on
/// already when it is looked at for the first time is on without a change. Needs Qt's event loop on GLib.
/// Main thread.
class DesktopDoNotDisturb final : public DoNotDisturb
{
public:
    /// Asks all of them; the answers come in later turns of the loop.
    DesktopDoNotDisturb();
    ~DesktopDoNotDisturb() override;

    bool isOn() const override;
    Subscription onChange(const std::function<void(bool isOn)>& callback) override;

private:
    class Sources;
    std::unique_ptr<Sources> m_sources;
};

} // namespace velmor
