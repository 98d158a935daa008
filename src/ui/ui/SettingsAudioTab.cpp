// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SettingsAudioTab.h>

#include <calibration/CalibrationTexts.h>
#include <ui/CalibratorForm.h>
#include <ui/HistoryDays.h>
#include <ui/LocaleDates.h>
#include <ui/MenuBarContent.h>
#include <ui/MicResponseForm.h>
#include <ui/SessionReportContent.h>
#include <ui/SymbolView.h>
#include <ui/TargetCalibrationForm.h>
#include <ui/TextLabel.h>

#include <fmt/format.h>

#include <QHBoxLayout>
#include <QSignalBlocker>
#include <QVariant>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <variant>

namespace velmor {

namespace {

constexpr auto micLocationKey = "micLocationNote";
constexpr auto systemDefault = "System Default";
constexpr double lowestOffset = 60.0;
constexpr double highestOffset = 120.0;
constexpr double defaultOffset = 94.0;
constexpr double offsetSteps = 10; ///< In a decibel.

/// Its text counts what goes wrong in the input, and another text has the whole page laid out anew.
constexpr int leastTrustRefreshMilliseconds = 1000;

/// A choice of a picker, and what it stands for.
struct Choice
{
    QString label;
    QVariant value;
};

/// One that is none of the choices leaves the picker without one.
void fill(Picker& picker, const std::vector<Choice>& choices, const QVariant& chosen)
{
    const QSignalBlocker blocker(&picker);
    bool isSame = picker.count() == static_cast<int>(choices.size());
    for (int i = 0; isSame && i < picker.count(); ++i) {
        const Choice& choice = choices[static_cast<std::size_t>(i)];
        isSame = picker.itemText(i) == choice.label && picker.itemData(i) == choice.value;
    }
    // Another list would close one that is open.
    if (!isSame) {
        picker.clear();
        for (const Choice& choice : choices)
            picker.addItem(choice.label, choice.value);
    }
    picker.setCurrentIndex(picker.findData(chosen));
}

/// The system's default first.
void fillWithDevices(Picker& picker, const std::vector<AudioDevice>& devices, const std::string& selectedUID)
{
    std::vector<Choice> choices = {{QString::fromLatin1(systemDefault), QString()}};
    for (const AudioDevice& device : devices)
        choices.push_back({QString::fromStdString(device.displayName()), QString::fromStdString(device.uid)});
    fill(picker, choices, QString::fromStdString(selectedUID));
}

Picker* widePicker()
{
    auto* const picker = new Picker;
    picker->setFixedWidth(fieldWidth);
    picker->setPlaceholderText(QStringLiteral("Not connected"));
    return picker;
}

} // namespace

SettingsAudioTab::SettingsAudioTab(const Needs& needs)
    : m_needs(needs)
    , m_hub(needs.hub)
    , m_trust(new StateRows)
    , m_trustRefreshes(leastTrustRefreshMilliseconds, [this] { showTrust(); })
{
    addMicrophone();
    addMicResponse();
    addLevelCalibration();
    addSaveProfile();
    addSavedProfiles();
    addTargetCalibration();
    addPrecision();
    addTrust();
}

void SettingsAudioTab::addMicrophone()
{
    SettingsSection& microphone = addSection("Microphone");
    auto* const input = widePicker();
    auto* const channel = widePicker();
    auto* const output = widePicker();
    auto* const location = new QLineEdit;
    microphone.addRow("Input Device", input);
    microphone.addRow("Input Channel", channel);
    auto* const refreshDevices = new CommandButton(CommandButton::Form::onCard, "Refresh Devices", "");
    connect(refreshDevices, &CommandButton::clicked, this, [this] { m_hub.deviceManager.refreshDevices(); });
    microphone.add(refreshDevices);
    auto* const missing = new QWidget;
    auto* const missingLayout = new QHBoxLayout(missing);
    missingLayout->setContentsMargins(0, 0, 0, 0);
    missingLayout->addWidget(new SymbolView("exclamationmark.triangle", Tint::orange, iconSide::control), 0,
                             Qt::AlignTop);
    missingLayout->addWidget(
        new Paragraph("Microphone access is required. Grant it where your desktop's settings list the "
                      "permissions of applications, and see that PipeWire is running.",
                      TextStyle::label, TextWeight::regular, Tint::orange),
        1);
    microphone.add(missing);
    microphone.addRow("Output Device", output);
    microphone.addRow("Mic Location", location);
    location->setPlaceholderText(QStringLiteral("e.g. Studio Display mic, 1m behind listening position"));
    location->setFixedWidth(fieldWidth);
    location->setText(QString::fromStdString(m_needs.defaults.get<std::string>(micLocationKey).value_or("")));
    microphone.addFooter("For your reference only — helps you remember the measurement context.");

    connect(input, &QComboBox::activated, this, [this, input] {
        m_hub.settings.selectedDeviceUID = input->currentData().toString().toStdString();
    });
    connect(channel, &QComboBox::activated, this, [this, channel] {
        m_hub.deviceManager.selectedChannelIndex = channel->currentData().toInt();
        m_hub.audioService.switchDevice();
    });
    connect(output, &QComboBox::activated, this, [this, output] {
        m_hub.settings.selectedOutputDeviceUID = output->currentData().toString().toStdString();
    });
    connect(location, &QLineEdit::textEdited, this,
            [this](const QString& text) { m_needs.defaults.set(micLocationKey, text.toStdString()); });
    follow([this, missing, input, channel, output, refreshDevices] {
        missing->setVisible(!m_hub.audioService.hasPermission);
        fillWithDevices(*input, m_hub.deviceManager.inputDevices, m_hub.settings.selectedDeviceUID);
        fillWithDevices(*output, m_hub.deviceManager.outputDevices, m_hub.settings.selectedOutputDeviceUID);
        std::vector<Choice> channels;
        for (const AudioChannel& each : m_hub.deviceManager.availableInputChannels.get())
            channels.push_back({QString::fromStdString(each.name), each.index});
        fill(*channel, channels, m_hub.deviceManager.selectedChannelIndex.get());
        // A calibration is of the devices that it began with.
        const bool isFree = !isCalibrating();
        for (QWidget* const control : std::initializer_list<QWidget*>{input, channel, output, refreshDevices})
            control->setEnabled(isFree);
    });
}

bool SettingsAudioTab::isCalibrating() const
{
    return m_hub.micResponseService.isInProgress() || m_hub.isTargetCalibrating();
}

void SettingsAudioTab::addMicResponse()
{
    SettingsSection& response = addSection("Step 1 — Mic Response Correction (Optional)");
    auto* const form = new MicResponseForm(m_hub);
    response.add(form);
    response.addText(
        "What this does",
        "Plays pink noise, listens to it through your microphone, and works out a filter that evens out "
        "what monitors, room and microphone colour. Below 400 Hz it fades out, and its curve corrects by no "
        "more than 9 dB. It can shift the level, so calibrate that afterwards.");
    response.addText("Calibration order",
                     "Measure the response first, then calibrate the level (Step 2), then the "
                     "reference level (Step 3): each stands on the one before.");
    follow([form] { form->refresh(); });
}

void SettingsAudioTab::addLevelCalibration()
{
    SettingsSection& level = addSection("Step 2 — Level Calibration");
    auto* const row = new QWidget;
    auto* const layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::item));
    auto* const slider = new Slider(Qt::Horizontal);
    auto* const value = new TextLabel(TextStyle::label, TextWeight::strong, Tint::primary, Qt::AlignRight);
    value->keepRoomFor("120.0 dB");
    slider->setRange(static_cast<int>(lowestOffset * offsetSteps),
                     static_cast<int>(highestOffset * offsetSteps));
    slider->setSingleStep(1);
    slider->setPageStep(static_cast<int>(offsetSteps));
    slider->setAccessibleName(QStringLiteral("Calibration Offset"));
    layout->addWidget(
        new TextLabel("Calibration Offset", TextStyle::label, TextWeight::regular, Tint::primary));
    layout->addWidget(slider, 1);
    layout->addWidget(value);
    level.add(row);
    connect(slider, &QSlider::valueChanged, this,
            [this](int steps) { m_hub.settings.calibrationOffset = steps / offsetSteps; });
    auto* const reset = new CommandButton(CommandButton::Form::onCard, "Reset to Default", "");
    connect(reset, &CommandButton::clicked, this,
            [this] { m_hub.settings.calibrationOffset = defaultOffset; });
    level.add(reset);

    auto* const reading = new TextLabel(TextStyle::value, TextWeight::strong, Tint::primary);
    level.addRow("Live reading", reading);
    reading->keepRoomFor("Play noise or start a session");
    reading->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    auto* const noise = new StateRows;
    level.add(noise);
    level.addText("Adjust offset until reading stabilises");
    level.addText("How the offset works",
                  "SPL = 20 × log₁₀(RMS) + offset. The default 94 dB matches the IEC 60942 pistonphone "
                  "standard. Adjust until live readings match a reference meter at your listening position.");
    level.addText("How to calibrate",
                  "1. Put the microphone at your listening position, with a reference meter beside it.\n"
                  "2. Play the pink noise at a comfortable level, around 80 dB.\n"
                  "3. Set the meter to A weighting and slow.\n"
                  "4. Move the offset until the live reading is what the meter shows.");
    level.addText(
        "Why the listening position?",
        "Your ears are there. A metre nearer to a monitor the level can be 6 dB higher, and the dose four "
        "times as large.");
    follow([this, slider, value, reading, noise] {
        const double offset = m_hub.settings.calibrationOffset;
        const QSignalBlocker blocker(slider);
        slider->setValue(static_cast<int>(std::lround(offset * offsetSteps)));
        value->say(fmt::format("{:.1f} dB", offset));
        const bool isRunning = m_hub.audioService.isRunning;
        // A font that is set, be it the same, has the whole page laid out anew.
        if (const QFont font = fontOf(isRunning ? TextStyle::value : TextStyle::label);
            font.pixelSize() != reading->font().pixelSize())
            reading->setFont(font);
        reading->say(isRunning ? levelText(m_hub.audioService.currentSPL, "dBA")
                               : "Play noise or start a session");
        const bool isInUse = m_hub.micResponseService.isInProgress();
        const bool isTargetCalibrating = m_hub.isTargetCalibrating();
        const bool isFree = !isInUse && !isTargetCalibrating;
        const bool isPlaying = m_hub.pinkNoisePlayer.isPlaying;
        noise->show(fmt::format("{} {} {}", isInUse, isFree, isPlaying), [&](StateRows& rows) {
            rows.addCommands(
                {{isPlaying && isFree ? "Stop Pink Noise" : "Play Pink Noise",
                  [this] { m_hub.pinkNoisePlayer.toggle(m_hub.settings.selectedOutputDeviceUID.get()); },
                  isFree}});
            if (isInUse)
                rows.addText(std::string(CalibrationTexts::noiseInUse), Tint::orange);
            else if (isTargetCalibrating)
                rows.addText(std::string(CalibrationTexts::targetUnderWay), Tint::orange);
        });
    });
}

void SettingsAudioTab::addSaveProfile()
{
    SettingsSection& section = addSection("Save Profile");
    auto* const label = new QLineEdit;
    label->setPlaceholderText(QStringLiteral("Label (e.g. Superlux at desk)"));
    label->setFixedWidth(fieldWidth);
    section.addRow("Label", label);
    auto* const summary = new StateRows;
    section.add(summary);
    auto* const save = new CommandButton(CommandButton::Form::onCard, "Save Profile", "");
    const auto perform = [this, label] {
        m_hub.saveCalibrationProfile(label->text().toStdString());
        label->clear();
    };
    connect(save, &CommandButton::clicked, this, perform);
    connect(label, &QLineEdit::returnPressed, this, perform);
    section.add(save);
    follow([this, summary] {
        const std::string text = CalibrationTexts::savedProfileSummary(
            m_hub.settings.calibrationOffset, m_hub.micFreqCorrection.profile.get().has_value(),
            m_hub.inputName());
        summary->show(text, [&](StateRows& rows) { rows.addText(text); });
    });
}

void SettingsAudioTab::addSavedProfiles()
{
    SettingsSection& section = addSection("Saved Profiles");
    auto* const rows = new StateRows;
    section.add(rows);
    section.addFooter(
        "Applying a profile restores the frequency correction (if any) and sets the level offset. Adjust "
        "the offset manually if your input gain has changed since the profile was saved.");
    follow([this, rows] {
        std::string state;
        for (const CalibrationSavedProfile& profile : m_hub.calibrationProfileStore.profiles.get())
            state += fmt::format("{} {} {} {};", uuidText(profile.id), profile.label,
                                 profile.levelOffsetAtSave, profile.savedDate.time_since_epoch().count());
        rows->show(state, [this](StateRows& own) { addProfileRows(own); });
    });
}

void SettingsAudioTab::addProfileRows(StateRows& rows)
{
    const auto& profiles = m_hub.calibrationProfileStore.profiles.get();
    if (profiles.empty())
        rows.addText("No saved profiles");
    const LocaleDates dates;
    for (const CalibrationSavedProfile& profile : profiles) {
        auto* const row = new QWidget;
        auto* const layout = new QHBoxLayout(row);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(static_cast<int>(spacing::tight));
        auto* const texts = new QVBoxLayout;
        texts->setSpacing(0);
        texts->addWidget(
            new TextLabel(profile.label.c_str(), TextStyle::label, TextWeight::strong, Tint::primary));
        texts->addWidget(
            new TextLabel(fmt::format("{} · {}", CalibrationTexts::offsetAtSave(profile.levelOffsetAtSave),
                                      dates.mediumDate(dayOf(profile.savedDate, m_hub.calendar())))
                              .c_str(),
                          TextStyle::caption, TextWeight::regular, Tint::secondary));
        layout->addLayout(texts, 1);
        auto* const apply = new CommandButton(CommandButton::Form::onCard, "Apply", "");
        constexpr int applyWidth = 72;
        apply->setFixedWidth(applyWidth);
        apply->setAccessibleName(QString::fromStdString("Apply " + profile.label));
        connect(apply, &CommandButton::clicked, this, [this, id = profile.id] {
            const auto& present = m_hub.calibrationProfileStore.profiles.get();
            const auto found = std::ranges::find(present, id, &CalibrationSavedProfile::id);
            if (found != present.end())
                m_hub.applyCalibrationProfile(*found);
        });
        layout->addWidget(apply);
        auto* const remove = new CommandButton(CommandButton::Form::alone,
                                               ("Delete " + profile.label).c_str(), "minus.circle.fill");
        connect(remove, &CommandButton::clicked, this,
                [this, id = profile.id] { m_hub.calibrationProfileStore.remove(id); });
        layout->addWidget(remove);
        rows.add(row);
    }
}

void SettingsAudioTab::addTargetCalibration()
{
    SettingsSection& target = addSection("Step 3 — Reference Monitor Level");
    auto* const form = new TargetCalibrationForm({m_hub, m_needs.vesk, m_needs.openUrl});
    target.add(form);
    follow([form] { form->refresh(); });
}

void SettingsAudioTab::addPrecision()
{
    SettingsSection& calibrator = addSection("Acoustic Calibrator");
    auto* const form = new CalibratorForm(m_hub);
    calibrator.addText(
        "If you have one, it does Step 2 to a tenth of a decibel: put it on the microphone and listen. "
        "Once its tone has been steady for 5 seconds, the offset is found.");
    calibrator.add(form);
    follow([form] { form->refresh(); });

    SettingsSection& microphone = addSection("Microphone Data File");
    microphone.addText("The response that a measurement microphone comes with takes the place of Step 1. It "
                       "changes nothing at 1 kHz, so that the level's calibration stands.");
    microphone.add(new MicrophoneDataForm(m_hub));
}

void SettingsAudioTab::addTrust()
{
    SettingsSection& section = addSection("Calibration in Force");
    section.add(m_trust);
    follow([this] { m_trustRefreshes.changed(); });
}

void SettingsAudioTab::showTrust()
{
    const CalibrationTrust& trust = m_hub.calibrationTrust.trust;
    const std::string text = calibrationText(trust, m_hub.now());
    const bool isDoubtful = trust.method == CalibrationMethod::never || !trust.concerns.empty();
    m_trust->show(text,
                  [&](StateRows& rows) { rows.addText(text, isDoubtful ? Tint::orange : Tint::primary); });
}

} // namespace velmor
