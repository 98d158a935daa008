// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/MiniSPLChart.h>

#include <ui/Style.h>

#include <QEvent>
#include <QPaintEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>

#include <algorithm>
#include <cmath>

namespace velmor {

namespace {

constexpr double leastPad = 2.0; ///< dB
constexpr double padShare = 0.1;
constexpr double zoneOpacity = 0.42;
constexpr double lineOpacity = 0.85;
constexpr double lineWidth = 1.25;
constexpr double peakRadius = 2.5;
constexpr double stripOpacity = 0.15;

/// A line of more points than there are pixels is drawn column by column, from its lowest to its highest
/// there: that looks the same, and the stroke of a day's readings would hold up a list that is scrolled.
void drawColumns(QPainter& painter, const QPolygonF& line, const QColor& colour, double column)
{
    auto first = line.begin();
    double before = first->y();
    while (first != line.end()) {
        const double index = std::floor(first->x() / column);
        double top = std::min(before, first->y());
        double bottom = std::max(before, first->y());
        for (; first != line.end() && std::floor(first->x() / column) == index; ++first) {
            top = std::min(top, first->y());
            bottom = std::max(bottom, first->y());
            before = first->y();
        }
        painter.fillRect(QRectF(index * column, top - lineWidth / 2, column, bottom - top + lineWidth),
                         colour);
    }
}

void drawLine(QPainter& painter, const QPolygonF& line, const QColor& colour)
{
    const double pixels = painter.clipBoundingRect().width() * painter.device()->devicePixelRatioF();
    if (static_cast<double>(line.size()) > pixels) {
        drawColumns(painter, line, colour, 1 / painter.device()->devicePixelRatioF());
        return;
    }
    painter.setPen(QPen(colour, lineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(line);
}

} // namespace

MiniSPLChart::MiniSPLChart(QWidget* parent)
    : QWidget(parent)
{
    setFixedHeight(stripHeight);
}

void MiniSPLChart::show(std::span<const SPLReading> readings)
{
    m_readings = readings;
    m_drawn = {};
    setFixedHeight(hasChart(readings) ? chartHeight : stripHeight);
    update();
}

MiniSPLChart::Domain MiniSPLChart::chartDomain(std::span<const SPLReading> readings)
{
    const auto [low, high] = std::ranges::minmax_element(readings, {}, &SPLReading::dBA);
    const double pad = std::max(leastPad, (high->dBA - low->dBA) * padShare);
    return {low->dBA - pad, high->dBA + pad};
}

std::vector<MiniSPLChart::ZoneRun> MiniSPLChart::zoneRuns(std::span<const SPLReading> readings)
{
    std::vector<ZoneRun> runs;
    for (const SPLReading& reading : readings) {
        if (!reading.zone)
            continue;
        if (!runs.empty() && runs.back().zone == *reading.zone)
            continue;
        if (!runs.empty())
            runs.back().end = reading.timestamp;
        runs.push_back({*reading.zone, reading.timestamp, reading.timestamp});
    }
    if (!runs.empty())
        runs.back().end = readings.back().timestamp;
    return runs;
}

void MiniSPLChart::paintEvent(QPaintEvent*)
{
    // A list that is scrolled draws each chart once.
    QPainter painter(this);
    const double ratio = painter.paintEngine()->paintDevice()->devicePixelRatioF();
    const QSize pixels = (QSizeF(size()) * ratio).toSize();
    if (m_drawn.size() != pixels) {
        m_drawn = QPixmap(pixels);
        m_drawn.setDevicePixelRatio(ratio);
        m_drawn.fill(Qt::transparent);
        QPainter chart(&m_drawn);
        draw(chart);
    }
    painter.drawPixmap(0, 0, m_drawn);
}

void MiniSPLChart::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange)
        m_drawn = {};
    QWidget::changeEvent(event);
}

void MiniSPLChart::draw(QPainter& painter) const
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath outline;
    outline.addRoundedRect(rect(), radius::bar, radius::bar);
    if (!hasChart(m_readings)) {
        painter.fillPath(outline, withOpacity(shades.gray, stripOpacity));
        return;
    }
    painter.setClipPath(outline);
    // In a session over which the clock was set back the last reading need not be the latest.
    const auto [earliest, latest] = std::ranges::minmax(m_readings, {}, &SPLReading::timestamp);
    const Date start = earliest.timestamp;
    const double seconds = std::max(secondsBetween(start, latest.timestamp), 1e-9);
    const Domain domain = chartDomain(m_readings);
    const auto x = [&](Date moment) { return secondsBetween(start, moment) / seconds * width(); };
    const auto y = [&](double dBA) { return (domain.high - dBA) / (domain.high - domain.low) * height(); };

    painter.setRenderHint(QPainter::Antialiasing, false);
    for (const ZoneRun& run : zoneRuns(m_readings)) {
        painter.fillRect(QRectF(x(run.start), 0, x(run.end) - x(run.start), height()),
                         withOpacity(shades.zone(run.zone), zoneOpacity));
    }
    painter.setRenderHint(QPainter::Antialiasing);
    QPolygonF line;
    line.reserve(static_cast<qsizetype>(m_readings.size()));
    for (const SPLReading& reading : m_readings)
        line.append({x(reading.timestamp), y(reading.dBA)});
    drawLine(painter, line, withOpacity(shades.text, lineOpacity));
    const SPLReading& peak = *std::ranges::max_element(m_readings, {}, &SPLReading::dBA);
    painter.setPen(Qt::NoPen);
    painter.setBrush(shades.red);
    painter.drawEllipse(QPointF(x(peak.timestamp), y(peak.dBA)), peakRadius, peakRadius);
}

} // namespace velmor
