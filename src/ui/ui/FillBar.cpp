// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/FillBar.h>

#include <ui/BarTrack.h>

#include <cmath>

namespace velmor {

namespace {

constexpr double trackOpacity = 0.2;

} // namespace

FillBar::FillBar(QWidget* parent)
    : QWidget(parent)
{
    setFixedHeight(static_cast<int>(barHeight));
    m_animation.setDuration(animationMilliseconds);
    connect(&m_animation, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        m_shownFill = value.toDouble();
        update();
    });
}

void FillBar::show(double fill, Tint tint)
{
    if (fill == m_fill && tint == m_tint)
        return;
    m_fill = fill;
    m_tint = tint;
    update();
    m_animation.stop();
    // A step that is no pixel wide has nothing to animate, nor has a bar that nobody sees.
    if (!isVisible() || std::abs(fill - m_shownFill) * width() < 1) {
        m_shownFill = fill;
        return;
    }
    m_animation.setStartValue(m_shownFill);
    m_animation.setEndValue(fill);
    m_animation.start();
}

void FillBar::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    drawTrack(painter, rect(), shades, trackOpacity);
    painter.fillRect(QRectF(0, 0, width() * m_shownFill, barHeight), shades.fill(m_tint));
}

} // namespace velmor
