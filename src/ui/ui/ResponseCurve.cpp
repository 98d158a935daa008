// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/ResponseCurve.h>

#include <calibration/FilterCheck.h>
#include <ui/FrequencyPlot.h>

#include <QPainter>

#include <algorithm>

namespace velmor {

namespace {

constexpr int chartHeight = 120;
constexpr int largestGain = 12; ///< dB
constexpr int gainStep = 6;     ///< dB

} // namespace

ResponseCurve::ResponseCurve()
{
    setFixedHeight(chartHeight);
    setAccessibleName(QStringLiteral("Correction curve of the microphone"));
}

void ResponseCurve::show(const std::vector<FrequencyCurvePoint>& curve)
{
    if (curve == m_curve)
        return;
    m_curve = curve;
    update();
}

void ResponseCurve::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    FrequencyPlot plot(painter, shades, rect(), -largestGain, largestGain, gainStep);
    if (m_curve.empty())
        return;
    const double from =
        std::clamp(double(m_curve.front().frequency), FrequencyPlot::lowest, FrequencyPlot::highest);
    const double to =
        std::clamp(double(m_curve.back().frequency), FrequencyPlot::lowest, FrequencyPlot::highest);
    plot.draw([this](double frequency) { return curveGainDB(m_curve, frequency); }, shades.blue, from, to);
}

} // namespace velmor
