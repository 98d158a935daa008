// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <integrations/VeskIntegration.h>
#include <platform/DefaultsStore.h>
#include <platform/Workspace.h>
#include <ui/RefreshLimit.h>
#include <ui/SettingsPage.h>

#include <QAbstractButton>
#include <QStackedWidget>
#include <QWidget>

#include <functional>
#include <vector>

namespace velmor {

enum class SettingsTab { audio, safety, reference, daws, panel, general };

/// The window of all settings, a tab for each field. Follows the hub while it is shown. Main thread.
class SettingsView final : public QWidget
{
public:
    static constexpr int width = 500;

    /// \param showImporter the user wants to import another program's data.
    SettingsView(AppState& hub, DefaultsStore& defaults, Workspace& workspace,
                 const std::function<void()>& showImporter);

    void select(SettingsTab tab);
    SettingsTab selectedTab() const { return m_selectedTab; }

private:
    struct Tab
    {
        QAbstractButton* button;
        std::function<SettingsPage*()> make;
        SettingsPage* page; ///< Null before it is first chosen.
    };

    void addTab(const char* label, const char* symbol, QLayout& bar, std::function<SettingsPage*()> make);
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

    AppState& m_hub;
    VeskIntegration m_vesk;
    QStackedWidget* m_stack;
    std::vector<Tab> m_tabs; ///< By their kind.
    SettingsTab m_selectedTab = SettingsTab::audio;
    RefreshLimit m_refreshes;
    Subscription m_changes;
};

} // namespace velmor
