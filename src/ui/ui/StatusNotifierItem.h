// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/TrayMenu.h>

#include <QImage>
#include <QList>
#include <QObject>
#include <QPoint>
#include <QString>
#include <QTimer>

#include <functional>
#include <memory>
#include <string>

namespace velmor {

struct TrayToolTip
{
    std::string title; ///< The one line that all hosts show.
    std::string text;  ///< Lines of plain text.

    bool operator==(const TrayToolTip&) const = default;
};

/// What a tray item shows of a moment.
struct TrayFace
{
    QList<QImage> pictures;
    QString label; ///< Beside the picture, where a host shows one.
    TrayToolTip toolTip;
};

/// The program's item in the trays of the desktop: org.kde.StatusNotifierItem on the session bus. Registers
/// with each host that comes, also with one that comes later or again. Main thread.
class StatusNotifierItem final : public QObject
{
public:
    struct Callbacks
    {
        /// The user wants to see the program. \param place of the click as the host tells it, in pixels.
        std::function<void(const QPoint& place)> onActivate;

        /// Hosts have come or gone.
        std::function<void()> onHostChange;
    };

    explicit StatusNotifierItem(Callbacks callbacks);
    ~StatusNotifierItem() override;

    TrayMenu& menu() { return m_menu; }

    void show(const TrayFace& face);

    /// Whether there is somebody who shows items.
    bool hasHost() const { return m_hasHost; }

    /// The program that gathers the items, as "gnome-shell" or "waybar"; empty where it can't be told.
    const std::string& hostProgram() const { return m_hostProgram; }

private:
    class Adaptor;

    void registerWithHosts();
    void lookAtHosts();
    void hostsChanged(bool hasHost);

    Callbacks m_callbacks;
    TrayMenu m_menu;
    TrayFace m_face;
    Adaptor* m_adaptor;
    QString m_service;
    int m_generation = 0; ///< Of the answers that are waited for.
    bool m_hasHost = false;
    std::string m_hostProgram;
    QTimer m_again; ///< For hosts that read an item before they can draw it.
};

} // namespace velmor
