// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/CumulativeDoseBar.h>

#include <ui/BarTrack.h>

namespace velmor {

namespace {

constexpr double trackOpacity = 0.15;

} // namespace

CumulativeDoseBar::CumulativeDoseBar()
{
    setFixedHeight(barHeight);
}

void CumulativeDoseBar::show(double fill)
{
    if (fill == m_fill)
        return;
    m_fill = fill;
    update();
}

void CumulativeDoseBar::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    drawTrack(painter, rect(), shades, trackOpacity);
    painter.fillRect(QRectF(0, 0, width() * m_fill, height()), shades.fill(Tint::accent));
}

} // namespace velmor
