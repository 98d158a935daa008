// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/MicResponseAnalysis.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace velmor {

using namespace MicResponse;

namespace {

constexpr float lowestPower = 1e-12F;
constexpr float lowestMagnitude = 1e-10F;
constexpr float smallestGain = 0.35481343F; // -9 dB
constexpr float largestGain = 2.8183827F;   // +9 dB

constexpr double freqLow = 80.0;
constexpr double taperEndLow = 400.0;
constexpr double freqHigh = 16000.0;
constexpr double taperEndHigh = 22627.41699796952; // Half an octave above freqHigh.

constexpr std::size_t curvePoints = 64;
constexpr double curveStartDecades = 1.9030899869919435; // log10(80)
constexpr double curveDecades = 2.3010299956639813;      // log10(16000 / 80)

constexpr std::size_t firstTap = 960;
constexpr float smallestTapSum = 1e-6F;

std::size_t truncated(double value)
{
    return static_cast<std::size_t>(value);
}

/// Keeps the broadband level: the geometric mean from 400 Hz to 16 kHz becomes 1.
void normalizeLevel(Gains& raw, double sampleRate)
{
    constexpr double lowBins = 819200.0;    // 400 Hz times the transform's size.
    constexpr double highBins = 32768000.0; // 16 kHz times the transform's size.
    constexpr double smallestLogarithm = -23.02585;
    const std::size_t low = std::max<std::size_t>(truncated(lowBins / sampleRate), 1);
    const std::size_t high = std::min(truncated(highBins / sampleRate), binCount - 1);
    if (low >= high)
        return;
    // In 64 bits: the rounding of some 700 logarithms' sum would show in the taps.
    double sum = 0;
    for (std::size_t k = low; k <= high; ++k)
        sum += raw[k] <= 1e-10F ? smallestLogarithm : std::log(static_cast<double>(raw[k]));
    const auto scale = static_cast<float>(std::exp(-sum / static_cast<double>(high - low + 1)));
    for (float& gain : raw)
        gain *= scale;
}

/// The mean over 12 percent of the bin's own index on either side, at least one bin.
Gains smoothed(const Gains& raw)
{
    Gains smooth(binCount);
    smooth[0] = 1;
    for (std::size_t k = 1; k < binCount; ++k) {
        const auto half = std::max<std::size_t>(static_cast<std::size_t>(static_cast<float>(k) * 0.12F), 1);
        const std::size_t low = k > half ? k - half : 1;
        const std::size_t high = std::min(k + half, binCount - 1);
        float sum = 0;
        for (std::size_t i = low; i <= high; ++i)
            sum += raw[i];
        smooth[k] = sum / static_cast<float>(high - low + 1);
    }
    return smooth;
}

} // namespace

void MicResponseAccumulator::reset()
{
    m_sampleBuffer.assign(fftSize, 0.0F);
    m_sampleBufferLength = 0;
    m_windowed.assign(fftSize, 0.0F);
    m_accumulatedPower.assign(binCount, 0.0F);
    m_framesAccumulated = 0;
    m_hannWindow = normalizedHannWindow(fftSize);
    m_transform = RealTransform::make(fftSize);
}

void MicResponseAccumulator::receive(std::span<const float> samples)
{
    while (!samples.empty() && !isComplete() && m_transform) {
        const auto taken = samples.first(std::min(samples.size(), fftSize - m_sampleBufferLength));
        std::ranges::copy(taken, m_sampleBuffer.begin() + static_cast<std::ptrdiff_t>(m_sampleBufferLength));
        m_sampleBufferLength += taken.size();
        samples = samples.subspan(taken.size());
        if (m_sampleBufferLength < fftSize)
            return;
        accumulateFrame();
        std::copy(m_sampleBuffer.begin() + hopSize, m_sampleBuffer.end(), m_sampleBuffer.begin());
        m_sampleBufferLength -= hopSize;
    }
}

void MicResponseAccumulator::accumulateFrame()
{
    for (std::size_t n = 0; n < fftSize; ++n)
        m_windowed[n] = m_sampleBuffer[n] * m_hannWindow[n];
    const auto bins = m_transform->forward(m_windowed);
    // The scale of the packed format, in which a real transform is twice as large. Its bin 0 has the
    // constant and Nyquist in one, and is not used.
    constexpr float packedScale = 4;
    m_accumulatedPower[0] +=
        packedScale * (bins[0].real() * bins[0].real() + bins[binCount].real() * bins[binCount].real());
    for (std::size_t k = 1; k < binCount; ++k)
        m_accumulatedPower[k] +=
            packedScale * (bins[k].real() * bins[k].real() + bins[k].imag() * bins[k].imag());
    m_framesAccumulated.fetch_add(1, std::memory_order_release);
}

Gains correctionGains(std::span<const float> accumulatedPower, std::size_t frames, double sampleRate)
{
    Gains raw(binCount);
    raw[0] = 1;
    for (std::size_t k = 1; k < binCount; ++k) {
        const float average = accumulatedPower[k] / static_cast<float>(frames);
        const float ideal = 1 / std::sqrt(static_cast<float>(k));
        const float magnitude = std::sqrt(std::max(average, lowestPower));
        raw[k] = ideal / std::max(magnitude, lowestMagnitude);
    }
    normalizeLevel(raw, sampleRate);
    return smoothed(raw);
}

void limitAndTaper(Gains& gains, double sampleRate)
{
    for (float& gain : gains)
        gain = std::min(std::max(smallestGain, gain), largestGain); // Also one that is no number.

    const double binWidth = sampleRate * (1.0 / fftSize);
    const std::size_t top16 = truncated(freqHigh / binWidth);
    const std::size_t topEnd = truncated(std::min(sampleRate * 0.5, taperEndHigh) / binWidth);
    for (std::size_t k = 0; k < binCount; ++k) {
        const double f = binWidth * static_cast<double>(k);
        if (f < freqLow) {
            gains[k] = 1;
        } else if (f < taperEndLow) {
            const auto t = static_cast<float>((f - freqLow) / (taperEndLow - freqLow));
            gains[k] = (gains[k] - 1) * t + 1;
        } else if (f > freqHigh && k > top16) {
            if (k < topEnd) {
                const auto t = static_cast<float>((taperEndHigh - f) / (taperEndHigh - freqHigh));
                gains[k] = std::max(t, 0.0F) * (gains[k] - 1) + 1;
            } else {
                gains[k] = 1;
            }
        }
    }
}

std::vector<FrequencyCurvePoint> displayCurve(const Gains& gains, double sampleRate)
{
    std::vector<FrequencyCurvePoint> curve;
    curve.reserve(curvePoints);
    for (std::size_t i = 0; i < curvePoints; ++i) {
        const double f = std::pow(10.0, static_cast<double>(i) * curveDecades / 63.0 + curveStartDecades);
        const std::size_t bin = truncated(f * double(fftSize) / sampleRate);
        if (bin < 1 || bin > binCount - 1)
            continue;
        const double gain = static_cast<double>(std::max(gains[bin], 1e-10F));
        curve.push_back({static_cast<float>(f), static_cast<float>(20 * std::log10(gain))});
    }
    return curve;
}

std::vector<float> impulseResponse(const Gains& gains, const RealTransform& transform)
{
    std::vector<float> bins = gains;
    bins.push_back(1.0F); // Nyquist
    std::vector<float> samples = transform.inverse(bins);
    for (float& sample : samples)
        sample *= 1.0F / static_cast<float>(binCount);
    return samples;
}

MicCorrectionProfile micCorrectionProfile(std::span<const float> accumulatedPower, std::size_t frames,
                                          double sampleRate, const RealTransform& transform, Date now)
{
    Gains gains = correctionGains(accumulatedPower, frames, sampleRate);
    limitAndTaper(gains, sampleRate);

    const std::vector<float> response = impulseResponse(gains, transform);
    const std::vector<float> window = normalizedHannWindow(tapCount);
    std::vector<float> taps(tapCount);
    for (std::size_t j = 0; j < tapCount; ++j)
        taps[j] = response[firstTap + j] * window[j];
    const float sum = std::accumulate(taps.begin(), taps.end(), 0.0F);
    if (std::abs(sum) > smallestTapSum) {
        for (float& tap : taps)
            tap /= sum;
    }
    return {std::move(taps), sampleRate, now, displayCurve(gains, sampleRate)};
}

} // namespace velmor
