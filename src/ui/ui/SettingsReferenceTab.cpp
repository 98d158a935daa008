// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SettingsReferenceTab.h>

#include <ui/CommandButton.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace velmor {

namespace {

constexpr StepRange targetRange = {40, 120}; ///< dBA

/// By preset; what is the user's own needs no description.
constexpr std::array<const char*, 5> descriptions = {
    "Low-level critical listening. Reveals balance and tonal flaws that aggressive levels mask.",
    "K-14 reference. The standard target for most music mixing on small to mid-field monitors.",
    "K-12 crest factor reference, used in broadcast and louder mixes where -12 LUFS-style headroom is the "
    "goal.",
    "K-20 / SMPTE / Dolby reference for film and post — calibrated per channel, mixed to wide dynamic range.",
    "A level of your own. At 85 dBA the day's dose is full after 8 hours, at 88 dBA after 4."};

int presetIndex(const std::string& presetID)
{
    const auto row = std::ranges::find(referenceLevelPresets, presetID, &ReferenceLevelPresetRow::rawValue);
    return row != referenceLevelPresets.end() ? static_cast<int>(row - referenceLevelPresets.begin()) : -1;
}

template <typename Rows>
std::vector<std::string> labelsOf(const Rows& rows)
{
    std::vector<std::string> labels;
    for (const auto& row : rows)
        labels.emplace_back(row.label);
    return labels;
}

/// -1 for a value that is none of the choices.
template <typename Rows, typename Value>
int indexOf(const Rows& rows, const Value& value)
{
    const auto found = std::ranges::find_if(rows, [&](const auto& row) { return row.value == value; });
    return found != rows.end() ? static_cast<int>(found - rows.begin()) : -1;
}

} // namespace

SettingsReferenceTab::SettingsReferenceTab(AppState& hub, std::function<void()> goToCalibration)
    : m_hub(hub)
{
    SettingsSection& discipline = addSection("Monitoring Discipline");
    addSwitch(
        discipline, "Track time on reference level",
        [this] { return m_hub.referenceTracker.settings.get().enabled; },
        [this](bool isOn) { change([isOn](ReferenceLevelSettings& settings) { settings.enabled = isOn; }); });
    discipline.addFooter(
        "Velmor classifies every measurement as on-target, under, over, or silent based on your "
        "reference level. Silent stretches (breaks, transport stopped) are excluded from the score "
        "so they don't deflate it.");
    addTarget();
    addTolerance();
    SettingsSection& explained = addSection("Reference levels explained");
    explained.addText(
        "Why it matters",
        "Mixing at a consistent reference level trains your ear, makes your work translate predictably, "
        "and helps detect ear fatigue (you'll start creeping the volume up). Choose a target that "
        "matches your room, monitors, and material.");
    addDriftAlert();
    addOffTargetAlert();
    addCalibrationStatus(std::move(goToCalibration));
}

void SettingsReferenceTab::change(const std::function<void(ReferenceLevelSettings&)>& change)
{
    ReferenceLevelSettings settings = m_hub.referenceTracker.settings;
    change(settings);
    m_hub.referenceTracker.settings = settings;
}

void SettingsReferenceTab::changeAlerts(const std::function<void(MonitoringAlertSettings&)>& change)
{
    MonitoringAlertSettings settings = m_hub.alertDetector.settings;
    change(settings);
    m_hub.alertDetector.settings = settings;
}

void SettingsReferenceTab::addTarget()
{
    SettingsSection& target = addSection("Target Level");
    addPicker(
        target, "Target", labelsOf(referenceLevelPresets),
        [this] { return presetIndex(m_hub.referenceTracker.settings.get().presetID); },
        [this](int index) {
            const ReferenceLevelPresetRow& row = referenceLevelPresets.at(static_cast<std::size_t>(index));
            change([&row](ReferenceLevelSettings& settings) {
                settings.presetID = row.rawValue;
                settings.target = row.suggestedTarget.value_or(settings.target);
            });
        });
    Stepper& own = addStepper(
        target, "Custom target", " dBA", [] { return targetRange; },
        [this] { return static_cast<int>(std::lround(m_hub.referenceTracker.settings.get().target)); },
        [this](int level) {
            change([level](ReferenceLevelSettings& settings) { settings.target = level; });
        });
    auto* const description = new Paragraph("");
    target.add(description);
    follow([this, &own, description] {
        const int preset = presetIndex(m_hub.referenceTracker.settings.get().presetID);
        const bool isOwn =
            preset < 0 || !referenceLevelPresets.at(static_cast<std::size_t>(preset)).suggestedTarget;
        own.parentWidget()->setVisible(isOwn);
        description->setText(
            QString::fromUtf8(descriptions.at(isOwn ? 4 : static_cast<std::size_t>(preset))));
    });
}

void SettingsReferenceTab::addTolerance()
{
    SettingsSection& tolerance = addSection("Tolerance Band");
    addPicker(
        tolerance, "Tolerance", labelsOf(referenceLevelTolerances),
        [this] { return indexOf(referenceLevelTolerances, m_hub.referenceTracker.settings.get().tolerance); },
        [this](int index) {
            const double width = referenceLevelTolerances.at(static_cast<std::size_t>(index)).value;
            change([width](ReferenceLevelSettings& settings) { settings.tolerance = width; });
        });
    auto* const band = new Paragraph("", TextStyle::label, TextWeight::regular, Tint::primary);
    tolerance.add(band);
    follow([this, band] {
        const ReferenceLevelSettings& settings = m_hub.referenceTracker.settings.get();
        band->setText(QString::fromStdString(fmt::format("On-target band: {:.0f} – {:.0f} dBA",
                                                         settings.target - settings.tolerance,
                                                         settings.target + settings.tolerance)));
    });
}

void SettingsReferenceTab::addDriftAlert()
{
    SettingsSection& drift = addSection("Drift Alert");
    addSwitch(
        drift, "Notify me when monitoring drifts up over time",
        [this] { return m_hub.alertDetector.settings.get().driftAlertEnabled; },
        [this](bool isOn) {
            changeAlerts([isOn](MonitoringAlertSettings& settings) { settings.driftAlertEnabled = isOn; });
        });
    drift.addText(
        "Drift alert",
        "Ears that tire ask for more. Speaks up, once in a session, when your Leq of 30 minutes has stood "
        "3 dB or more above its first value of the session for 5 minutes on end.");
}

void SettingsReferenceTab::addOffTargetAlert()
{
    SettingsSection& offTarget = addSection("Off-target Alert");
    addSwitch(
        offTarget, "Notify me when I'm sustained outside the band",
        [this] { return m_hub.alertDetector.settings.get().offTargetAlertEnabled; },
        [this](bool isOn) {
            changeAlerts(
                [isOn](MonitoringAlertSettings& settings) { settings.offTargetAlertEnabled = isOn; });
        });
    addPicker(
        offTarget, "Direction", labelsOf(offTargetDirections),
        [this] {
            return indexOf(offTargetDirections, m_hub.alertDetector.settings.get().offTargetDirection);
        },
        [this](int index) {
            const OffTargetDirection direction =
                offTargetDirections.at(static_cast<std::size_t>(index)).value;
            changeAlerts(
                [direction](MonitoringAlertSettings& settings) { settings.offTargetDirection = direction; });
        });
    addPicker(
        offTarget, "Window", labelsOf(offTargetWindows),
        [this] { return indexOf(offTargetWindows, m_hub.alertDetector.settings.get().offTargetWindowSec); },
        [this](int index) {
            const double seconds = offTargetWindows.at(static_cast<std::size_t>(index)).value;
            changeAlerts(
                [seconds](MonitoringAlertSettings& settings) { settings.offTargetWindowSec = seconds; });
        });
    addPicker(
        offTarget, "Tolerance", labelsOf(offTargetTolerances),
        [this] {
            return indexOf(offTargetTolerances, m_hub.alertDetector.settings.get().offTargetToleranceDB);
        },
        [this](int index) {
            const double width = offTargetTolerances.at(static_cast<std::size_t>(index)).value;
            changeAlerts(
                [width](MonitoringAlertSettings& settings) { settings.offTargetToleranceDB = width; });
        });
    offTarget.addText(
        "Off-target alert",
        "Speaks up, once in a session, when 90% of the window's time that isn't silent was outside of "
        "this band around your target. A window that is mostly silent says nothing.");
    offTarget.addText(
        "Snooze and Time Sensitive",
        "Both alerts respect the standard 30-minute snooze (tap Snooze on the notification). Time "
        "Sensitive delivery is governed by the General tab toggle.");
}

void SettingsReferenceTab::addCalibrationStatus(std::function<void()> goToCalibration)
{
    SettingsSection& status = addSection("Calibration Status");
    status.addText(
        "Calibration lives in the Audio tab — Step 3. The wizard plays pink noise so you can pin your "
        "monitor controller to the target SPL.");
    auto* const missing = new Paragraph("Not yet calibrated to your listening position.", TextStyle::label,
                                        TextWeight::regular, Tint::orange);
    status.add(missing);
    auto* const button = new CommandButton(CommandButton::Form::onCard, "Run calibration wizard", "");
    connect(button, &CommandButton::clicked, this, std::move(goToCalibration));
    status.add(button);
    follow([this, missing] {
        missing->setVisible(
            !m_hub.targetCalibrationStore.record(m_hub.settings.selectedOutputDeviceUID.get()).has_value());
    });
}

} // namespace velmor
