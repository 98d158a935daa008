// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/FrequencyPlot.h>

#include <QFontMetricsF>
#include <QPolygonF>

#include <algorithm>
#include <cmath>

namespace velmor {

namespace {

constexpr double lineWidth = 2;
constexpr double marksWidth = 30;
constexpr double labelGap = 4;

struct Mark
{
    double frequency;
    const char* text;
};
constexpr Mark marks[] = {{20, "20"}, {100, "100"}, {1000, "1k"}, {10000, "10k"}, {20000, "20k"}};

} // namespace

FrequencyPlot::FrequencyPlot(QPainter& painter, const Shades& shades, const QRectF& place, int bottom,
                             int top, int step)
    : m_painter(painter)
    , m_bottom(bottom)
    , m_top(top)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(fontOf(TextStyle::caption));
    const double textHeight = QFontMetricsF(painter.font()).height();
    m_plot = place.adjusted(marksWidth, textHeight / 2, -textHeight, -(textHeight + labelGap));
    for (int gain = bottom; gain <= top; gain += step) {
        painter.setPen(QPen(gain == 0 ? shades.gray : shades.hairline, 1));
        painter.drawLine(QPointF(m_plot.left(), y(gain)), QPointF(m_plot.right(), y(gain)));
        painter.setPen(shades.secondaryText);
        painter.drawText(QRectF(place.left(), y(gain) - textHeight / 2, marksWidth - labelGap, textHeight),
                         Qt::AlignRight | Qt::AlignVCenter, QString::number(gain));
    }
    for (const Mark& mark : marks) {
        painter.setPen(QPen(shades.hairline, 1));
        painter.drawLine(QPointF(x(mark.frequency), m_plot.top()),
                         QPointF(x(mark.frequency), m_plot.bottom()));
        painter.setPen(shades.secondaryText);
        painter.drawText(
            QRectF(x(mark.frequency) - marksWidth, m_plot.bottom() + labelGap, 2 * marksWidth, textHeight),
            Qt::AlignHCenter | Qt::AlignTop, QLatin1String(mark.text));
    }
}

double FrequencyPlot::x(double frequency) const
{
    return m_plot.left() + m_plot.width() * std::log(frequency / lowest) / std::log(highest / lowest);
}

double FrequencyPlot::y(double gain) const
{
    return m_plot.top() + m_plot.height() * (m_top - gain) / (m_top - m_bottom);
}

void FrequencyPlot::draw(const std::function<double(double)>& gain, const QColor& colour, double from,
                         double to)
{
    QPolygonF line;
    for (double at = x(from); at <= x(to); at += 1) {
        const double frequency = lowest * std::pow(highest / lowest, (at - m_plot.left()) / m_plot.width());
        line.append({at, y(std::clamp(gain(frequency), double(m_bottom), double(m_top)))});
    }
    m_painter.setPen(QPen(colour, lineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    m_painter.drawPolyline(line);
}

} // namespace velmor
