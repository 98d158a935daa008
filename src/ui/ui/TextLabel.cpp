// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/TextLabel.h>

#include <QFontMetricsF>
#include <QPainter>

#include <cmath>

namespace velmor {

TextLabel::TextLabel(TextStyle style, TextWeight weight, Tint tint, Qt::Alignment alignment)
{
    m_said.tint = tint;
    setFont(fontOf(style, weight));
    setAlignment(alignment | Qt::AlignVCenter);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setFixedHeight(static_cast<int>(std::ceil(QFontMetricsF(font()).height())));
}

TextLabel::TextLabel(const char* text, TextStyle style, TextWeight weight, Tint tint)
    : TextLabel(style, weight, tint)
{
    say(text);
}

void TextLabel::say(const TintedText& said)
{
    if (said == m_said)
        return;
    // The base class would lay out anew for a text of its own; here it is only the name of what is drawn.
    if (said.text != m_said.text)
        setAccessibleName(QString::fromStdString(said.text));
    m_said = said;
    update();
}

void TextLabel::sayInFull(const std::string& text)
{
    if (text == m_said.text)
        return;
    say(text);
    setMinimumWidth(0);
    setMaximumWidth(sizeHint().width());
    updateGeometry();
}

void TextLabel::keepRoomFor(const char* widest)
{
    setFixedWidth(widthOf(QString::fromUtf8(widest)));
}

QSize TextLabel::sizeHint() const
{
    return {widthOf(QString::fromStdString(m_said.text)), height()};
}

int TextLabel::widthOf(const QString& text) const
{
    return static_cast<int>(std::ceil(QFontMetricsF(font()).horizontalAdvance(text))) + 1;
}

void TextLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setFont(font());
    painter.setPen(shadesOf(appearanceOf(palette())).ink(m_said.tint));
    const QString text =
        QFontMetricsF(font()).elidedText(QString::fromStdString(m_said.text), Qt::ElideRight, width());
    painter.drawText(rect(), static_cast<int>(alignment()), text);
}

} // namespace velmor
