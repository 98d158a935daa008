// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/FloatingPanelView.h>

#include <ui/PanelSections.h>

#include <QVBoxLayout>

#include <initializer_list>
#include <utility>

namespace velmor {

namespace {

constexpr int viewWidth = 320;
constexpr int padding = static_cast<int>(spacing::group);
constexpr int leastRefreshMilliseconds = 100;

} // namespace

FloatingPanelView::FloatingPanelView(AppState& appState, std::function<void()> onLayoutChange)
    : m_appState(appState)
    , m_banner(new PauseBanner)
    , m_dose(new DoseSection)
    , m_level(new LevelSection(appState, LevelSection::Form::panel))
    , m_discipline(new DisciplineSection)
    , m_statistics(new StatisticsSection("Leq / Ln"))
    , m_activeSession(new ActiveSessionSection(m_gates))
    , m_today(new TodaySection(m_gates))
    , m_hint(new EmptyStateHint)
    , m_onLayoutChange(std::move(onLayoutChange))
    , m_refreshes(leastRefreshMilliseconds, [this] { refresh(); })
    , m_changes(appState.onChange([this] {
        if (isVisible())
            m_refreshes.changed();
    }))
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(padding, padding, padding, padding);
    layout->setSpacing(padding);
    for (QWidget* const section : std::initializer_list<QWidget*>{
             m_banner, m_dose, m_level, m_discipline, m_statistics, m_activeSession, m_today, m_hint})
        layout->addWidget(section);
    layout->addStretch(1);
    setFixedWidth(viewWidth);
    refresh();
}

void FloatingPanelView::refresh()
{
    const PanelSections sections = panelSections(m_appState);
    m_banner->refresh(m_appState.pauseService, m_appState.calendar());
    m_dose->refresh(m_appState);
    m_level->refresh(m_appState);
    m_discipline->refresh(m_appState);
    m_statistics->refresh(m_appState.leqStatistics);
    m_activeSession->refresh(m_appState);
    m_today->refresh(m_appState);
    m_gates.set(*m_banner, m_appState.pauseService.isPaused);
    m_gates.set(*m_dose, sections.dose);
    m_gates.set(*m_level, sections.currentSPL);
    m_gates.set(*m_discipline, sections.discipline);
    m_gates.set(*m_statistics, sections.leq);
    m_gates.set(*m_activeSession, sections.activeSession);
    m_gates.set(*m_today, sections.today);
    m_gates.set(*m_hint, !sections.anySectionEnabled());
    const int signature = panelLayoutSignature(m_appState);
    if (std::exchange(m_layoutSignature, signature) != signature)
        m_onLayoutChange();
}

QSize FloatingPanelView::fittingSize() const
{
    layout()->activate();
    return {viewWidth, layout()->sizeHint().height()};
}

void FloatingPanelView::showEvent(QShowEvent* event)
{
    m_refreshes.refreshNow();
    QWidget::showEvent(event);
}

} // namespace velmor
