// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <platform/ColorSchemes.h>
#include <ui/RefreshLimit.h>
#include <ui/SceneActions.h>
#include <ui/StatusNotifierItem.h>
#include <ui/TrayPictures.h>

#include <QElapsedTimer>
#include <QMenu>
#include <QPoint>
#include <QSystemTrayIcon>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmor {

/// The form for a host, by the name of its program.
TrayForm trayFormFor(std::string_view hostProgram);

/// The level, the dose and the session of this moment.
TrayToolTip trayToolTip(const AppState& hub);

/// The program's item in the desktop's tray. Follows the hub, publishes only what is to be seen of it, and no
/// more than four times a second. Main thread.
class TrayItem
{
public:
    struct Callbacks
    {
        std::function<void()> onOpen; ///< The user wants to see the digest.

        /// The item was clicked. \param place where, as far as that is known.
        std::function<void(const std::optional<QPoint>& place)> onClick;

        /// Whether the digest is open: it says all that the tool tip does, which would lie over it.
        std::function<bool()> isDigestOpen;
    };

    TrayItem(AppState& hub, const ColorSchemes& schemes, SceneActions scenes, Callbacks callbacks);
    ~TrayItem();

    /// Whether the desktop shows the item.
    bool isShown() const { return m_notifierItem.hasHost() || m_systemTrayIcon; }

    /// Calls back when that changes.
    std::function<void()> onShownChange;

    /// Panels have turned light or dark.
    void appearanceChanged();

private:
    void refresh();
    void hostChanged();
    void showLabel(const MenuBarLabel& label);
    void showToolTip(const TrayToolTip& toolTip);
    void activated(const QPoint& place);
    void showMenu(std::vector<TrayMenuEntry> entries);
    void makeSystemTrayIcon();
    std::vector<TrayMenuEntry> menuEntries() const;
    Appearance panelAppearance() const;

    AppState& m_hub;
    const ColorSchemes& m_schemes;
    SceneActions m_scenes;
    Callbacks m_callbacks;
    StatusNotifierItem m_notifierItem;
    std::unique_ptr<QMenu> m_systemTrayMenu;
    std::unique_ptr<QSystemTrayIcon> m_systemTrayIcon; ///< Where there is only an old tray.
    std::optional<MenuBarLabel> m_shownLabel;
    TrayFace m_face;
    std::vector<TrayMenuEntry> m_entries;
    QElapsedTimer m_sinceActivation;
    QTimer m_toolTipRest;  ///< While it runs the tip stays.
    QTimer m_oldTrayWatch; ///< While there is no host.
    RefreshLimit m_refreshes;
    Subscription m_changes;
};

} // namespace velmor
