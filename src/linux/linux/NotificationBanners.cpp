// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/NotificationBanners.h>

#include <linux/CurrentDesktop.h>
#include <linux/SettingsSchema.h>

#include <gio/gio.h>

#include <utility>

namespace velmor {

namespace {

constexpr auto schemaID = "org.gnome.desktop.notifications";
constexpr auto key = "show-banners";

} // namespace

NotificationBanners::NotificationBanners(std::function<void(bool areShown)> onChange)
    : m_onChange(std::move(onChange))
{
    if (!isCurrentDesktop("GNOME") || !areSettingsInstalled(schemaID, {key}))
        return;
    m_settings = g_settings_new(schemaID);
    const auto changed = +[](GSettings*, const gchar*, gpointer self) {
        const auto* banners = static_cast<NotificationBanners*>(self);
        banners->m_onChange(banners->areShown());
    };
    g_signal_connect(m_settings, "changed::show-banners", G_CALLBACK(changed), this);
}

NotificationBanners::~NotificationBanners()
{
    if (!m_settings)
        return;
    g_signal_handlers_disconnect_by_data(m_settings, this);
    g_object_unref(m_settings);
}

bool NotificationBanners::areShown() const
{
    return !m_settings || g_settings_get_boolean(m_settings, key) != FALSE;
}

} // namespace velmor
