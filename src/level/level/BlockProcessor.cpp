// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/BlockProcessor.h>

#include <base/UsableSamples.h>
#include <level/MicFrequencyCorrection.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmor {

namespace {

constexpr double initialSampleRate = 48000.0;
constexpr double silentRMS = 1e-10;
constexpr float silentPeak = 1e-10F;
constexpr double highestLevel = 140.0;
constexpr double highestPeakLevel = 160.0;
constexpr double peakAlertLevelDBC = 135.0;
constexpr double smoothingOfNew = 0.3;
constexpr double smoothingOfOld = 0.7;

/// The new smoothed level in dB. The recursion works on decibels, not on power, and takes silence as
/// 0 dB.
double smoothed(double before, double sumOfSquares, std::size_t frames, double offset)
{
    const double rms = std::sqrt(sumOfSquares / static_cast<double>(frames));
    double contribution = 0;
    if (rms > silentRMS)
        contribution = smoothingOfNew * std::clamp(20 * std::log10(rms) + offset, 0.0, highestLevel);
    return contribution + smoothingOfOld * before;
}

double peakLevel(float peak, double offset)
{
    const double level = peak > silentPeak ? 20 * std::log10(static_cast<double>(peak)) + offset : 0;
    return std::max(std::min(level, highestPeakLevel), 0.0);
}

} // namespace

BlockProcessor::BlockProcessor(double calibrationOffset)
    : m_aWeightingFilter(initialSampleRate)
    , m_cWeightingFilter(initialSampleRate)
    , m_calibrationOffset(calibrationOffset)
    , m_corrected(scratchCapacity)
    , m_aScratch(scratchCapacity)
    , m_cScratch(scratchCapacity)
    , m_sampleRate(initialSampleRate)
{}

std::optional<BlockPeaks> BlockProcessor::process(const float* samples, std::size_t frames)
{
    if (samples == nullptr || frames == 0 || frames > m_aScratch.size())
        return std::nullopt;
    if (m_sampleRateChanged.exchange(false, std::memory_order_acquire))
        followSampleRate();

    const std::span<const float> captured(samples, frames);
    const std::uint32_t clippedRuns = m_clipDetector.runsIn(captured);
    if (m_hasRawSampleCallback.load(std::memory_order_relaxed))
        callBack(captured);

    const std::span<const float> block = corrected(captured);
    const auto [a, c] = m_kernel.weigh(m_aWeightingFilter, m_cWeightingFilter, block, m_aScratch, m_cScratch);

    const double offset = m_calibrationOffset.load(std::memory_order_relaxed);
    m_smoothedDBA.store(smoothed(smoothedDBA(), a.sumOfSquares, frames, offset), std::memory_order_relaxed);
    const double peakDBA = peakLevel(a.peak, offset);
    m_smoothedDBC.store(smoothed(smoothedDBC(), c.sumOfSquares, frames, offset), std::memory_order_relaxed);
    const double peakDBC = peakLevel(c.peak, offset);
    return BlockPeaks{peakDBA, peakDBC, peakDBC >= peakAlertLevelDBC, clippedRuns};
}

std::span<const float> BlockProcessor::corrected(std::span<const float> block)
{
    MicFrequencyCorrection* const correction = m_micFreqCorrection.load(std::memory_order_relaxed);
    if (!correction)
        return block;
    const auto result = std::span(m_corrected).first(block.size());
    std::ranges::copy(block, result.begin());
    if (!correction->apply(result, sampleRate()))
        return block;
    // A stored filter may hold any numbers.
    silenceUnusableSamples(result);
    return result;
}

void BlockProcessor::setRawSampleCallback(RawSampleCallback callback)
{
    const std::lock_guard lock(m_rawSampleMutex);
    m_rawSampleCallback = std::move(callback);
    m_hasRawSampleCallback.store(m_rawSampleCallback != nullptr, std::memory_order_relaxed);
}

void BlockProcessor::callBack(std::span<const float> block)
{
    const std::unique_lock lock(m_rawSampleMutex, std::try_to_lock);
    if (lock && m_rawSampleCallback)
        m_rawSampleCallback(block, sampleRate());
}

void BlockProcessor::prepare(double sampleRate)
{
    m_sampleRate.store(sampleRate, std::memory_order_relaxed);
    m_sampleRateChanged.store(false, std::memory_order_relaxed);
    followSampleRate();
}

void BlockProcessor::changeSampleRate(double sampleRate)
{
    m_sampleRate.store(sampleRate, std::memory_order_relaxed);
    m_sampleRateChanged.store(true, std::memory_order_release);
}

void BlockProcessor::followSampleRate()
{
    const double rate = sampleRate();
    m_clipDetector.reset();
    m_aWeightingFilter.updateSampleRate(rate);
    m_aWeightingFilter.reset();
    m_cWeightingFilter.updateSampleRate(rate);
    m_cWeightingFilter.reset();
    m_smoothedDBA.store(0, std::memory_order_relaxed);
    m_smoothedDBC.store(0, std::memory_order_relaxed);
}

} // namespace velmor
