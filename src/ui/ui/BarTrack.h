// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/Style.h>

#include <QPainter>
#include <QPainterPath>
#include <QRectF>

namespace velmor {

inline constexpr double barHeight = 2 * radius::bar;

/// Draws the gray ground of a bar, and keeps what is drawn after it within its round ends.
inline void drawTrack(QPainter& painter, const QRectF& place, const Shades& shades, double opacity)
{
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath outline;
    outline.addRoundedRect(place, radius::bar, radius::bar);
    painter.fillPath(outline, withOpacity(shades.gray, opacity));
    painter.setClipPath(outline);
}

} // namespace velmor
