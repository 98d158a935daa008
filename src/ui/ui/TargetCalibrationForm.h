// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <integrations/VeskIntegration.h>
#include <ui/StateRows.h>
#include <ui/TextLabel.h>

#include <QPointer>
#include <QString>
#include <QWidget>

#include <functional>
#include <string>

namespace velmor {

/// Leads to the position of the monitor controller at which the reference level is heard, and tells which it
/// was.
class TargetCalibrationForm final : public QWidget
{
public:
    struct Needs
    {
        AppState& hub;
        VeskIntegration& vesk;
        std::function<void(const std::string& url)> openUrl;
    };

    explicit TargetCalibrationForm(const Needs& needs);

    void refresh();

private:
    bool event(QEvent* event) override;
    std::string rowsNow() const;
    void addRows();
    void addNotYetCalibratedRow();
    void addPlayingRow();
    void addCapturedRow(double measuredSPL);
    void addSavedConfirmationRow();
    void addSavedRow(const TargetCalibrationRecord& record);
    void addSendToVesk(const TargetCalibrationRecord& record);
    void followReading();
    std::optional<TargetCalibrationRecord> record() const;

    Needs m_needs;
    AppState& m_hub;
    StateRows* m_rows;
    QPointer<TextLabel> m_reading;
    QPointer<TextLabel> m_guidance;
    bool m_isVeskInstalled; ///< As it was when the window came to the front.
    QString m_note;         ///< What is typed of the knob's position, whatever rows are shown meanwhile.
};

} // namespace velmor
