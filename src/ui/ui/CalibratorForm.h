// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <ui/StateRows.h>

#include <QWidget>

namespace velmor {

/// Finds the offset with an acoustic calibrator on the microphone.
class CalibratorForm final : public QWidget
{
public:
    explicit CalibratorForm(AppState& hub);

    void refresh();

private:
    void addIdle(StateRows& rows);

    AppState& m_hub;
    StateRows* m_rows;
    double m_level = CalibratorService::usualLevels[0];
    bool m_isRefused = false; ///< The last start.
};

/// Makes a correction of the data that a measurement microphone comes with.
class MicrophoneDataForm final : public QWidget
{
public:
    explicit MicrophoneDataForm(AppState& hub);

private:
    void choose();
    void take(const QString& file);

    AppState& m_hub;
    StateRows* m_outcome;
    int m_files = 0; ///< Taken so far.
};

} // namespace velmor
