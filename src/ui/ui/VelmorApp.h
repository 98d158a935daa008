// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <app/CheckForUpdatesViewModel.h>
#include <app/InternalNotifications.h>
#include <platform/ColorSchemes.h>
#include <ui/FloatingPanelWindowRegistry.h>
#include <ui/Popover.h>
#include <ui/SceneActions.h>
#include <ui/SessionReportSharing.h>
#include <ui/TrayItem.h>
#include <ui/VelmorAppDelegate.h>

#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace velmor {

/// The desktop program as people see it: places the views in windows and brings what comes from outside to
/// the hub. Owns no logic of measurement. Main thread.
class VelmorApp
{
public:
    struct Needs
    {
        AppState& hub;
        DefaultsStore& defaults;
        NotificationCenter& notificationCenter;
        Workspace& workspace;
        SoftwareUpdater& updater;
        ColorSchemes& colorSchemes;
        ShareServices& shareServices;
        std::filesystem::path caches;
        std::function<void()> terminate; ///< Ends the program.
    };

    explicit VelmorApp(const Needs& needs);
    ~VelmorApp();

    /// Somebody has started the program again, or wants to see it.
    void activate();

    // The scenes. Each is there once; what is closed is gone and is made anew.
    void openSettings();
    void openHistory();
    void openReport(const Uuid& session);

    InternalNotifications notifications;

private:
    SceneActions scenes();
    void openScene(QPointer<QWidget>& window, const std::function<QWidget*()>& make);
    void trayChanged();
    void followColorSchemes();
    void tellHowToGetTray();
    void showOutcome(const UpdateOutcome& outcome);

    AppState& m_hub;
    DefaultsStore& m_defaults;
    NotificationCenter& m_notificationCenter;
    Workspace& m_workspace;
    ColorSchemes& m_colorSchemes;
    std::function<void()> m_terminate;
    VelmorAppDelegate m_delegate;
    CheckForUpdatesViewModel m_checkForUpdates;
    SessionReportSharing m_sharing;
    FloatingPanelWindowRegistry m_panelRegistry;
    QPointer<QWidget> m_settings;
    QPointer<QWidget> m_history;
    QPointer<QWidget> m_update;
    std::map<Uuid, QPointer<QWidget>> m_reports;
    Popover m_popover;
    TrayItem m_trayItem;
    QTimer m_trayPatience;
    bool m_hasOwnPalette = false;
    std::unique_ptr<QObject> m_paletteWatch;
    Subscription m_importCompleted;
    Subscription m_outcomes;
    Subscription m_schemeChanges;
};

} // namespace velmor
