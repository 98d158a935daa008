// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace velmor {

/// An entry of the tray item's menu.
struct TrayMenuEntry
{
    int id = 0;    ///< From 1 on. Of one command always the same: a host may show an earlier menu.
    QString label; ///< Empty for a line between entries.
    std::function<void()> perform;
    std::vector<TrayMenuEntry> children;
};

/// Whether people see the same in both.
bool lookAlike(const std::vector<TrayMenuEntry>& one, const std::vector<TrayMenuEntry>& other);

/// The menu of a tray item, as hosts show it: com.canonical.dbusmenu on the session bus. Main thread.
class TrayMenu
{
public:
    static constexpr auto objectPath = "/MenuBar";

    TrayMenu();
    ~TrayMenu();
    TrayMenu(const TrayMenu&) = delete;
    TrayMenu& operator=(const TrayMenu&) = delete;

    /// Tells the hosts.
    void show(std::vector<TrayMenuEntry> entries);

private:
    class Object;
    class Adaptor;

    std::unique_ptr<Object> m_object;
    Adaptor* m_adaptor; ///< The object's.
};

} // namespace velmor
