// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/VelmorApp.h>

#include <ui/BringToFront.h>
#include <ui/EventWatch.h>
#include <ui/FloatingPanelWindow.h>
#include <ui/HistoryWindowView.h>
#include <ui/SessionReportWindowRoot.h>
#include <ui/SettingsView.h>
#include <ui/UpdateWindow.h>

#include <QApplication>

#include <string_view>

namespace velmor {

namespace {

/// A panel that starts with the desktop's session may come after this program.
constexpr int trayPatienceMilliseconds = 10000;

constexpr std::string_view trayHintShownKey = "Velmor.trayHintShown";

} // namespace

VelmorApp::VelmorApp(const Needs& needs)
    : m_hub(needs.hub)
    , m_defaults(needs.defaults)
    , m_notificationCenter(needs.notificationCenter)
    , m_workspace(needs.workspace)
    , m_colorSchemes(needs.colorSchemes)
    , m_terminate(needs.terminate)
    , m_delegate(needs.hub, needs.defaults, notifications)
    , m_checkForUpdates(needs.updater)
    , m_sharing(needs.hub, needs.shareServices, needs.caches)
    , m_panelRegistry([this](AppState& hub) { return new FloatingPanelWindow(hub, m_defaults); })
    , m_popover(new MenuBarView(needs.hub, m_checkForUpdates, m_panelRegistry, scenes(),
                                [this] { m_popover.close(); }))
    , m_trayItem(needs.hub, needs.colorSchemes, scenes(),
                 {.onOpen = [this] { activate(); },
                  .onClick =
                      [this](const std::optional<QPoint>& place) {
                          if (m_trayItem.isShown())
                              m_popover.toggle(place);
                      },
                  .isDigestOpen = [this] { return m_popover.isVisible(); }})
    , m_importCompleted(notifications.onImportCompleted([this] { m_hub.refreshAfterTovikImport(); }))
    , m_outcomes(needs.updater.onOutcome([this](const UpdateOutcome& outcome) { showOutcome(outcome); }))
    , m_schemeChanges(needs.colorSchemes.onChange([this] { followColorSchemes(); }))
{
    followColorSchemes();
    // Plasma changes the palette without a word of its own.
    m_paletteWatch = std::make_unique<EventWatch>(*qApp, QEvent::ApplicationPaletteChange,
                                                  [this] { m_trayItem.appearanceChanged(); });
    m_trayItem.onShownChange = [this] { trayChanged(); };
    m_trayPatience.setSingleShot(true);
    QObject::connect(&m_trayPatience, &QTimer::timeout, [this] { tellHowToGetTray(); });
    m_trayPatience.start(trayPatienceMilliseconds);
    m_delegate.applicationDidFinishLaunching();
}

VelmorApp::~VelmorApp()
{
    for (const auto& [id, window] : m_reports)
        delete window;
    delete m_update;
    delete m_settings;
    delete m_history;
}

SceneActions VelmorApp::scenes()
{
    return {.openSettings = [this] { openSettings(); },
            .openHistory = [this] { openHistory(); },
            .openReport = [this](const Uuid& session) { openReport(session); },
            .terminate = m_terminate};
}

void VelmorApp::activate()
{
    if (m_trayItem.isShown())
        m_popover.openAtTray();
    else
        m_popover.openAsWindow();
}

void VelmorApp::openScene(QPointer<QWidget>& window, const std::function<QWidget*()>& make)
{
    if (!window) {
        window = make();
        window->setAttribute(Qt::WA_DeleteOnClose);
    }
    bringToFront(*window);
}

void VelmorApp::openSettings()
{
    openScene(m_settings, [this] {
        return new SettingsView(m_hub, m_defaults, m_workspace, [this] { notifications.postShowImporter(); });
    });
}

void VelmorApp::openHistory()
{
    openScene(m_history, [this] { return new HistoryWindowView(m_hub, m_sharing); });
}

void VelmorApp::openReport(const Uuid& session)
{
    std::erase_if(m_reports, [](const auto& entry) { return entry.second.isNull(); });
    openScene(m_reports[session], [&] { return new SessionReportWindowRoot(m_hub, session, m_sharing); });
}

void VelmorApp::followColorSchemes()
{
    const std::optional<bool> isDark = m_colorSchemes.areWindowsDark();
    const Appearance wanted = isDark.value_or(false) ? Appearance::dark : Appearance::light;
    // Without a wish of the desktop's windows look as they do by themselves.
    if (!isDark && m_hasOwnPalette)
        QApplication::setPalette(QPalette());
    if (isDark && appearanceOf(QApplication::palette()) != wanted)
        QApplication::setPalette(paletteFor(wanted));
    m_hasOwnPalette = isDark.has_value();
    m_trayItem.appearanceChanged();
}

void VelmorApp::trayChanged()
{
    if (m_trayItem.isShown())
        m_trayPatience.stop();
    else if (!m_trayPatience.isActive())
        m_trayPatience.start(trayPatienceMilliseconds);
}

void VelmorApp::tellHowToGetTray()
{
    if (m_trayItem.isShown() || m_defaults.get<bool>(trayHintShownKey).value_or(false))
        return;
    m_defaults.set(trayHintShownKey, true);
    m_notificationCenter.add(
        {.identifier = "velmor.tray",
         .title = "Velmor runs without a tray icon",
         .body = "This desktop has no tray. On GNOME the extension \"AppIndicator and KStatusNotifierItem "
                 "Support\" adds one. Until then, start Velmor again to open its window."});
}

void VelmorApp::showOutcome(const UpdateOutcome& outcome)
{
    delete m_update;
    m_update = new UpdateWindow(outcome, [this](const std::string& url) { m_workspace.open(url); });
    bringToFront(*m_update);
}

} // namespace velmor
