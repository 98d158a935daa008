// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <string>

struct _GSettings;

namespace velmor {

/// What GNOME, and desktops that keep to its settings, want windows to look like. Where these settings aren't
/// installed nothing is wanted. Main thread, in GLib's main context.
class InterfaceSettings
{
public:
    explicit InterfaceSettings(std::function<void()> onChange);
    ~InterfaceSettings();
    InterfaceSettings(const InterfaceSettings&) = delete;
    InterfaceSettings& operator=(const InterfaceSettings&) = delete;

    /// Absent where the user has not chosen.
    std::optional<bool> prefersDark() const;

private:
    std::string text(const char* key) const;

    std::function<void()> m_onChange;
    _GSettings* m_settings = nullptr;
};

} // namespace velmor
