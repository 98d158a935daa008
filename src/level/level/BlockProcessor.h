// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <level/AWeightingFilter.h>
#include <level/BlockKernel.h>
#include <level/CWeightingFilter.h>
#include <level/ClipDetector.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

namespace velmor {

class MicFrequencyCorrection;

/// Gets each block as it was captured, which lives for the length of the call, and the sample rate in
/// hertz. Runs on the capture thread.
using RawSampleCallback = std::function<void(std::span<const float> samples, double sampleRate)>;

/// What one block adds to the smoothed levels, dB re 20 µPa with the calibration offset.
struct BlockPeaks
{
    double peakDBA = 0;     ///< Highest absolute A-weighted sample of the block, 0 to 160.
    double peakDBC = 0;     ///< As peakDBA, C-weighted.
    bool peakAlert = false; ///< Whether peakDBC is at or above 135 (EU 2003/10/EC, lower action value).
    std::uint32_t clippedRuns = 0; ///< How often the block, as it was captured, was driven beyond full scale.

    bool operator==(const BlockPeaks&) const = default;
};

/// Turns blocks of samples into calibrated levels, without any audio hardware. process() belongs to
/// the capture thread; each other operation says who may call it and when.
class BlockProcessor
{
public:
    /// The longest block that is processed, eight times what a tap delivers.
    static constexpr std::size_t scratchCapacity = 8192;

    /// \param calibrationOffset dB that are added to every level.
    explicit BlockProcessor(double calibrationOffset);

    /// Weights the block, smooths its levels and gives its peaks. Absent, and nothing is changed, for
    /// a block without samples or longer than scratchCapacity. Capture thread; neither waits
    /// nor allocates by itself.
    std::optional<BlockPeaks> process(const float* samples, std::size_t frames);

    /// Smoothed levels in dB: 0.3 of each block's level, held to 0 to 140, plus 0.7 of what was
    /// before. Any thread.
    double smoothedDBA() const { return m_smoothedDBA.load(std::memory_order_relaxed); }
    double smoothedDBC() const { return m_smoothedDBC.load(std::memory_order_relaxed); }

    /// Takes effect from the next block. Any thread.
    void setCalibrationOffset(double decibels)
    {
        m_calibrationOffset.store(decibels, std::memory_order_relaxed);
    }

    /// Corrects the blocks before they are weighted; none without. It outlives the processor, or is taken
    /// away before. Any thread; takes effect from the next block.
    void setMicFreqCorrection(MicFrequencyCorrection* correction)
    {
        m_micFreqCorrection.store(correction, std::memory_order_relaxed);
    }

    /// Replaces the callback, or ends it with an empty function. When it returns, the callback that
    /// was there before does not run any more. Main thread, at any time.
    void setRawSampleCallback(RawSampleCallback callback);

    /// Follows the rate and starts from silence: registers and smoothed levels at zero. Only while no
    /// block can be under way.
    void prepare(double sampleRate);

    /// As prepare(), with new registers and levels from the next block on, while blocks may be under
    /// way. Main thread.
    void changeSampleRate(double sampleRate);

    /// The rate in hertz that was set last. Any thread.
    double sampleRate() const { return m_sampleRate.load(std::memory_order_relaxed); }

private:
    /// The rate has been set and the filters don't follow yet.
    void followSampleRate();
    void callBack(std::span<const float> block);
    std::span<const float> corrected(std::span<const float> block);

    AWeightingFilter m_aWeightingFilter;
    CWeightingFilter m_cWeightingFilter;
    BlockKernel m_kernel;
    std::atomic<double> m_calibrationOffset;
    std::atomic<double> m_smoothedDBA = 0;
    std::atomic<double> m_smoothedDBC = 0;
    ClipDetector m_clipDetector;
    std::atomic<MicFrequencyCorrection*> m_micFreqCorrection = nullptr;
    std::vector<float> m_corrected;
    std::vector<float> m_aScratch;
    std::vector<float> m_cScratch;
    std::atomic<double> m_sampleRate;
    std::atomic<bool> m_sampleRateChanged = false;

    /// The capture thread only tries it: a block that comes while the callback is being replaced
    /// counts as before or after.
    std::mutex m_rawSampleMutex;
    std::atomic<bool> m_hasRawSampleCallback = false;
    RawSampleCallback m_rawSampleCallback;
};

} // namespace velmor
