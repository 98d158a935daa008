// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/CalibratorTone.h>

#include <calibration/FilterCheck.h>
#include <level/ClipDetector.h>

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <iterator>
#include <numeric>

namespace velmor {

namespace {

constexpr double shortestFrameSeconds = 0.15;
constexpr double largestFrequencyError = 0.02;

/// Constant offsets and what is below hearing count for nothing.
constexpr double lowestFrequency = 20.0;

/// A calibrator gives -60 dB and more on any input that is worth measuring with.
constexpr double lowestLevel = -80.0;

/// What is beside the tone shifts its level by less than 0.01 dB when it is 30 dB below it.
constexpr double largestRest = 1e-3;

/// A sound that is nearly all in one place of the spectrum.
constexpr double tonalShare = 0.9;

/// Main lobe of the window, in bins to each side, with what leaks beyond it.
constexpr double lobeBins = 4.0;

/// A calibrator's own distortion may reach 3 %, in harmonics that are no noise. What is beyond it takes from
/// the tone's level.
constexpr int lastHarmonic = 5;
constexpr double largestDistortion = 0.04;

/// The mains' frequencies and their first harmonics.
constexpr double humFrequencies[] = {50, 60, 100, 120, 150, 180};
constexpr double humWidth = 2.5;

bool isHum(double frequency)
{
    return std::ranges::any_of(humFrequencies,
                               [&](double hum) { return std::abs(frequency - hum) < humWidth; });
}

std::size_t frameLengthAt(double sampleRate)
{
    return std::bit_ceil(static_cast<std::size_t>(sampleRate * shortestFrameSeconds));
}

} // namespace

std::string describe(const CalibratorReading& reading)
{
    switch (reading.problem) {
    case CalibratorProblem::none:
        break;
    case CalibratorProblem::noTone:
        return "No tone is heard: put the calibrator on the microphone and switch it on.";
    case CalibratorProblem::clipped:
        return "The input is clipped: turn the microphone's gain down.";
    case CalibratorProblem::distorted:
        return "The tone is distorted: turn the microphone's gain down.";
    case CalibratorProblem::wrongFrequency:
        return fmt::format("The tone is at {:.0f} Hz, and a calibrator's is at 1000 Hz.", reading.frequency);
    case CalibratorProblem::hum:
        return fmt::format("There is hum at {:.0f} Hz: check the cable and the power supply.",
                           reading.frequency);
    case CalibratorProblem::handlingNoise:
        return "There is noise beside the tone: put the microphone down and let it rest.";
    }
    return {};
}

CalibratorToneAnalyzer::CalibratorToneAnalyzer(double sampleRate)
    : m_sampleRate(sampleRate)
    , m_window(normalizedHannWindow(frameLengthAt(sampleRate)))
    , m_windowed(m_window.size())
    , m_transform(RealTransform::make(m_window.size()))
    , m_power(m_window.size() / 2)
{}

CalibratorReading CalibratorToneAnalyzer::read(std::span<const float> frame)
{
    if (!m_transform)
        return {CalibratorProblem::noTone};
    if (ClipDetector().runsIn(frame) > 0)
        return {CalibratorProblem::clipped};
    std::ranges::transform(frame, m_window, m_windowed.begin(), std::multiplies());
    const auto bins = m_transform->forward(m_windowed);
    // Scaled so that the power of a tone's main lobe is its mean square: the window keeps the power, and one
    // half of it lies at negative frequencies.
    const double size = static_cast<double>(frameLength());
    for (std::size_t k = 0; k < m_power.size(); ++k)
        m_power[k] = 2 * static_cast<double>(std::norm(bins[k])) / (size * size);

    const double nyquist = m_sampleRate / 2;
    const double total = powerBetween(lowestFrequency, nyquist);
    const Tone strongest = strongestBetween(lowestFrequency, nyquist);
    if (!(10 * std::log10(strongest.power) > lowestLevel))
        return {CalibratorProblem::noTone};
    const bool isRightTone =
        std::abs(strongest.frequency / calibrationFrequency - 1) <= largestFrequencyError;
    if (!isRightTone) {
        if (strongest.power < tonalShare * total)
            return {CalibratorProblem::handlingNoise};
        if (isHum(strongest.frequency))
            return {CalibratorProblem::hum, strongest.frequency};
        return {CalibratorProblem::wrongFrequency, strongest.frequency};
    }

    double harmonics = 0;
    for (int harmonic = 2; harmonic <= lastHarmonic; ++harmonic)
        harmonics += powerAround(harmonic * strongest.frequency);
    const double rest = total - strongest.power - harmonics;
    // Noise lies about the harmonics as it does everywhere.
    if (harmonics > largestDistortion * largestDistortion * strongest.power && harmonics > rest)
        return {CalibratorProblem::distorted, strongest.frequency};
    if (rest > largestRest * strongest.power) {
        const Tone low = strongestBetween(lowestFrequency, 200);
        if (isHum(low.frequency) && low.power > rest / 2)
            return {CalibratorProblem::hum, low.frequency};
        return {CalibratorProblem::handlingNoise};
    }
    return {CalibratorProblem::none, strongest.frequency, 10 * std::log10(strongest.power)};
}

double CalibratorToneAnalyzer::powerBetween(double low, double high) const
{
    const double binWidth = m_sampleRate / static_cast<double>(frameLength());
    const auto bin = [&](double frequency) {
        return static_cast<std::ptrdiff_t>(
            std::clamp(std::round(frequency / binWidth), 0.0, static_cast<double>(m_power.size())));
    };
    const auto first = bin(low);
    const auto end = std::max(bin(high), first);
    return std::accumulate(m_power.begin() + first, m_power.begin() + end, 0.0);
}

double CalibratorToneAnalyzer::powerAround(double frequency) const
{
    const double binWidth = m_sampleRate / static_cast<double>(frameLength());
    return powerBetween(frequency - lobeBins * binWidth, frequency + (lobeBins + 1) * binWidth);
}

CalibratorToneAnalyzer::Tone CalibratorToneAnalyzer::strongestBetween(double low, double high) const
{
    const double binWidth = m_sampleRate / static_cast<double>(frameLength());
    const auto first = std::max<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(std::ceil(low / binWidth)), 1);
    const auto end =
        std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(high / binWidth), std::ssize(m_power) - 1);
    const auto peak = std::max_element(m_power.begin() + first, m_power.begin() + end);
    // The top of the window's lobe, a parabola over the logarithm of power, through the bin and its
    // neighbours.
    const auto logarithm = [](double power) { return std::log(power + 1e-300); };
    const double below = logarithm(*std::prev(peak));
    const double top = logarithm(*peak);
    const double above = logarithm(*std::next(peak));
    const double curvature = below - 2 * top + above;
    const double shift = curvature < 0 ? std::clamp((below - above) / (2 * curvature), -0.5, 0.5) : 0;
    const double frequency = (static_cast<double>(peak - m_power.begin()) + shift) * binWidth;
    return {frequency, powerAround(frequency)};
}

} // namespace velmor
