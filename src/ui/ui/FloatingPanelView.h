// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <ui/ActiveSessionSection.h>
#include <ui/DisciplineSection.h>
#include <ui/DoseSection.h>
#include <ui/EmptyStateHint.h>
#include <ui/Gates.h>
#include <ui/LevelSection.h>
#include <ui/PauseBanner.h>
#include <ui/RefreshLimit.h>
#include <ui/StatisticsSection.h>
#include <ui/TodaySection.h>

#include <QWidget>

#include <functional>

namespace velmor {

/// The live measurements that the user has chosen for the floating panel, or where they are chosen. Follows
/// the hub while it is shown.
class FloatingPanelView final : public QWidget
{
public:
    /// \param onLayoutChange is called back when a section has come or gone.
    FloatingPanelView(AppState& appState, std::function<void()> onLayoutChange);

    void refresh();

    /// What all that it shows takes.
    QSize fittingSize() const;

private:
    void showEvent(QShowEvent* event) override;

    AppState& m_appState;
    Gates m_gates;
    PauseBanner* m_banner;
    DoseSection* m_dose;
    LevelSection* m_level;
    DisciplineSection* m_discipline;
    StatisticsSection* m_statistics;
    ActiveSessionSection* m_activeSession;
    TodaySection* m_today;
    EmptyStateHint* m_hint;
    std::function<void()> m_onLayoutChange;
    int m_layoutSignature = 0;
    RefreshLimit m_refreshes;
    Subscription m_changes;
};

} // namespace velmor
