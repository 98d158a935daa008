// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SendToVeskSheet.h>

#include <ui/FormFields.h>
#include <ui/SettingsSection.h>
#include <ui/SymbolView.h>
#include <ui/TextLabel.h>

#include <fmt/format.h>

#include <QHBoxLayout>
#include <QPainter>
#include <QRadioButton>
#include <QVBoxLayout>

namespace velmor {

namespace {

constexpr int padding = static_cast<int>(spacing::group);

QWidget* labelled(const char* label, QWidget* field)
{
    auto* const row = new QWidget;
    auto* const layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::item));
    auto* const name = new TextLabel(label, TextStyle::label, TextWeight::regular, Tint::primary);
    constexpr int labelWidth = 60;
    name->setFixedWidth(labelWidth);
    layout->addWidget(name);
    layout->addWidget(field, 1);
    return row;
}

} // namespace

SendToVeskSheet::SendToVeskSheet(const SendToVeskContext& context, VeskIntegration& vesk, QWidget* parent)
    : QDialog(parent)
    , m_context(context)
    , m_vesk(vesk)
    , m_slots(new QButtonGroup(this))
    , m_name(new QLineEdit(QString::fromStdString(context.suggestedName)))
    , m_send(new CommandButton(CommandButton::Form::onCard, "Send to Vesk", ""))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("Save to Vesk reference slot"));
    takeFieldStyle(*this);
    auto* const title = new QWidget;
    auto* const titleLayout = new QHBoxLayout(title);
    titleLayout->setContentsMargins(0, 0, 0, 0);
    titleLayout->addWidget(new SymbolView("paperplane.fill", Tint::accent, iconSide::control));
    titleLayout->addWidget(
        new TextLabel("Save to Vesk reference slot", TextStyle::heading, TextWeight::strong, Tint::primary),
        1);
    m_name->setPlaceholderText(QStringLiteral("e.g. Mix, K-14, Quiet"));
    m_name->setAccessibleName(QStringLiteral("Name"));
    m_name->setFont(fontOf(TextStyle::label));
    connect(m_name, &QLineEdit::textChanged, this, [this] { m_send->setEnabled(!trimmedName().empty()); });
    connect(m_name, &QLineEdit::returnPressed, this, [this] { send(); });

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(padding, padding, padding, padding);
    layout->setSpacing(static_cast<int>(spacing::item));
    layout->addWidget(title);
    layout->addWidget(
        new Paragraph("Vesk will write the current Apollo monitor level into the chosen slot, tagged with "
                      "this name and SPL value. Recall it later with Ctrl+F10 / F11 / F12."));
    layout->addWidget(labelled("Slot", makeSlots()));
    layout->addWidget(labelled("Name", m_name));
    layout->addWidget(
        labelled("Level", new TextLabel(fmt::format("{:.1f} dB SPL", context.measuredSPL).c_str(),
                                        TextStyle::label, TextWeight::strong, Tint::primary)));
    layout->addWidget(makeButtons());
    setFixedWidth(width);
    m_name->setFocus();
    m_send->setEnabled(!trimmedName().empty());
}

QWidget* SendToVeskSheet::makeSlots()
{
    auto* const row = new QWidget;
    auto* const layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::hair));
    for (int slot = 1; slot <= VeskIntegration::slotCount; ++slot) {
        auto* const choice = new QRadioButton(QString::number(slot));
        choice->setAccessibleName(QStringLiteral("Slot %1").arg(slot));
        choice->setFont(fontOf(TextStyle::label));
        choice->setChecked(slot == m_vesk.initialSlot());
        m_slots->addButton(choice, slot);
        layout->addWidget(choice);
    }
    layout->addStretch(1);
    return row;
}

QWidget* SendToVeskSheet::makeButtons()
{
    auto* const row = new QWidget;
    auto* const layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::tight));
    auto* const cancel = new CommandButton(CommandButton::Form::onCard, "Cancel", "");
    connect(cancel, &CommandButton::clicked, this, &QDialog::reject);
    connect(m_send, &CommandButton::clicked, this, [this] { send(); });
    layout->addWidget(cancel);
    layout->addWidget(m_send);
    return row;
}

std::string SendToVeskSheet::trimmedName() const
{
    return m_name->text().trimmed().toStdString();
}

void SendToVeskSheet::send()
{
    if (trimmedName().empty())
        return;
    m_vesk.setLastUsedSlot(m_slots->checkedId());
    // Nobody hears of how that went; the slot is seen there.
    m_vesk.saveReference(m_slots->checkedId(), trimmedName(), m_context.measuredSPL);
    accept();
}

void SendToVeskSheet::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange)
        takeFieldStyle(*this);
    QDialog::changeEvent(event);
}

void SendToVeskSheet::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), shadesOf(appearanceOf(palette())).page);
}

} // namespace velmor
