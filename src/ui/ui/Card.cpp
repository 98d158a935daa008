// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/Card.h>

#include <ui/Style.h>

#include <QPainter>

namespace velmor {

void Card::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(shades.hairline, 1));
    painter.setBrush(shades.control);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius::card, radius::card);
}

QString filledButtonStyle(const QColor& ground, const QColor& text, const QColor& focus)
{
    return QStringLiteral("QPushButton { outline: none; background: %1; color: %2; border: 2px solid %1; "
                          "border-radius: %3px;"
                          " padding: 5px 14px; } QPushButton:focus { border-color: %4; }")
        .arg(ground.name(), text.name())
        .arg(static_cast<int>(radius::control))
        .arg(focus.name());
}

} // namespace velmor
