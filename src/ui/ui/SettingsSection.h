// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/Paragraph.h>
#include <ui/Style.h>

#include <QVBoxLayout>
#include <QWidget>

namespace velmor {

/// Some settings that belong together: a title, a card with rows, and below it what is to be said of them.
class SettingsSection final : public QWidget
{
public:
    explicit SettingsSection(const char* title);

    /// A row of its own.
    void add(QWidget* row);

    /// A control at the end of its label's line. The label is what a screen reader says of the control.
    void addRow(const char* label, QWidget* control);

    /// A text, with a title or without.
    void addText(const char* text);
    void addText(const char* title, const char* text);

    /// Below the card.
    void addFooter(const char* text);

private:
    void paintEvent(QPaintEvent* event) override;

    QVBoxLayout* m_layout;
    QWidget* m_card;
    QVBoxLayout* m_rows;
};

} // namespace velmor
