// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/TrayItem.h>

#include <ui/MenuBarContent.h>
#include <ui/PauseDurations.h>

#include <QCursor>
#include <QGuiApplication>
#include <QIcon>
#include <QPalette>
#include <QPixmap>

#include <fmt/format.h>

#include <utility>

namespace velmor {

namespace {

/// What panels can take; the eye needs no more either.
constexpr int leastRefreshMilliseconds = 250;

/// Some panels open the tip anew for each change, over the item's own menu.
constexpr int leastToolTipMilliseconds = 2000;

constexpr int oldTrayMilliseconds = 5000;

constexpr std::string_view gnomeShell = "gnome-shell";
constexpr std::string_view plasma = "kded5";
constexpr std::string_view waybar = "waybar";
constexpr std::string_view xfcePrefix = "panel-"; ///< With the number of its systray plugin behind.

/// Hosts tell of a double click twice.
constexpr qint64 doubleClickMilliseconds = 300;

QString qt(const std::string& text)
{
    return QString::fromStdString(text);
}

/// Where the click was, as far as the host can be believed.
std::optional<QPoint> placeOnScreen(const QPoint& told, std::string_view hostProgram)
{
    if (!qEnvironmentVariableIsSet("WAYLAND_DISPLAY"))
        return QCursor::pos();
    // The others there tell a place within the item.
    if ((hostProgram == gnomeShell || hostProgram == plasma) && !told.isNull())
        return told / qGuiApp->devicePixelRatio();
    return std::nullopt;
}

void fill(QMenu& menu, const std::vector<TrayMenuEntry>& entries)
{
    menu.clear();
    // It leaves the menus below to their parent.
    qDeleteAll(menu.findChildren<QMenu*>(QString(), Qt::FindDirectChildrenOnly));
    for (const TrayMenuEntry& entry : entries) {
        if (entry.label.isEmpty()) {
            menu.addSeparator();
        } else if (!entry.children.empty()) {
            fill(*menu.addMenu(entry.label), entry.children);
        } else {
            QAction* const action = menu.addAction(entry.label);
            QObject::connect(action, &QAction::triggered, [perform = entry.perform] { perform(); });
        }
    }
}

} // namespace

TrayForm trayFormFor(std::string_view hostProgram)
{
    if (hostProgram == gnomeShell)
        return TrayForm::glyphAndLabel;
    if (hostProgram == waybar)
        return TrayForm::wide;
    return hostProgram.starts_with(xfcePrefix) ? TrayForm::singleSquare : TrayForm::square;
}

TrayToolTip trayToolTip(const AppState& hub)
{
    const AudioMeasurementService& audio = hub.audioService;
    TrayToolTip toolTip;
    toolTip.title = audio.isRunning ? fmt::format("Velmor · {} · {}", levelText(audio.currentSPL, "dBA"),
                                                  levelText(audio.currentDBC, "dBC"))
                                    : "Velmor · not measuring";
    if (hub.pauseService.isPaused)
        toolTip.title += " · paused";
    std::string& text = toolTip.text;
    text = fmt::format("Dose {} · {}", doseText(hub.doseCalculator.dosePercentage),
                       label(hub.displayDoseLevel()));
    const std::optional<Session>& session = hub.sessionManager.currentSession;
    text += session
                ? fmt::format("\nSession {} · {}", session->dawName, session->durationFormatted(hub.now()))
                : "\nNo session";
    return toolTip;
}

TrayItem::TrayItem(AppState& hub, const ColorSchemes& schemes, SceneActions scenes, Callbacks callbacks)
    : m_hub(hub)
    , m_schemes(schemes)
    , m_scenes(std::move(scenes))
    , m_callbacks(std::move(callbacks))
    , m_notifierItem({.onActivate = [this](const QPoint& place) { activated(place); },
                      .onHostChange = [this] { hostChanged(); }})
    , m_refreshes(leastRefreshMilliseconds, [this] { refresh(); })
    , m_changes(hub.onChange([this] { m_refreshes.changed(); }))
{
    m_toolTipRest.setSingleShot(true);
    QObject::connect(&m_toolTipRest, &QTimer::timeout, [this] { m_refreshes.changed(); });
    m_oldTrayWatch.setInterval(oldTrayMilliseconds);
    QObject::connect(&m_oldTrayWatch, &QTimer::timeout, [this] {
        if (QSystemTrayIcon::isSystemTrayAvailable() != (m_systemTrayIcon != nullptr))
            hostChanged();
    });
    // Whoever asks for the picture before the answer about the host finds one.
    m_refreshes.refreshNow();
}

TrayItem::~TrayItem() = default;

void TrayItem::hostChanged()
{
    // An old tray is of use only where there is no new one. Nobody tells when one comes or goes.
    const bool isOldTrayNeeded = !m_notifierItem.hasHost() && QSystemTrayIcon::isSystemTrayAvailable();
    if (m_notifierItem.hasHost())
        m_oldTrayWatch.stop();
    else
        m_oldTrayWatch.start();
    if (!isOldTrayNeeded) {
        m_systemTrayIcon.reset();
        m_systemTrayMenu.reset();
    } else if (!m_systemTrayIcon) {
        makeSystemTrayIcon();
    }
    m_shownLabel.reset();
    m_face = {};
    m_toolTipRest.stop();
    m_entries.clear();
    m_refreshes.refreshNow();
    if (m_systemTrayIcon)
        m_systemTrayIcon->show();
    if (onShownChange)
        onShownChange();
}

void TrayItem::makeSystemTrayIcon()
{
    m_systemTrayMenu = std::make_unique<QMenu>();
    m_systemTrayIcon = std::make_unique<QSystemTrayIcon>();
    m_systemTrayIcon->setContextMenu(m_systemTrayMenu.get());
    QObject::connect(m_systemTrayIcon.get(), &QSystemTrayIcon::activated,
                     [this](QSystemTrayIcon::ActivationReason reason) {
                         if (reason == QSystemTrayIcon::Trigger)
                             activated(QCursor::pos());
                     });
}

void TrayItem::activated(const QPoint& place)
{
    if (m_sinceActivation.isValid() && m_sinceActivation.elapsed() < doubleClickMilliseconds)
        return;
    m_sinceActivation.start();
    m_callbacks.onClick(placeOnScreen(place, m_notifierItem.hostProgram()));
}

void TrayItem::refresh()
{
    const MenuBarLabel label = MenuBarLabel::of(m_hub);
    if (!m_shownLabel || !label.looksLike(*m_shownLabel)) {
        m_shownLabel = label;
        showLabel(label);
    }
    showToolTip(trayToolTip(m_hub));
    m_notifierItem.show(m_face);
    std::vector<TrayMenuEntry> entries = menuEntries();
    const bool isMenuOpen = m_systemTrayMenu && m_systemTrayMenu->isVisible();
    if (!isMenuOpen && !lookAlike(entries, m_entries))
        showMenu(std::move(entries));
}

void TrayItem::showLabel(const MenuBarLabel& label)
{
    const TrayForm form = trayFormFor(m_notifierItem.hostProgram());
    m_face.pictures = trayPictures(label, form, panelAppearance(), qGuiApp->devicePixelRatio());
    m_face.label =
        form == TrayForm::glyphAndLabel && label.hasNumber() ? qt(label.formattedReading()) : QString();
    if (!m_systemTrayIcon)
        return;
    QIcon icon;
    for (const QImage& picture : std::as_const(m_face.pictures))
        icon.addPixmap(QPixmap::fromImage(picture));
    m_systemTrayIcon->setIcon(icon);
}

void TrayItem::showToolTip(const TrayToolTip& toolTip)
{
    if (toolTip == m_face.toolTip || m_toolTipRest.isActive())
        return;
    m_toolTipRest.start(leastToolTipMilliseconds);
    // Some panels would open it over the digest. It comes when that has closed.
    if (m_callbacks.isDigestOpen())
        return;
    m_face.toolTip = toolTip;
    if (m_systemTrayIcon)
        m_systemTrayIcon->setToolTip(qt(toolTip.title + "\n" + toolTip.text));
}

void TrayItem::showMenu(std::vector<TrayMenuEntry> entries)
{
    m_entries = std::move(entries);
    m_notifierItem.menu().show(m_entries);
    if (m_systemTrayIcon) {
        fill(*m_systemTrayMenu, m_entries);
    }
}

void TrayItem::appearanceChanged()
{
    m_shownLabel.reset();
    m_refreshes.refreshNow();
}

Appearance TrayItem::panelAppearance() const
{
    std::optional<bool> isDark = m_schemes.arePanelsDark();
    // Its panel is dark whatever the windows are.
    if (m_notifierItem.hostProgram() == gnomeShell)
        isDark = true;
    // It comes dark, and is left so mostly.
    if (!isDark && m_notifierItem.hostProgram() == waybar)
        isDark = true;
    if (!isDark)
        return appearanceOf(QGuiApplication::palette());
    return *isDark ? Appearance::dark : Appearance::light;
}

std::vector<TrayMenuEntry> TrayItem::menuEntries() const
{
    // Each command's own number, whatever stands around it.
    enum Id {
        open = 1,
        start = 10,
        end = 11,
        pause = 20,
        resume = 30,
        history = 40,
        settings = 41,
        quit = 50,
        firstLine = 60
    };
    int line = firstLine;
    std::vector<TrayMenuEntry> entries;
    const auto add = [&](Id id, const char* label, std::function<void()> perform) {
        entries.push_back({id, QString::fromLatin1(label), std::move(perform), {}});
    };
    const auto addLine = [&] { entries.push_back({line++, {}, {}, {}}); };
    add(open, "Open Velmor", m_callbacks.onOpen);
    addLine();
    if (m_hub.sessionManager.currentSession.get())
        add(end, "End Session", [this] { m_hub.endSession(); });
    else
        add(start, "Start Session", [this] { m_hub.startSession("Manual Session"); });
    if (m_hub.pauseService.isPaused) {
        add(resume, "Resume Monitoring", [this] { m_hub.pauseService.resume(); });
    } else {
        add(pause, "Pause Monitoring", {});
        int id = pause;
        for (const PauseDuration& duration : pauseDurations) {
            entries.back().children.push_back(
                {++id,
                 QString::fromUtf8(duration.label),
                 [this, seconds = duration.seconds] { m_hub.pauseService.pause(seconds, m_hub.now()); },
                 {}});
        }
    }
    addLine();
    add(history, "History", m_scenes.openHistory);
    add(settings, "Settings", m_scenes.openSettings);
    addLine();
    add(quit, "Quit", m_scenes.terminate);
    return entries;
}

} // namespace velmor
