// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/CalibratorForm.h>

#include <calibration/MicrophoneDataFile.h>
#include <ui/FormFields.h>

#include <fmt/format.h>

#include <QFileDialog>
#include <QFileInfo>
#include <QVBoxLayout>

#include <algorithm>
#include <iterator>
#include <variant>

namespace velmor {

CalibratorForm::CalibratorForm(AppState& hub)
    : m_hub(hub)
    , m_rows(new StateRows)
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_rows);
}

void CalibratorForm::addIdle(StateRows& rows)
{
    auto* const level = new Picker;
    for (const double usual : CalibratorService::usualLevels)
        level->addItem(QString::fromStdString(fmt::format("{:.0f} dB", usual)), usual);
    level->setCurrentIndex(level->findData(m_level));
    level->setAccessibleName(QStringLiteral("Level of the calibrator"));
    level->setFont(fontOf(TextStyle::label));
    connect(level, &QComboBox::activated, this, [this, level] { m_level = level->currentData().toDouble(); });
    rows.add(level);
    if (m_isRefused)
        rows.addText("Not during a session, nor while noise plays or Step 3 is under way.", Tint::orange);
    rows.addCommands({{"Listen to Calibrator", [this] {
                           m_isRefused =
                               !m_hub.startCalibrator(m_level) &&
                               std::holds_alternative<Calibrator::Idle>(m_hub.calibratorService.state.get());
                           refresh();
                       }}});
}

void CalibratorForm::refresh()
{
    const CalibratorState& state = m_hub.calibratorService.state;
    std::string key = fmt::format("{} {}", state.index(), m_isRefused);
    const auto* const listening = std::get_if<Calibrator::Listening>(&state);
    const auto* const proposed = std::get_if<Calibrator::Proposed>(&state);
    const auto* const failed = std::get_if<Calibrator::Failed>(&state);
    if (listening)
        key += fmt::format(" {:.0f} {}", listening->steadySeconds, listening->problem);
    else if (proposed)
        key += fmt::format(" {}", proposed->offset);
    else if (failed)
        key += failed->message;
    m_rows->show(key, [&](StateRows& rows) {
        const auto cancel = [this] { m_hub.calibratorService.cancel(); };
        if (listening) {
            rows.addText(fmt::format("Steady for {:.0f} of {:.0f} seconds", listening->steadySeconds,
                                     CalibratorService::steadySecondsNeeded),
                         Tint::primary);
            if (!listening->problem.empty())
                rows.addText(listening->problem, Tint::orange);
            rows.addCommands({{"Cancel", cancel}});
        } else if (proposed) {
            rows.addText(fmt::format("{:.1f} dB at {:.0f} Hz: the offset is {:.2f} dB, now it is {:.2f} dB.",
                                     proposed->calibratorLevel, proposed->frequency, proposed->offset,
                                     m_hub.settings.calibrationOffset.get()),
                         Tint::primary);
            rows.addCommands(
                {{"Use This Offset", [this] { m_hub.acceptCalibratorOffset(); }}, {"Cancel", cancel}});
        } else if (failed) {
            rows.addText(failed->message, Tint::red);
            rows.addCommands({{"Dismiss", cancel}});
        } else {
            addIdle(rows);
        }
    });
}

MicrophoneDataForm::MicrophoneDataForm(AppState& hub)
    : m_hub(hub)
    , m_outcome(new StateRows)
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::tight));
    auto* const button = new CommandButton(CommandButton::Form::onCard, "Choose Data File…", "");
    connect(button, &CommandButton::clicked, this, [this] { choose(); });
    layout->addWidget(button);
    layout->addWidget(m_outcome);
}

void MicrophoneDataForm::choose()
{
    auto* const dialog = new QFileDialog(window());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilters(
        {QStringLiteral("Microphone data (*.txt *.cal *.frd *.csv)"), QStringLiteral("All files (*)")});
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& file) { take(file); });
    dialog->open();
}

void MicrophoneDataForm::take(const QString& file)
{
    std::string said;
    Tint tint = Tint::green;
    try {
        m_hub.applyMicrophoneData(readMicrophoneData(file.toStdString()));
        said = fmt::format("{} is in force.", QFileInfo(file).fileName().toStdString());
    } catch (const MicrophoneDataError& error) {
        said = error.what();
        tint = Tint::red;
    }
    m_outcome->show(fmt::format("{}", ++m_files), [&](StateRows& rows) { rows.addText(said, tint); });
}

} // namespace velmor
