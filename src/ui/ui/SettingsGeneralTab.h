// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <ui/SettingsContent.h>
#include <ui/SettingsPage.h>

#include <QLabel>

#include <functional>
#include <string>

namespace velmor {

/// Sessions, the login, the tray, notifications, how long sessions are kept, what a predecessor has left, and
/// what program this is.
class SettingsGeneralTab final : public SettingsPage
{
public:
    SettingsGeneralTab(AppState& hub, std::function<void(const std::string& url)> openUrl,
                       const std::function<void()>& showImporter);

private:
    void addSessions();
    void addMenuBar();
    void addNotifications();
    void addStorage();
    void addMigration(const std::function<void()>& showImporter);
    void addAbout();
    Stepper& menuBarColorThresholdRow(SettingsSection& section, const char* title, Setting<double>& value,
                                      std::function<StepRange()> range);
    QWidget* infoRow(const char* label, const QString& text, const QString& link = {});

    AppState& m_hub;
    std::function<void(const std::string&)> m_openUrl;
};

} // namespace velmor
