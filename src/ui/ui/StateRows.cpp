// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/StateRows.h>

#include <ui/SettingsSection.h>

#include <QAbstractButton>
#include <QHBoxLayout>
#include <QLayoutItem>

namespace velmor {

StateRows::StateRows()
    : m_rows(new QVBoxLayout(this))
{
    m_rows->setContentsMargins(0, 0, 0, 0);
    m_rows->setSpacing(static_cast<int>(spacing::tight));
}

void StateRows::show(const std::string& state, const std::function<void(StateRows&)>& build)
{
    if (m_state == state)
        return;
    m_state = state;
    const QWidget* const focused = window()->focusWidget();
    const bool hadFocus = focused && isAncestorOf(focused);
    while (QLayoutItem* const item = m_rows->takeAt(0)) {
        // Often a button of theirs has brought this about.
        item->widget()->hide();
        item->widget()->deleteLater();
        delete item;
    }
    build(*this);
    if (!hadFocus)
        return;
    // Whoever goes by keys stays where the button was that brought this about.
    for (int i = 0; i < m_rows->count(); ++i) {
        QWidget* const row = m_rows->itemAt(i)->widget();
        auto* button = qobject_cast<QAbstractButton*>(row);
        if (!button)
            button = row->findChild<QAbstractButton*>();
        if (button && button->isEnabled()) {
            button->setFocus(Qt::OtherFocusReason);
            return;
        }
    }
}

void StateRows::add(QWidget* row)
{
    m_rows->addWidget(row);
}

void StateRows::addText(const std::string& text, Tint tint)
{
    add(new Paragraph(text.c_str(), TextStyle::label, TextWeight::regular, tint));
}

void StateRows::addCommands(std::initializer_list<Command> commands)
{
    auto* const row = new QWidget;
    auto* const layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::tight));
    for (const Command& command : commands) {
        auto* const button = new CommandButton(CommandButton::Form::onCard, command.label, "");
        button->setEnabled(command.isEnabled);
        connect(button, &CommandButton::clicked, this, command.perform);
        layout->addWidget(button);
    }
    add(row);
}

} // namespace velmor
