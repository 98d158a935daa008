// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/Setting.h>
#include <ui/FormFields.h>
#include <ui/SettingsContent.h>
#include <ui/SettingsSection.h>
#include <ui/Switch.h>

#include <QScrollArea>
#include <QVBoxLayout>

#include <functional>
#include <utility>
#include <vector>

namespace velmor {

/// A tab of the settings: sections below one another. Its controls write what they stand for when the user
/// changes them, and show what it is whenever they are refreshed. Main thread.
class SettingsPage : public QScrollArea
{
public:
    SettingsPage();

    /// Brings all controls to what the settings are.
    void refresh();

protected:
    SettingsSection& addSection(const char* title);

    /// Called with each refresh.
    void follow(std::function<void()> refresh) { m_refreshes.push_back(std::move(refresh)); }

    Switch& addSwitch(SettingsSection& section, const char* label, std::function<bool()> read,
                      std::function<void(bool)> write);
    Switch& addSwitch(SettingsSection& section, const char* label, Setting<bool>& setting);

    /// \param labels of the choices, by index. \param read the index; -1 for none of them.
    Picker& addPicker(SettingsSection& section, const char* label, const std::vector<std::string>& labels,
                      std::function<int()> read, std::function<void(int)> write);

    /// One that goes by whole numbers. What is stored is shown also where it lies beyond \p range; from there
    /// one comes back into it.
    Stepper& addStepper(SettingsSection& section, const char* label, const char* unit,
                        std::function<StepRange()> range, std::function<int()> read,
                        std::function<void(int)> write);

private:
    QVBoxLayout* m_sections;
    std::vector<std::function<void()>> m_refreshes;
};

} // namespace velmor
