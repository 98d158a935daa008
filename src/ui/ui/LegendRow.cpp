// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/LegendRow.h>

#include <QFontMetricsF>
#include <QPainter>

#include <cmath>

namespace velmor {

namespace {

constexpr double dotSide = 7;
constexpr double bandWidth = 16;
constexpr double bandHeight = 9;
constexpr double bandOpacity = 0.42; ///< As in the chart.

} // namespace

LegendRow::LegendRow(Mark mark, Zone zone, const char* text)
    : m_mark(mark)
    , m_zone(zone)
{
    setFont(fontOf(TextStyle::caption));
    setAccessibleName(QString::fromUtf8(text));
    setFixedHeight(static_cast<int>(std::ceil(QFontMetricsF(font()).height())));
}

void LegendRow::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    if (m_mark == Mark::dot) {
        painter.setBrush(shades.zone(m_zone));
        painter.drawEllipse(QRectF((bandWidth - dotSide) / 2, (height() - dotSide) / 2, dotSide, dotSide));
    } else {
        painter.setBrush(withOpacity(shades.zone(m_zone), bandOpacity));
        painter.drawRect(QRectF(0, (height() - bandHeight) / 2, bandWidth, bandHeight));
    }
    painter.setPen(shades.secondaryText);
    painter.drawText(QRectF(rect()).adjusted(bandWidth + spacing::tight, 0, 0, 0),
                     Qt::AlignLeft | Qt::AlignVCenter, accessibleName());
}

} // namespace velmor
