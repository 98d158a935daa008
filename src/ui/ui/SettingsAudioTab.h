// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <integrations/VeskIntegration.h>
#include <platform/DefaultsStore.h>
#include <ui/RefreshLimit.h>
#include <ui/SettingsPage.h>
#include <ui/StateRows.h>

#include <functional>
#include <string>

namespace velmor {

/// The microphone and its three steps of calibration: its response, its level, the reference level at the
/// listening position.
class SettingsAudioTab final : public SettingsPage
{
public:
    struct Needs
    {
        AppState& hub;
        DefaultsStore& defaults;
        VeskIntegration& vesk;
        std::function<void(const std::string& url)> openUrl;
    };

    explicit SettingsAudioTab(const Needs& needs);

private:
    /// Whether one of the calibrations with noise is under way, or that of the reference level.
    bool isCalibrating() const;
    void addMicrophone();
    void addMicResponse();
    void addLevelCalibration();
    void addSaveProfile();
    void addSavedProfiles();
    void addTargetCalibration();
    void addPrecision();
    void addTrust();
    void showTrust();
    void addProfileRows(StateRows& rows);

    Needs m_needs;
    AppState& m_hub;
    StateRows* m_trust;
    RefreshLimit m_trustRefreshes;
};

} // namespace velmor
