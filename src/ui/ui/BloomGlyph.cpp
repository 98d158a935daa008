// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/BloomGlyph.h>

#include <QPen>
#include <QString>

#include <algorithm>

namespace velmor {

namespace {

struct Arc
{
    double radius;
    double opacity;
};

// In parts of the side of the mark's square. They are of a grid of 22.
constexpr Arc arcs[] = {{0.1590909090909091, 1.0}, {0.2727272727272727, 0.75}, {0.38636363636363635, 0.55}};
constexpr double lineWidth = 0.07272727272727274;
constexpr double dotRadius = 0.04090909090909091;
constexpr double centreAboveLowerEdge = 0.2727272727272727;
constexpr double centreBelowUpperEdge = 0.7272727272727273;

QRectF circle(const QPointF& centre, double radius)
{
    return {centre.x() - radius, centre.y() - radius, 2 * radius, 2 * radius};
}

void drawAround(QPainter& painter, const QPointF& centre, double side, int arcCount, const QColor& color)
{
    // In sixteenths of a degree, as QPainter has it: the upper half of the circle.
    constexpr int halfCircle = 180 * 16;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    for (int i = 0; i < std::min(arcCount, 3); ++i) {
        painter.setPen(QPen(withOpacity(color, double(color.alphaF()) * arcs[i].opacity), side * lineWidth,
                            Qt::SolidLine, Qt::RoundCap));
        painter.drawArc(circle(centre, side * arcs[i].radius), 0, halfCircle);
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(circle(centre, side * dotRadius));
    painter.restore();
}

} // namespace

int BloomGlyphThresholds::arcCount(double forSPL)
{
    if (forSPL < 35.0)
        return 0;
    if (forSPL < 55.0)
        return 1;
    return forSPL < 80.0 ? 2 : 3;
}

void BloomGlyphDrawing::draw(QPainter& painter, const QSizeF& size, int arcCount, const QColor& color)
{
    const double side = std::min(size.width(), size.height());
    drawAround(painter, {size.width() * 0.5, size.height() * centreBelowUpperEdge}, side, arcCount, color);
}

void BloomGlyphDrawing::drawNS(QPainter& painter, const QRectF& rect, int arcCount, const QColor& color)
{
    const double side = std::min(rect.width(), rect.height());
    const double centreY = rect.bottom() - side * centreAboveLowerEdge - (rect.height() - side) * 0.5;
    drawAround(painter, {rect.center().x(), centreY}, side, arcCount, color);
}

BloomGlyph::BloomGlyph(QWidget* parent)
    : QWidget(parent)
{
    setSide(iconSide::header);
}

void BloomGlyph::setSide(double side)
{
    setFixedSize(QSizeF(side, side).toSize());
}

void BloomGlyph::show(int arcCount, Tint tint)
{
    if (m_arcCount == arcCount && m_tint == tint)
        return;
    m_arcCount = arcCount;
    m_tint = tint;
    setAccessibleName(QString::fromLatin1(accessibilityLabel(arcCount)));
    update();
}

const char* BloomGlyph::accessibilityLabel(int arcCount)
{
    if (arcCount >= 3)
        return "Velmor: high signal";
    if (arcCount == 2)
        return "Velmor: medium signal";
    return arcCount == 1 ? "Velmor: low signal" : "Velmor: signal at rest";
}

void BloomGlyph::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    BloomGlyphDrawing::draw(painter, size(), m_arcCount.value_or(0),
                            shadesOf(appearanceOf(palette())).ink(m_tint));
}

} // namespace velmor
