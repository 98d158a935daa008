// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <ui/SettingsPage.h>

#include <functional>

namespace velmor {

/// The level that the user wants to monitor at, and when the program speaks up about it.
class SettingsReferenceTab final : public SettingsPage
{
public:
    /// \param goToCalibration shows where the reference level is calibrated.
    SettingsReferenceTab(AppState& hub, std::function<void()> goToCalibration);

private:
    void addTarget();
    void addTolerance();
    void addDriftAlert();
    void addOffTargetAlert();
    void addCalibrationStatus(std::function<void()> goToCalibration);
    void change(const std::function<void(ReferenceLevelSettings&)>& change);
    void changeAlerts(const std::function<void(MonitoringAlertSettings&)>& change);

    AppState& m_hub;
};

} // namespace velmor
