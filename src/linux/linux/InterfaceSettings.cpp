// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/InterfaceSettings.h>

#include <linux/SettingsSchema.h>

#include <gio/gio.h>

#include <utility>

namespace velmor {

namespace {

constexpr auto schemaID = "org.gnome.desktop.interface";
constexpr auto schemeKey = "color-scheme";
constexpr auto themeKey = "gtk-theme";

} // namespace

InterfaceSettings::InterfaceSettings(std::function<void()> onChange)
    : m_onChange(std::move(onChange))
{
    if (!areSettingsInstalled(schemaID, {schemeKey, themeKey}))
        return;
    m_settings = g_settings_new(schemaID);
    const auto changed = +[](GSettings*, const gchar*, gpointer self) {
        static_cast<const InterfaceSettings*>(self)->m_onChange();
    };
    for (const char* const signal : {"changed::color-scheme", "changed::gtk-theme"})
        g_signal_connect(m_settings, signal, G_CALLBACK(changed), this);
}

InterfaceSettings::~InterfaceSettings()
{
    if (!m_settings)
        return;
    g_signal_handlers_disconnect_by_data(m_settings, this);
    g_object_unref(m_settings);
}

std::optional<bool> InterfaceSettings::prefersDark() const
{
    if (!m_settings)
        return std::nullopt;
    const std::string scheme = text(schemeKey);
    if (scheme == "prefer-dark")
        return true;
    if (scheme == "prefer-light")
        return false;
    // Before there was a key for it, one chose a theme.
    if (text(themeKey).ends_with("-dark"))
        return true;
    return std::nullopt;
}

std::string InterfaceSettings::text(const char* key) const
{
    gchar* const value = g_settings_get_string(m_settings, key);
    std::string result = value;
    g_free(value);
    return result;
}

} // namespace velmor
