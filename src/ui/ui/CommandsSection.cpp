// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/CommandsSection.h>

#include <ui/PauseDurations.h>

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <utility>

namespace velmor {

namespace {

constexpr auto panelOpenTip = "Close the floating measurement panel.";
constexpr auto panelClosedTip =
    "Open the measurement panel as a floating window so it stays visible while you work.";

} // namespace

CommandsSection::CommandsSection(AppState& hub, CheckForUpdatesViewModel& checkForUpdates,
                                 FloatingPanelWindowRegistry& panelRegistry, const SceneActions& scenes,
                                 Gates& gates, Callbacks callbacks)
    : m_hub(hub)
    , m_checkForUpdates(checkForUpdates)
    , m_panelRegistry(panelRegistry)
    , m_scenes(scenes)
    , m_gates(gates)
    , m_callbacks(std::move(callbacks))
    , m_durations(new QMenu(this))
{
    using Form = CommandButton::Form;
    m_session = addCommand(Form::beside, "Start Session", "play.circle", [this] { startOrEndSession(); });
    m_pause = addCommand(Form::beside, "Pause Monitoring", "pause.circle", [this] { pauseOrResume(); });
    m_share = addCommand(Form::beside, "Share Last Session…", "square.and.arrow.up",
                         [this] { shareLastSession(); });
    m_reset = addCommand(Form::beside, "Reset Dose", "arrow.counterclockwise",
                         [this] { m_callbacks.askToReset(); });
    m_panel = addCommand(Form::above, "Panel", "pin.fill", [this] { m_panelRegistry.toggle(m_hub); });
    m_settings = addCommand(Form::above, "Settings", "gear", [this] { leaveTo(m_scenes.openSettings); });
    m_history = addCommand(Form::above, "History", "clock", [this] { leaveTo(m_scenes.openHistory); });
    m_updates = addCommand(Form::above, "Updates", "arrow.triangle.2.circlepath",
                           [this] { leaveTo([this] { m_checkForUpdates.checkForUpdates(); }); });
    m_quit = addCommand(Form::above, "Quit", "power", [this] { leaveTo(m_scenes.terminate); });
    m_panel->setObjectName(QStringLiteral("panel"));

    for (const PauseDuration& duration : pauseDurations) {
        connect(m_durations->addAction(QString::fromUtf8(duration.label)), &QAction::triggered, this,
                [this, seconds = duration.seconds] {
                    m_hub.pauseService.pause(seconds, m_hub.now());
                    m_callbacks.onCommand();
                });
    }

    const auto line = [](std::initializer_list<QWidget*> buttons, double space) {
        auto* const layout = new QHBoxLayout;
        layout->setSpacing(static_cast<int>(space));
        for (QWidget* const button : buttons)
            layout->addWidget(button, 1);
        return layout;
    };
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::tight));
    layout->addLayout(line({m_session, m_pause}, spacing::tight));
    layout->addLayout(line({m_share, m_reset}, spacing::tight));
    layout->addLayout(line({m_panel, m_settings, m_history, m_updates, m_quit}, 0));
    // What the menu has covered is found only when it has gone.
    connect(m_durations, &QMenu::aboutToHide, this, m_callbacks.onMenuClosed, Qt::QueuedConnection);
    refresh();
}

CommandButton* CommandsSection::addCommand(CommandButton::Form form, const char* label, const char* symbol,
                                           std::function<void()> perform)
{
    auto* const button = new CommandButton(form, label, symbol);
    connect(button, &CommandButton::clicked, this, std::move(perform));
    return button;
}

void CommandsSection::refresh()
{
    m_endsSession = hasSession();
    if (m_endsSession)
        m_session->show("End Session", "stop.circle");
    else
        m_session->show("Start Session", "play.circle");
    m_resumes = m_hub.pauseService.isPaused;
    if (m_resumes)
        m_pause->show("Resume Monitoring", "play.circle");
    else
        m_pause->show("Pause Monitoring", "pause.circle");
    m_gates.set(*m_share, !m_hub.sessionManager.sessionHistory.get().empty());
    const bool isOpen = m_panelRegistry.isOpen;
    m_panel->setTint(isOpen ? Tint::accent : Tint::primary);
    const QString tip = QString::fromLatin1(isOpen ? panelOpenTip : panelClosedTip);
    if (m_panel->toolTip() != tip) {
        m_panel->setToolTip(tip);
        m_panel->setAccessibleDescription(tip);
    }
    m_updates->setEnabled(m_checkForUpdates.canCheckForUpdates);
}

bool CommandsSection::hasSession() const
{
    return m_hub.sessionManager.currentSession.get().has_value();
}

void CommandsSection::startOrEndSession()
{
    // A workstation may have been faster than the user: what the button does not say it does not do.
    if (m_endsSession == hasSession()) {
        if (m_endsSession)
            m_hub.endSession();
        else
            m_hub.startSession("Manual Session");
    }
    m_callbacks.onCommand();
}

void CommandsSection::pauseOrResume()
{
    if (!m_resumes) {
        choosePause();
        return;
    }
    m_hub.pauseService.resume();
    m_callbacks.onCommand();
}

void CommandsSection::choosePause()
{
    m_durations->popup(m_pause->mapToGlobal(QPoint(0, m_pause->height())));
}

void CommandsSection::shareLastSession()
{
    // By date: where it stands tells nothing, as an import brings sessions of any age.
    if (const auto newest = m_hub.sessionManager.newestSession())
        m_hub.requestOpenReport(*newest);
}

void CommandsSection::leaveTo(const std::function<void()>& open)
{
    m_callbacks.onLeave();
    open();
}

} // namespace velmor
