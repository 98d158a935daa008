// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/Paragraph.h>

#include <QApplication>
#include <QEvent>

namespace velmor {

Paragraph::Paragraph(const char* text, TextStyle style, TextWeight weight, Tint tint)
    : QLabel(QString::fromUtf8(text))
    , m_tint(tint)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setFont(fontOf(style, weight));
    takeColour();
}

void Paragraph::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange)
        takeColour();
    QLabel::changeEvent(event);
}

void Paragraph::takeColour()
{
    const QColor colour = shadesOf(appearanceOf(QApplication::palette())).ink(m_tint);
    QPalette own = palette();
    // Its own colour is a change of the palette, too.
    if (own.color(QPalette::WindowText) == colour)
        return;
    own.setColor(QPalette::WindowText, colour);
    setPalette(own);
}

} // namespace velmor
