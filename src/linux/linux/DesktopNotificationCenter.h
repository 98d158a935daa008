// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/MainLoop.h>
#include <platform/NotificationCenter.h>

#include <functional>
#include <memory>
#include <string>

namespace velmor {

/// Notifications over the session bus, org.freedesktop.Notifications. Without a server they wait, in
/// order, until one appears. Needs Qt's event loop. Main thread.
class DesktopNotificationCenter final : public NotificationCenter
{
public:
    /// Plays a sound of the desktop's theme by its name, where the server doesn't do that itself.
    using PlaySound = std::function<void(const std::string& name, NotificationSound sound)>;

    DesktopNotificationCenter(MainLoop& loop, PlaySound playSound);
    ~DesktopNotificationCenter() override;
    DesktopNotificationCenter(const DesktopNotificationCenter&) = delete;
    DesktopNotificationCenter& operator=(const DesktopNotificationCenter&) = delete;

    /// Runs the events until everything that can be is delivered, at most so long: for the end of the
    /// program.
    void flush(double seconds);

    void setDelegate(NotificationDelegate* delegate) override;

    /// Nobody has to be asked on this desktop.
    void requestAuthorization() override {}

    void setCategories(std::vector<NotificationCategory> categories) override;
    void add(const NotificationRequest& request) override;

private:
    class Server;
    std::unique_ptr<Server> m_server;
};

} // namespace velmor
