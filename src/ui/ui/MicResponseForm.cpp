// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/MicResponseForm.h>

#include <calibration/CalibrationTexts.h>

#include <fmt/format.h>

#include <QVBoxLayout>

#include <variant>

namespace velmor {

namespace {

constexpr int progressSteps = 200;

template <typename State>
bool is(const MicCalibrationState& state)
{
    return std::holds_alternative<State>(state);
}

} // namespace

MicResponseForm::MicResponseForm(AppState& hub)
    : m_hub(hub)
    , m_correction(new TextLabel(TextStyle::label, TextWeight::strong, Tint::primary))
    , m_curve(new ResponseCurve)
    , m_state(new StateRows)
    , m_clearing(new StateRows)
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::tight));
    for (QWidget* const part : {static_cast<QWidget*>(m_correction), static_cast<QWidget*>(m_curve),
                                static_cast<QWidget*>(m_state), static_cast<QWidget*>(m_clearing)})
        layout->addWidget(part);
}

void MicResponseForm::refresh()
{
    const auto& profile = m_hub.micFreqCorrection.profile.get();
    const MicCalibrationState& state = m_hub.micResponseService.state;
    m_correction->say(std::string(CalibrationTexts::micCorrectionText(profile.has_value())));
    m_curve->setVisible(profile.has_value());
    m_curve->show(profile ? profile->correctionCurve : std::vector<FrequencyCurvePoint>());
    // While it goes on its rows stay as they are.
    const std::string rows =
        is<MicCalibration::Measuring>(state) ? "measuring"
        : is<MicCalibration::Idle>(state)
            ? fmt::format("idle {} {}", m_hub.audioService.hasPermission.get(), m_hub.isTargetCalibrating())
            : CalibrationTexts::micCalibrationText(state);
    m_state->show(rows, [this](StateRows& own) { addState(own); });
    if (const auto* const measuring = std::get_if<MicCalibration::Measuring>(&state); measuring && m_progress)
        m_progress->setValue(static_cast<int>(measuring->progress * progressSteps));
    const bool canClear = profile.has_value() && !m_hub.micResponseService.isInProgress();
    m_clearing->show(canClear ? "clear" : "", [&](StateRows& own) {
        if (canClear)
            own.addCommands({{"Clear Measurement", [this] {
                                  m_hub.micFreqCorrection.clear();
                                  if (is<MicCalibration::Done>(m_hub.micResponseService.state))
                                      m_hub.micResponseService.dismiss();
                              }}});
    });
}

void MicResponseForm::addState(StateRows& rows)
{
    const MicCalibrationState& state = m_hub.micResponseService.state;
    const std::string text = CalibrationTexts::micCalibrationText(state);
    if (is<MicCalibration::Idle>(state)) {
        const bool isAllowed = m_hub.audioService.hasPermission;
        if (!isAllowed)
            rows.addText("Microphone permission is required.", Tint::orange);
        const bool isFree = !m_hub.isTargetCalibrating();
        if (!isFree)
            rows.addText(std::string(CalibrationTexts::targetUnderWay), Tint::orange);
        rows.addCommands({{"Measure Response", [this] { m_hub.measureMicResponse(); }, isAllowed && isFree}});
        return;
    }
    rows.addText(text, is<MicCalibration::Failed>(state) ? Tint::red
                       : is<MicCalibration::Done>(state) ? Tint::green
                                                         : Tint::secondary);
    if (is<MicCalibration::Measuring>(state)) {
        m_progress = new QProgressBar;
        m_progress->setRange(0, progressSteps);
        m_progress->setTextVisible(false);
        m_progress->setAccessibleName(QString::fromStdString(text));
        rows.add(m_progress);
    }
    if (is<MicCalibration::Settling>(state) || is<MicCalibration::Measuring>(state))
        rows.addCommands({{"Cancel", [this] { m_hub.micResponseService.cancel(); }}});
    else if (!is<MicCalibration::Computing>(state))
        rows.addCommands({{"Dismiss", [this] { m_hub.micResponseService.dismiss(); }}});
}

} // namespace velmor
