// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppSettings.h>
#include <ui/SettingsPage.h>

namespace velmor {

/// What the figures mean: mostly reference, with the two settings that change how dose is counted.
class SettingsSafetyTab final : public SettingsPage
{
public:
    explicit SettingsSafetyTab(AppSettings& settings);

private:
    void addDose();
    void addWeeklyLevel();
    void addStatistics();
    void addWeighting();
    void addModes(AppSettings& settings);
    void addPeaks();
};

} // namespace velmor
