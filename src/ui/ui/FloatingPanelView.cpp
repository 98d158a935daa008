// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/FloatingPanelView.h>

#include <QPainter>
#include <QVBoxLayout>

#include <initializer_list>

namespace velmor {

namespace {

constexpr int defaultWidth = 320;
constexpr int defaultHeight = 360;
constexpr int padding = static_cast<int>(spacing::group);
constexpr int leastRefreshMilliseconds = 100;

} // namespace

FloatingPanelView::FloatingPanelView(AppState& appState)
    : m_appState(appState)
    , m_banner(new PauseBanner)
    , m_dose(new DoseSection)
    , m_level(new LevelSection(appState))
    , m_discipline(new DisciplineSection)
    , m_statistics(new StatisticsSection)
    , m_activeSession(new ActiveSessionSection(m_gates))
    , m_today(new TodaySection(m_gates))
    , m_refreshes(leastRefreshMilliseconds, [this] { refresh(); })
    , m_changes(appState.onChange([this] {
        if (isVisible())
            m_refreshes.changed();
    }))
{
    setWindowTitle(QString::fromLatin1(title));
    // Beside the workstation, and never in its way: a click leaves the focus where it is.
    setWindowFlags(Qt::Tool | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus);
    setAttribute(Qt::WA_ShowWithoutActivating);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(padding, padding, padding, padding);
    layout->setSpacing(padding);
    for (QWidget* const section : std::initializer_list<QWidget*>{m_banner, m_dose, m_level, m_discipline,
                                                                  m_statistics, m_activeSession, m_today})
        layout->addWidget(section);
    layout->addStretch(1);
    resize(defaultWidth, defaultHeight);
    refresh();
}

void FloatingPanelView::refresh()
{
    const AppSettings& settings = m_appState.settings;
    m_banner->refresh(m_appState.pauseService, m_appState.calendar());
    m_dose->refresh(m_appState);
    m_level->refresh(m_appState);
    m_discipline->refresh(m_appState);
    m_statistics->refresh(m_appState.leqStatistics);
    m_activeSession->refresh(m_appState);
    m_today->refresh(m_appState);
    m_gates.set(*m_banner, m_appState.pauseService.isPaused);
    m_gates.set(*m_dose, settings.panelShowsDose);
    m_gates.set(*m_level, settings.panelShowsCurrentSPL);
    m_gates.set(*m_discipline,
                settings.panelShowsDiscipline && m_appState.referenceTracker.settings.get().enabled);
    m_gates.set(*m_statistics, settings.panelShowsLeq);
    m_gates.set(*m_activeSession, settings.panelShowsActiveSession &&
                                      m_appState.sessionManager.currentSession.get().has_value());
    m_gates.set(*m_today, settings.panelShowsToday);
}

void FloatingPanelView::showEvent(QShowEvent* event)
{
    m_refreshes.refreshNow();
    QWidget::showEvent(event);
}

void FloatingPanelView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), shadesOf(appearanceOf(palette())).page);
}

} // namespace velmor
