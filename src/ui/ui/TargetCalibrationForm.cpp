// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/TargetCalibrationForm.h>

#include <calibration/CalibrationTexts.h>
#include <ui/MenuBarContent.h>
#include <ui/SendToVeskSheet.h>
#include <ui/SettingsSection.h>
#include <ui/SymbolView.h>
#include <ui/WebAddresses.h>

#include <fmt/format.h>

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include <utility>
#include <variant>

namespace velmor {

namespace {

Tint tintOf(CalibrationTexts::ReadingColor color)
{
    switch (color) {
    case CalibrationTexts::ReadingColor::green:
        return Tint::green;
    case CalibrationTexts::ReadingColor::yellow:
        return Tint::yellow;
    case CalibrationTexts::ReadingColor::orange:
        break;
    }
    return Tint::orange;
}

std::string text(std::string_view words)
{
    return std::string(words);
}

} // namespace

TargetCalibrationForm::TargetCalibrationForm(const Needs& needs)
    : m_needs(needs)
    , m_hub(needs.hub)
    , m_rows(new StateRows)
    , m_isVeskInstalled(needs.vesk.isInstalled())
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_rows);
}

std::optional<TargetCalibrationRecord> TargetCalibrationForm::record() const
{
    return m_hub.targetCalibrationStore.record(m_hub.settings.selectedOutputDeviceUID);
}

/// All that the rows tell of but the live reading.
std::string TargetCalibrationForm::rowsNow() const
{
    const TargetCalibrationState& state = m_hub.targetCalibrationService.state;
    const ReferenceLevelSettings& reference = m_hub.referenceTracker.settings;
    std::string rows =
        fmt::format("{} {} {} {} {}", state.index(), reference.target, reference.tolerance,
                    m_hub.micResponseService.isInProgress(), m_hub.audioService.isRunning.get());
    if (const auto* const captured = std::get_if<TargetCalibration::Captured>(&state))
        rows += fmt::format(" {}", captured->measuredSPL);
    if (const auto* const failed = std::get_if<TargetCalibration::Failed>(&state))
        rows += failed->message;
    if (const auto saved = record())
        rows +=
            fmt::format(" {} {} {} {} {} {} {}", saved->outputDeviceName, saved->knobNote, saved->targetDBA,
                        saved->measuredDBA, CalibrationTexts::calibrationAge(*saved, m_hub.now()),
                        saved->isStale(m_hub.now()), m_isVeskInstalled);
    return rows;
}

void TargetCalibrationForm::refresh()
{
    // Of the next position it says nothing.
    if (!m_hub.isTargetCalibrating())
        m_note.clear();
    m_rows->show(rowsNow(), [this](StateRows&) { addRows(); });
    followReading();
}

bool TargetCalibrationForm::event(QEvent* event)
{
    // Whoever follows the hint installs it with this window open, and comes back.
    if (event->type() == QEvent::WindowActivate) {
        m_isVeskInstalled = m_needs.vesk.isInstalled();
        refresh();
    }
    return QWidget::event(event);
}

void TargetCalibrationForm::addRows()
{
    const TargetCalibrationState& state = m_hub.targetCalibrationService.state;
    if (std::holds_alternative<TargetCalibration::Playing>(state)) {
        addPlayingRow();
    } else if (const auto* const captured = std::get_if<TargetCalibration::Captured>(&state)) {
        addCapturedRow(captured->measuredSPL);
    } else if (std::holds_alternative<TargetCalibration::Saved>(state)) {
        addSavedConfirmationRow();
    } else if (const auto* const failed = std::get_if<TargetCalibration::Failed>(&state)) {
        m_rows->addText(CalibrationTexts::calibrationFailed(failed->message), Tint::red);
        m_rows->addCommands({{"Dismiss", [this] { m_hub.targetCalibrationService.dismiss(); }}});
    } else if (const auto saved = record()) {
        addSavedRow(*saved);
    } else {
        addNotYetCalibratedRow();
    }
}

void TargetCalibrationForm::addNotYetCalibratedRow()
{
    const ReferenceLevelSettings& reference = m_hub.referenceTracker.settings;
    m_rows->addText(text(CalibrationTexts::notCalibrated), Tint::primary);
    m_rows->addText(CalibrationTexts::pinController(reference.target, reference.tolerance));
    const bool isFree = !m_hub.micResponseService.isInProgress();
    if (!isFree)
        m_rows->addText(text(CalibrationTexts::noiseInUse), Tint::orange);
    m_rows->addCommands({{"Run Calibration Wizard", [this] { m_hub.startTargetCalibration(); }, isFree}});
}

void TargetCalibrationForm::addPlayingRow()
{
    m_rows->addText(text(CalibrationTexts::playingNoise), Tint::primary);
    m_reading = new TextLabel(TextStyle::title, TextWeight::strong, Tint::primary);
    m_guidance = new TextLabel(TextStyle::label, TextWeight::regular, Tint::secondary);
    m_rows->add(m_reading);
    m_rows->add(m_guidance);
    // Without a reading there is none to capture.
    m_rows->addCommands(
        {{"Capture position", [this] { m_hub.captureTarget(); }, m_hub.audioService.isRunning.get()},
         {"Cancel", [this] { m_hub.targetCalibrationService.cancel(); }}});
}

void TargetCalibrationForm::followReading()
{
    if (!m_reading || !m_guidance)
        return;
    const ReferenceLevelSettings& reference = m_hub.referenceTracker.settings;
    const double reading = m_hub.audioService.currentSPL;
    m_reading->say({levelText(reading, "dBA"),
                    tintOf(CalibrationTexts::readingColor(reading, reference.target, reference.tolerance))});
    m_guidance->say(CalibrationTexts::guidance(m_hub.audioService.isRunning, reading, reference.target));
}

void TargetCalibrationForm::addCapturedRow(double measuredSPL)
{
    const ReferenceLevelSettings& reference = m_hub.referenceTracker.settings;
    const auto outside = CalibrationTexts::outsideBand(measuredSPL, reference.target, reference.tolerance);
    auto* const result = new QWidget;
    auto* const layout = new QHBoxLayout(result);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new SymbolView(outside ? "exclamationmark.triangle.fill" : "checkmark.circle.fill",
                                     outside ? Tint::orange : Tint::green, iconSide::control));
    layout->addWidget(new TextLabel(CalibrationTexts::capturedAt(measuredSPL).c_str(), TextStyle::label,
                                    TextWeight::strong, Tint::primary));
    layout->addWidget(
        new TextLabel(outside.value_or("").c_str(), TextStyle::label, TextWeight::regular, Tint::orange), 1);
    m_rows->add(result);
    auto* const note = new QLineEdit(m_note);
    note->setPlaceholderText(QStringLiteral("e.g. 11 o'clock dot, -14 dB on Apollo trim"));
    note->setAccessibleName(QStringLiteral("Mark your physical position so you can return to it later"));
    note->setFont(fontOf(TextStyle::label));
    connect(note, &QLineEdit::textEdited, this, [this](const QString& text) { m_note = text; });
    m_rows->add(note);
    m_rows->add(
        new Paragraph("Mark your physical position so you can return to it later", TextStyle::caption));
    m_rows->addCommands({{"Save calibration",
                          // What is typed goes with the rows that it is typed in.
                          [this] { m_hub.saveTargetCalibration(m_note.toStdString()); }},
                         {"Adjust again", [this] { m_hub.targetCalibrationService.recapture(); }},
                         {"Cancel", [this] { m_hub.targetCalibrationService.cancel(); }}});
}

void TargetCalibrationForm::addSavedConfirmationRow()
{
    m_rows->addText(text(CalibrationTexts::calibrationSaved), Tint::green);
    if (const auto saved = record())
        addSendToVesk(*saved);
    m_rows->addCommands({{"Done", [this] { m_hub.targetCalibrationService.dismiss(); }}});
}

void TargetCalibrationForm::addSavedRow(const TargetCalibrationRecord& saved)
{
    m_rows->addText(CalibrationTexts::calibratedFor(saved), Tint::primary);
    m_rows->addText(
        fmt::format("{:.0f} dBA, {}", saved.targetDBA, CalibrationTexts::calibrationAge(saved, m_hub.now())));
    if (!saved.knobNote.empty())
        m_rows->addText(saved.knobNote);
    if (saved.isStale(m_hub.now()))
        m_rows->addText(text(CalibrationTexts::staleCalibration), Tint::orange);
    if (const auto mismatch =
            CalibrationTexts::targetMismatch(saved, m_hub.referenceTracker.settings.get().target))
        m_rows->addText(*mismatch, Tint::orange);
    const bool isFree = !m_hub.micResponseService.isInProgress();
    if (!isFree)
        m_rows->addText(text(CalibrationTexts::noiseInUse), Tint::orange);
    addSendToVesk(saved);
    m_rows->addCommands({{"Recalibrate", [this] { m_hub.startTargetCalibration(); }, isFree}});
}

void TargetCalibrationForm::addSendToVesk(const TargetCalibrationRecord& saved)
{
    if (m_isVeskInstalled) {
        auto* const button = new CommandButton(CommandButton::Form::onCard, "Send to Vesk", "paperplane");
        connect(button, &CommandButton::clicked, this, [this, saved] {
            const SendToVeskContext context{makeUuid(), saved.measuredDBA,
                                            VeskIntegration::suggestedName(saved.targetDBA)};
            (new SendToVeskSheet(context, m_needs.vesk, window()))->open();
        });
        m_rows->add(button);
        return;
    }
    auto* const hint =
        new QLabel(QStringLiteral("<a href=\"vesk\" style=\"text-decoration: none; color: inherit\">"
                                  "Recall this position with one keystroke using <b>Vesk</b> — "
                                  "Brightfen's Apollo volume control.</a>"));
    hint->setWordWrap(true);
    hint->setFont(fontOf(TextStyle::caption));
    hint->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    connect(hint, &QLabel::linkActivated, this, [this] { m_needs.openUrl(web_addresses::sibling); });
    m_rows->add(hint);
}

} // namespace velmor
