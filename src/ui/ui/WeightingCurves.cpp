// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/WeightingCurves.h>

#include <level/AWeightingFilter.h>
#include <level/CWeightingFilter.h>
#include <ui/FrequencyPlot.h>

#include <QPainter>

#include <cmath>
#include <complex>
#include <numbers>

namespace velmor {

namespace {

constexpr double sampleRate = 48000;
constexpr int chartHeight = 170;
constexpr int lowestGain = -50; ///< dB
constexpr int highestGain = 10; ///< dB
constexpr int gainStep = 10;    ///< dB
constexpr double labelGap = 6;

/// dB of a cascade at a frequency, by its transfer function on the unit circle.
double gainOf(const std::vector<SectionCoefficients>& sections, double frequency)
{
    const std::complex<double> delay = std::polar(1.0, -2 * std::numbers::pi * frequency / sampleRate);
    std::complex<double> gain = 1;
    for (const auto& [b0, b1, b2, a1, a2] : sections)
        gain *= (b0 + delay * (b1 + delay * b2)) / (1.0 + delay * (a1 + delay * a2));
    return 20 * std::log10(std::abs(gain));
}

} // namespace

WeightingCurves::WeightingCurves()
{
    setFixedHeight(chartHeight);
    setAccessibleName(
        QStringLiteral("Weighting curves: at 31.5 Hz A is 39 dB down and C 3 dB, at 1 kHz both are at 0 dB"));
}

void WeightingCurves::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    FrequencyPlot plot(painter, shades, rect(), lowestGain, highestGain, gainStep);
    const auto draw = [&](const std::vector<SectionCoefficients>& sections, const QColor& colour,
                          const char* name, double labelFrequency) {
        plot.draw([&](double frequency) { return gainOf(sections, frequency); }, colour);
        painter.setFont(fontOf(TextStyle::label, TextWeight::strong));
        painter.drawText(QPointF(plot.x(labelFrequency), plot.y(gainOf(sections, labelFrequency)) - labelGap),
                         QLatin1String(name));
    };
    draw(CWeightingFilter(sampleRate).coefficients(), shades.orangeText, "C", 50);
    draw(AWeightingFilter(sampleRate).coefficients(), shades.blue, "A", 120);
}

} // namespace velmor
