// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SettingsTabButton.h>

#include <ui/IconResolver.h>
#include <ui/Style.h>

#include <QPainter>

namespace velmor {

namespace {

constexpr QSize buttonSize(72, 52);
constexpr double symbolTop = 8;
constexpr double labelBottom = 6;

} // namespace

SettingsTabButton::SettingsTabButton(const char* label, const char* symbol)
    : m_symbol(symbol)
{
    setText(QString::fromUtf8(label));
    setFont(fontOf(TextStyle::caption));
    setCheckable(true);
    setAutoExclusive(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize SettingsTabButton::sizeHint() const
{
    return buttonSize;
}

void SettingsTabButton::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (isChecked() || underMouse()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(isChecked() ? shades.controlUnderPointer : shades.control);
        painter.drawRoundedRect(rect(), radius::control, radius::control);
    }
    paintRing(painter, rect(), radius::control);
    const QColor ink = isChecked() ? shades.blue : shades.secondaryText;
    QRectF symbol(0, symbolTop, iconSide::control, iconSide::control);
    symbol.moveCenter({width() / 2.0, symbol.center().y()});
    IconResolver::draw(painter, symbol, m_symbol, ink);
    painter.setFont(font());
    painter.setPen(isChecked() ? shades.text : shades.secondaryText);
    painter.drawText(QRectF(rect()).adjusted(0, 0, 0, -labelBottom), Qt::AlignHCenter | Qt::AlignBottom,
                     text());
}

} // namespace velmor
