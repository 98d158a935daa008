// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/Style.h>

#include <QPainter>
#include <QRectF>

#include <functional>

namespace velmor {

/// The axes of a chart of gains over the logarithm of frequency, from 20 Hz to 20 kHz.
class FrequencyPlot
{
public:
    /// \param place of the chart with its marks. \param bottom and top of the gains, dB. \param step of their
    /// marks.
    FrequencyPlot(QPainter& painter, const Shades& shades, const QRectF& place, int bottom, int top,
                  int step);

    double x(double frequency) const;
    double y(double gain) const;

    /// A line over all of the frequencies. \param gain dB at a frequency; bound to the chart.
    void draw(const std::function<double(double frequency)>& gain, const QColor& colour, double from = lowest,
              double to = highest);

    static constexpr double lowest = 20;
    static constexpr double highest = 20000;

private:
    QPainter& m_painter;
    QRectF m_plot;
    int m_bottom;
    int m_top;
};

} // namespace velmor
