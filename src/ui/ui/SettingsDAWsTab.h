// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <platform/Workspace.h>
#include <ui/CommandButton.h>
#include <ui/FormFields.h>
#include <ui/SettingsPage.h>

#include <QIcon>
#include <QVBoxLayout>

#include <map>
#include <string>

namespace velmor {

/// The workstations that sessions follow, and those that the user adds.
class SettingsDAWsTab final : public SettingsPage
{
public:
    SettingsDAWsTab(AppState& hub, Workspace& workspace);

private:
    void addDetected();
    void addCustom();
    void refreshList();
    void refreshApplications();
    QWidget* row(const std::string& bundleID, const std::string& name, bool isRunning);
    void addDAW();
    void showEvent(QShowEvent* event) override;

    AppState& m_hub;
    Workspace& m_workspace;
    QVBoxLayout* m_list;
    std::map<std::string, std::string> m_shown; ///< What the list is of: names by identifier, with a mark.
    Picker* m_applications;
    QLineEdit* m_customDAWName;
    QLineEdit* m_customBundleID;
    Paragraph* m_refusal;
    CommandButton* m_add;
    std::map<std::string, QIcon> m_icons;
};

} // namespace velmor
