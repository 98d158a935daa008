// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SettingsPage.h>

#include <QSignalBlocker>

#include <algorithm>

namespace velmor {

namespace {

constexpr int padding = static_cast<int>(spacing::group);

} // namespace

SettingsPage::SettingsPage()
{
    auto* const content = new QWidget;
    m_sections = new QVBoxLayout(content);
    m_sections->setContentsMargins(padding, padding, padding, padding);
    m_sections->setSpacing(static_cast<int>(spacing::section));
    m_sections->setAlignment(Qt::AlignTop);
    setWidget(content);
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false);
}

void SettingsPage::refresh()
{
    for (const std::function<void()>& refresh : m_refreshes)
        refresh();
}

SettingsSection& SettingsPage::addSection(const char* title)
{
    auto* const section = new SettingsSection(title);
    m_sections->addWidget(section);
    return *section;
}

Switch& SettingsPage::addSwitch(SettingsSection& section, const char* label, std::function<bool()> read,
                                std::function<void(bool)> write)
{
    auto* const control = new Switch(label);
    section.addRow(label, control);
    connect(control, &Switch::toggled, this, std::move(write));
    follow([control, read = std::move(read)] {
        const QSignalBlocker blocker(control);
        control->setChecked(read());
    });
    return *control;
}

Switch& SettingsPage::addSwitch(SettingsSection& section, const char* label, Setting<bool>& setting)
{
    return addSwitch(
        section, label, [&setting] { return setting.get(); }, [&setting](bool isOn) { setting = isOn; });
}

Picker& SettingsPage::addPicker(SettingsSection& section, const char* label,
                                const std::vector<std::string>& labels, std::function<int()> read,
                                std::function<void(int)> write)
{
    auto* const control = new Picker;
    for (const std::string& choice : labels)
        control->addItem(QString::fromStdString(choice));
    section.addRow(label, control);
    connect(control, &QComboBox::activated, this, std::move(write));
    follow([control, read = std::move(read)] {
        const QSignalBlocker blocker(control);
        control->setCurrentIndex(read());
    });
    return *control;
}

Stepper& SettingsPage::addStepper(SettingsSection& section, const char* label, const char* unit,
                                  std::function<StepRange()> range, std::function<int()> read,
                                  std::function<void(int)> write)
{
    auto* const control = new Stepper;
    control->setSuffix(QString::fromUtf8(unit));
    // A number is none before it is typed to its end.
    control->setKeyboardTracking(false);
    section.addRow(label, control);
    connect(control, &QSpinBox::valueChanged, this, [range, write = std::move(write)](int value) {
        const StepRange allowed = range();
        write(std::clamp(value, allowed.low, allowed.high));
    });
    follow([control, range, read = std::move(read)] {
        const QSignalBlocker blocker(control);
        const StepRange allowed = range();
        const int stored = read();
        const StepRange shown = {std::min(allowed.low, stored), std::max(allowed.high, stored)};
        // Either would take from the field what is being typed.
        if (StepRange{control->minimum(), control->maximum()} != shown)
            control->setRange(shown.low, shown.high);
        if (control->value() != stored)
            control->setValue(stored);
    });
    return *control;
}

} // namespace velmor
