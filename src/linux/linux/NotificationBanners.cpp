// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/NotificationBanners.h>

#include <linux/CurrentDesktop.h>

#include <gio/gio.h>

#include <utility>

namespace velmor {

namespace {

constexpr auto schemaID = "org.gnome.desktop.notifications";
constexpr auto key = "show-banners";

/// Asking for settings that aren't installed would end the program.
bool isInstalled()
{
    GSettingsSchemaSource* source = g_settings_schema_source_get_default();
    GSettingsSchema* schema = source ? g_settings_schema_source_lookup(source, schemaID, TRUE) : nullptr;
    if (!schema)
        return false;
    const bool hasKey = g_settings_schema_has_key(schema, key) != FALSE;
    g_settings_schema_unref(schema);
    return hasKey;
}

} // namespace

NotificationBanners::NotificationBanners(std::function<void(bool areShown)> onChange)
    : m_onChange(std::move(onChange))
{
    if (!isCurrentDesktop("GNOME") || !isInstalled())
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
