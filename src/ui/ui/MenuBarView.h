// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <app/CheckForUpdatesViewModel.h>
#include <ui/ActiveSessionSection.h>
#include <ui/CommandsSection.h>
#include <ui/Confirmation.h>
#include <ui/DisciplineSection.h>
#include <ui/DoseSection.h>
#include <ui/FloatingPanelWindowRegistry.h>
#include <ui/Gates.h>
#include <ui/LevelSection.h>
#include <ui/PauseBanner.h>
#include <ui/RefreshLimit.h>
#include <ui/SceneActions.h>
#include <ui/StatisticsSection.h>
#include <ui/TodaySection.h>

#include <QTimer>
#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

namespace velmor {

/// The digest that opens from the tray item: dose, level, session, the day, and the everyday commands.
/// Follows the hub while it is shown, and is as high as what it has to say.
class MenuBarView final : public QWidget
{
public:
    static constexpr int width = 344;

    /// \param onLeave a command leads elsewhere; whoever shows the view may close it.
    MenuBarView(AppState& appState, CheckForUpdatesViewModel& checkForUpdates,
                FloatingPanelWindowRegistry& panelRegistry, SceneActions scenes,
                std::function<void()> onLeave = {});

    /// Shows the values of this moment, and the sections that there are then.
    void refresh();

    /// While it is held still, its parts keep their places and it its height, but for the user's own
    /// commands.
    void hold(bool isStill);

    /// Cancels what is being asked. \return whether something was.
    bool cancelQuestion();

    /// The view has taken another height.
    std::function<void()> onHeightChange;

    /// A menu that lay over the view has gone.
    std::function<void()> onMenuClosed;

private:
    void openPendingReport(const std::optional<Uuid>& id);
    void followCommand();
    void resetDose();
    void takeHeight();
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

    AppState& m_appState;
    SceneActions m_scenes;
    std::function<void()> m_onLeave;
    Gates m_gates;
    PauseBanner* m_banner;
    DoseSection* m_dose;
    LevelSection* m_level;
    DisciplineSection* m_discipline;
    StatisticsSection* m_statistics;
    ActiveSessionSection* m_activeSession;
    TodaySection* m_today;
    CommandsSection* m_commands;
    Confirmation* m_resetConfirmation;
    std::vector<QWidget*> m_ruledSections; ///< Those with a line above.
    bool m_isHeld = false;
    RefreshLimit m_refreshes;
    QTimer m_clock; ///< Durations go on without news of the hub.
    std::vector<Subscription> m_subscriptions;
};

} // namespace velmor
