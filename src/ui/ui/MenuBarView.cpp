// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/MenuBarView.h>

#include <ui/MenuBarContent.h>

#include <QEvent>
#include <QPainter>
#include <QVBoxLayout>

#include <initializer_list>
#include <utility>

namespace velmor {

namespace {

constexpr int leastRefreshMilliseconds = 100;
constexpr int clockMilliseconds = 1000;
constexpr int padding = static_cast<int>(spacing::group);
constexpr int sectionSpacing = static_cast<int>(spacing::group);

} // namespace

MenuBarView::MenuBarView(AppState& appState, CheckForUpdatesViewModel& checkForUpdates,
                         FloatingPanelWindowRegistry& panelRegistry, SceneActions scenes,
                         std::function<void()> onLeave)
    : m_appState(appState)
    , m_scenes(std::move(scenes))
    , m_onLeave(onLeave ? std::move(onLeave) : [] {})
    , m_banner(new PauseBanner)
    , m_dose(new DoseSection)
    , m_level(new LevelSection(appState))
    , m_discipline(new DisciplineSection)
    , m_statistics(new StatisticsSection)
    , m_activeSession(new ActiveSessionSection(m_gates))
    , m_today(new TodaySection(m_gates))
    , m_commands(new CommandsSection(appState, checkForUpdates, panelRegistry, m_scenes, m_gates,
                                     {.askToReset = [this] { m_resetConfirmation->ask(); },
                                      .onCommand = [this] { followCommand(); },
                                      .onLeave = m_onLeave,
                                      .onMenuClosed =
                                          [this] {
                                              if (onMenuClosed)
                                                  onMenuClosed();
                                          }}))
    , m_resetConfirmation(new Confirmation(*this, "Reset dose to 0%?", "Reset", [this] { resetDose(); }))
    , m_refreshes(leastRefreshMilliseconds, [this] { refresh(); })
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(padding, padding, padding, padding);
    layout->setSpacing(sectionSpacing);
    for (QWidget* const section : std::initializer_list<QWidget*>{m_banner, m_dose, m_level, m_discipline,
                                                                  m_statistics, m_activeSession, m_today})
        layout->addWidget(section);
    layout->addWidget(m_commands);
    m_ruledSections = {m_level, m_discipline, m_statistics, m_activeSession, m_today, m_commands};
    setAccessibleName(QStringLiteral("Velmor"));

    m_subscriptions.push_back(appState.pendingReportSessionID.subscribe(
        [this](const std::optional<Uuid>& id) { openPendingReport(id); }));
    const auto followShown = [this] {
        if (isVisible())
            m_refreshes.changed();
    };
    m_subscriptions.push_back(appState.onChange(followShown));
    m_subscriptions.push_back(checkForUpdates.onChange(followShown));
    m_subscriptions.push_back(panelRegistry.onChange(followShown));
    m_clock.setInterval(clockMilliseconds);
    connect(&m_clock, &QTimer::timeout, this, [this] { m_refreshes.changed(); });
    refresh();
    // One that was asked for before, when all is there that opens it.
    QTimer::singleShot(0, this, [this] { openPendingReport(m_appState.pendingReportSessionID); });
}

void MenuBarView::openPendingReport(const std::optional<Uuid>& id)
{
    if (!id)
        return;
    const Uuid session = *id;
    m_onLeave();
    m_scenes.openReport(session);
    m_appState.pendingReportSessionID = std::nullopt;
}

void MenuBarView::refresh()
{
    m_banner->refresh(m_appState.pauseService, m_appState.calendar());
    m_dose->refresh(m_appState);
    const MenuBarGates gates = MenuBarGates::of(m_appState);
    m_level->refresh(m_appState);
    m_discipline->refresh(m_appState);
    m_statistics->refresh(m_appState.leqStatistics);
    m_activeSession->refresh(m_appState);
    m_today->refresh(m_appState);
    m_commands->refresh();

    m_gates.set(*m_banner, m_appState.pauseService.isPaused);
    m_gates.set(*m_level, gates.currentLevel);
    m_gates.set(*m_discipline, gates.discipline);
    m_gates.set(*m_statistics, gates.statistics);
    m_gates.set(*m_activeSession, gates.activeSession);
    m_gates.set(*m_today, gates.today);
    takeHeight();
}

void MenuBarView::takeHeight()
{
    if (m_isHeld)
        return;
    layout()->activate();
    const QSize wanted(width, layout()->sizeHint().height());
    if (size() == wanted)
        return;
    setFixedSize(wanted);
    if (onHeightChange)
        onHeightChange();
}

void MenuBarView::hold(bool isStill)
{
    if (m_isHeld == isStill)
        return;
    m_isHeld = isStill;
    m_gates.hold(isStill);
    takeHeight();
}

void MenuBarView::followCommand()
{
    const bool wasHeld = m_isHeld;
    hold(false);
    refresh();
    hold(wasHeld);
}

void MenuBarView::resetDose()
{
    m_appState.resetDose();
    followCommand();
}

bool MenuBarView::cancelQuestion()
{
    const bool isAsked = !m_resetConfirmation->isHidden();
    m_resetConfirmation->cancel();
    return isAsked;
}

void MenuBarView::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    painter.fillRect(rect(), shades.page);
    for (const QWidget* const section : m_ruledSections) {
        if (section->isVisibleTo(this))
            painter.fillRect(padding, section->y() - sectionSpacing / 2, width - 2 * padding, 1,
                             shades.hairline);
    }
}

bool MenuBarView::event(QEvent* event)
{
    const bool isHandled = QWidget::event(event);
    // A row of a section has come or gone.
    if (event->type() == QEvent::LayoutRequest)
        takeHeight();
    return isHandled;
}

void MenuBarView::showEvent(QShowEvent* event)
{
    m_refreshes.refreshNow();
    m_clock.start();
    QWidget::showEvent(event);
}

void MenuBarView::hideEvent(QHideEvent* event)
{
    m_clock.stop();
    m_commands->closeMenu();
    hold(false);
    m_resetConfirmation->cancel();
    QWidget::hideEvent(event);
}

} // namespace velmor
