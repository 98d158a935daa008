// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/SettingsView.h>
#include <ui/TextLabel.h>

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QTest>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmor::test {

/// Drives a settings window by its controls.
struct SettingsDriver
{
    /// The nth control of that kind and name that is seen.
    template <typename Control>
    Control& control(const char* name, int number = 0) const
    {
        for (Control* const found : window->findChildren<Control*>()) {
            const auto* const button = qobject_cast<const QAbstractButton*>(found);
            const QString own = button ? button->text() : found->accessibleName();
            if (own == QString::fromUtf8(name) && found->isVisibleTo(window.get()) && number-- == 0)
                return *found;
        }
        throw std::runtime_error(std::string("no control ") + name);
    }

    void press(const char* name) { QTest::mouseClick(&control<QAbstractButton>(name), Qt::LeftButton); }

    /// Takes another choice of a picker, by the keyboard.
    void choose(const char* name, int index, int number = 0)
    {
        auto& picker = control<QComboBox>(name, number);
        while (picker.currentIndex() < index)
            QTest::keyClick(&picker, Qt::Key_Down);
        while (picker.currentIndex() > index)
            QTest::keyClick(&picker, Qt::Key_Up);
    }

    QStringList choices(const char* name, int number = 0) const
    {
        const auto& picker = control<QComboBox>(name, number);
        QStringList labels;
        for (int i = 0; i < picker.count(); ++i)
            labels.push_back(picker.itemText(i));
        return labels;
    }

    /// All that is written in the window.
    std::vector<std::string> texts() const
    {
        std::vector<std::string> found;
        for (const QWidget* const widget : window->findChildren<QWidget*>()) {
            if (!widget->isVisibleTo(window.get()))
                continue;
            if (const auto* const said = dynamic_cast<const TextLabel*>(widget))
                found.push_back(said->said().text);
            else if (const auto* const label = qobject_cast<const QLabel*>(widget))
                found.push_back(label->text().toStdString());
            else if (const auto* const button = qobject_cast<const QAbstractButton*>(widget))
                found.push_back(button->text().toStdString());
        }
        return found;
    }

    std::unique_ptr<SettingsView> window;
};

} // namespace velmor::test
