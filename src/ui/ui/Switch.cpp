// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/Switch.h>

#include <ui/Style.h>

#include <QPainter>

namespace velmor {

namespace {

constexpr QSize track(34, 20);
constexpr double focusGap = 2;
constexpr double knobInset = 2.5;
constexpr double disabledOpacity = 0.4;

} // namespace

Switch::Switch(const char* label)
{
    setText(QString::fromUtf8(label));
    setCheckable(true);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize Switch::sizeHint() const
{
    constexpr int rim = 2 * static_cast<int>(focusGap + 1);
    return track + QSize(rim, rim);
}

void Switch::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled())
        painter.setOpacity(disabledOpacity);
    QRectF place{QPointF(), QSizeF(track)};
    place.moveCenter(QRectF(rect()).center());
    const double round = place.height() / 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(isChecked() ? shades.blue : underMouse() ? shades.gray : shades.tertiaryText);
    painter.drawRoundedRect(place, round, round);
    const double side = place.height() - 2 * knobInset;
    QRectF knob(place.left() + knobInset, place.top() + knobInset, side, side);
    if (isChecked())
        knob.moveRight(place.right() - knobInset);
    painter.setBrush(QColor(Qt::white));
    painter.drawEllipse(knob);
    constexpr double ring = focusGap + 1;
    paintRing(painter, place.adjusted(-ring, -ring, ring, ring), round + focusGap);
}

} // namespace velmor
