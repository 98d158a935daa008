// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

struct _GSettings;

namespace velmor {

/// GNOME's setting of whether notifications show: its Do Not Disturb turns it off. Outside a session of
/// GNOME, and where its settings aren't installed, they show. Main thread, in GLib's main context.
class NotificationBanners
{
public:
    explicit NotificationBanners(std::function<void(bool areShown)> onChange);
    ~NotificationBanners();
    NotificationBanners(const NotificationBanners&) = delete;
    NotificationBanners& operator=(const NotificationBanners&) = delete;

    bool areShown() const;

private:
    std::function<void(bool)> m_onChange;
    _GSettings* m_settings = nullptr;
};

} // namespace velmor
