// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SettingsSection.h>

#include <ui/TextLabel.h>

#include <QHBoxLayout>
#include <QPainter>

namespace velmor {

namespace {

constexpr int rowGap = static_cast<int>(spacing::item);

} // namespace

SettingsSection::SettingsSection(const char* title)
    : m_layout(new QVBoxLayout(this))
    , m_card(new QWidget)
    , m_rows(new QVBoxLayout(m_card))
{
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(static_cast<int>(spacing::tight));
    m_layout->addWidget(new TextLabel(title, TextStyle::label, TextWeight::strong, Tint::primary));
    m_rows->setContentsMargins(rowGap, rowGap, rowGap, rowGap);
    m_rows->setSpacing(rowGap);
    m_layout->addWidget(m_card);
}

void SettingsSection::add(QWidget* row)
{
    m_rows->addWidget(row);
}

void SettingsSection::addRow(const char* label, QWidget* control)
{
    auto* const row = new QWidget;
    auto* const layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::item));
    auto* const text = new Paragraph(label, TextStyle::label, TextWeight::regular, Tint::primary);
    text->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    layout->addWidget(text, 1);
    layout->addWidget(control, 0, Qt::AlignVCenter);
    // A value that is only read says itself.
    if (!dynamic_cast<TextLabel*>(control))
        control->setAccessibleName(QString::fromUtf8(label));
    control->setFont(fontOf(TextStyle::label));
    m_rows->addWidget(row);
}

void SettingsSection::addText(const char* text)
{
    m_rows->addWidget(new Paragraph(text));
}

void SettingsSection::addText(const char* title, const char* text)
{
    auto* const both = new QWidget;
    auto* const layout = new QVBoxLayout(both);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::hair));
    layout->addWidget(new Paragraph(title, TextStyle::label, TextWeight::strong, Tint::primary));
    layout->addWidget(new Paragraph(text));
    m_rows->addWidget(both);
}

void SettingsSection::addFooter(const char* text)
{
    m_layout->addWidget(new Paragraph(text, TextStyle::caption));
}

void SettingsSection::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(shades.hairline, 1));
    painter.setBrush(shades.control);
    painter.drawRoundedRect(QRectF(m_card->geometry()).adjusted(0.5, 0.5, -0.5, -0.5), radius::card,
                            radius::card);
}

} // namespace velmor
