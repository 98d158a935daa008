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
    /// \param playSound plays a sound of the desktop's theme, where the server doesn't do that itself.
    DesktopNotificationCenter(MainLoop& loop, std::function<void(const std::string& name)> playSound);
    ~DesktopNotificationCenter() override;
    DesktopNotificationCenter(const DesktopNotificationCenter&) = delete;
    DesktopNotificationCenter& operator=(const DesktopNotificationCenter&) = delete;

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
