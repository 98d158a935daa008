// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Lifetime.h>
#include <base/MainLoop.h>
#include <base/Observable.h>
#include <base/Ring.h>
#include <level/AudioDeviceManager.h>
#include <level/BlockProcessor.h>
#include <platform/AudioCapture.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace velmor {

/// What has gone wrong with the input since capture was last started.
struct InputFaults
{
    std::uint64_t clippedRuns = 0;   ///< How often the input was driven beyond full scale.
    std::uint64_t droppedBlocks = 0; ///< Blocks that no level was made of.

    bool operator==(const InputFaults&) const = default;
};

/// The one place where sound enters the program. Opens the input, taps one channel of the chosen
/// device, and publishes calibrated levels to the main thread, one update a block.
///
/// Everything but the tap runs on the main thread. Failures are printed and show in the published
/// state: `isRunning` false, levels 0.
class AudioMeasurementService final : public ObservableObject
{
public:
    /// Frames of each block that the tap gets.
    static constexpr std::size_t tapBlockFrames = 1024;

    /// \param calibrationOffset dB that are added to every level.
    AudioMeasurementService(MainLoop& loop, AudioCapture& capture, AudioDeviceManager& deviceManager,
                            double calibrationOffset);
    ~AudioMeasurementService();

    Published<double> currentSPL{*this, 0};  ///< Smoothed A-weighted level, dBA.
    Published<double> currentDBC{*this, 0};  ///< Smoothed C-weighted level, dBC.
    Published<double> peakDBC{*this, 0};     ///< C-weighted peak of the last block, dB.
    Published<double> peakDBA{*this, 0};     ///< A-weighted peak of the last block, dB.
    Published<bool> isRunning{*this, false}; ///< Capture is on, or is being started.
    Published<bool> hasPermission{*this, false};
    Published<bool> peakAlert{*this, false}; ///< Whether the last block's peakDBC was 135 or above.

    /// Announced only when it changes. The end of capture leaves it as it is.
    Published<InputFaults> inputFaults{*this, {}};

    /// Runs when the selected device has gone while capture was on, after stop().
    std::function<void()> onDeviceDisconnected;

    /// Takes effect from the next block.
    void updateCalibrationOffset(double decibels);

    /// Asks for the right to listen, where that is not decided yet.
    void checkPermission();

    /// Does nothing without permission or while running. On failure `isRunning` is false again.
    void start();

    /// Ends capture, the raw sample callback with it, and puts the levels to 0. Does nothing while
    /// stopped.
    void stop();

    /// Restarts a running capture 0.2 seconds later, on what the device manager has selected by then; a
    /// stop() in between calls that off.
    void switchDevice();

    /// Hands out the captured blocks before any correction or weighting, on the capture thread.
    /// stop() ends it. An empty function ends it too.
    void setRawSampleCallback(RawSampleCallback callback);

    /// Corrects what is measured; none with a null pointer. It outlives the service.
    void setMicFreqCorrection(MicFrequencyCorrection* correction)
    {
        m_processor.setMicFreqCorrection(correction);
    }

    /// What the running capture was opened on: the UID of the selected device, or an empty one for the
    /// system's default, which also stands in for a selected device that wasn't there.
    const std::string& openedDeviceUID() const { return m_openedDeviceUID; }

    /// The channel of it that is measured, from 0: the first one where it hasn't the selected one.
    int openedChannel() const { return m_openedChannel; }

    /// The capture's rate in hertz.
    double currentSampleRate() const { return m_processor.sampleRate(); }

    /// Blocks since construction that no level was made of: longer than the processor takes, or lost
    /// before the capture thread could take them.
    std::uint64_t droppedBlocks() const;

    /// Samples since construction that were no usable numbers and were replaced by silence.
    std::uint64_t unusableSamples() const;

private:
    /// What the capture thread has to say of one block.
    struct BlockReport
    {
        BlockPeaks peaks;
        std::size_t droppedFrames = 0; ///< Not 0 for a block that was too long.
    };

    void tap(const float* samples, std::size_t frames);
    void publishReports();
    void setInputDevice(std::uint32_t deviceID, CaptureEngine& engine);
    void setChannelMap(CaptureEngine& engine);
    void configurationChanged(const std::weak_ptr<CaptureEngine>& weakEngine);
    void recover(const std::weak_ptr<CaptureEngine>& weakEngine);
    void releaseEngine(CaptureEngine& engine);
    void noteDrop(std::size_t frames);
    void publishFaults();
    std::uint64_t lostSamples() const;
    void clearLevels();

    MainLoop& m_loop;
    AudioCapture& m_capture;
    AudioDeviceManager& m_deviceManager;
    std::shared_ptr<CaptureEngine> m_engine;
    BlockProcessor m_processor;

    /// From the capture thread to the main thread: five seconds of blocks at 192 kHz, 20 at 48 kHz, so
    /// that only a main thread that hangs for so long misses an update.
    Ring<BlockReport> m_reports{1024};
    std::unique_ptr<Doorbell> m_reportBell;

    std::string m_openedDeviceUID;
    int m_openedChannel = 0;
    std::uint64_t m_run = 0;          ///< Counts the starts and stops.
    std::uint64_t m_stopRequests = 0; ///< Counts the calls of stop().
    std::uint64_t m_clippedRuns = 0;  ///< Since capture was last started.
    std::uint64_t m_tooLongBlocksAtStart = 0;
    std::uint64_t m_lostSamplesAtStart = 0;
    std::uint64_t m_tooLongBlocks = 0;
    std::uint64_t m_lostSamples = 0;     ///< Of engines that are gone.
    std::uint64_t m_unusableSamples = 0; ///< Of engines that are gone.
    Lifetime m_lifetime;
};

} // namespace velmor
