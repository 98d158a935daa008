// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <app/CheckForUpdatesViewModel.h>
#include <ui/CommandButton.h>
#include <ui/FloatingPanelWindowRegistry.h>
#include <ui/Gates.h>
#include <ui/SceneActions.h>

#include <QMenu>
#include <QWidget>

#include <functional>

namespace velmor {

/// The everyday commands, in the order of their importance.
class CommandsSection final : public QWidget
{
public:
    struct Callbacks
    {
        std::function<void()> askToReset; ///< The user wants the dose reset.
        std::function<void()> onCommand;  ///< A command has been carried out.
        std::function<void()> onLeave;    ///< The next one leads elsewhere.
        std::function<void()> onMenuClosed;
    };

    CommandsSection(AppState& hub, CheckForUpdatesViewModel& checkForUpdates,
                    FloatingPanelWindowRegistry& panelRegistry, const SceneActions& scenes, Gates& gates,
                    Callbacks callbacks);

    void refresh();

    void closeMenu() { m_durations->close(); }

private:
    CommandButton* addCommand(CommandButton::Form form, const char* label, const char* symbol,
                              std::function<void()> perform);
    bool hasSession() const;
    void startOrEndSession();
    void pauseOrResume();
    void choosePause();
    void shareLastSession();
    void leaveTo(const std::function<void()>& open);

    AppState& m_hub;
    CheckForUpdatesViewModel& m_checkForUpdates;
    FloatingPanelWindowRegistry& m_panelRegistry;
    const SceneActions& m_scenes;
    Gates& m_gates;
    Callbacks m_callbacks;
    CommandButton* m_session;
    CommandButton* m_pause;
    CommandButton* m_share;
    CommandButton* m_reset;
    CommandButton* m_panel;
    CommandButton* m_settings;
    CommandButton* m_history;
    CommandButton* m_updates;
    CommandButton* m_quit;
    QMenu* m_durations;
    bool m_endsSession = false; ///< What the button shows.
    bool m_resumes = false;     ///< Likewise.
};

} // namespace velmor
