// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <ui/ResponseCurve.h>
#include <ui/StateRows.h>
#include <ui/TextLabel.h>

#include <QPointer>
#include <QProgressBar>
#include <QWidget>

namespace velmor {

/// Measures the microphone's response, and shows the correction that comes of it.
class MicResponseForm final : public QWidget
{
public:
    explicit MicResponseForm(AppState& hub);

    void refresh();

private:
    void addState(StateRows& rows);

    AppState& m_hub;
    TextLabel* m_correction;
    ResponseCurve* m_curve;
    StateRows* m_state;
    StateRows* m_clearing;
    QPointer<QProgressBar> m_progress;
};

} // namespace velmor
