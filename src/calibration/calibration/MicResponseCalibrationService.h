// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Lifetime.h>
#include <base/MainLoop.h>
#include <base/Observable.h>
#include <calibration/MicResponseAnalysis.h>
#include <calibration/PinkNoisePlayer.h>
#include <level/AudioMeasurementService.h>
#include <level/MicFrequencyCorrection.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <variant>

namespace velmor {

/// Where a measurement of the microphone's response stands.
namespace MicCalibration {

struct Idle
{
    bool operator==(const Idle&) const = default;
};
struct Settling
{
    bool operator==(const Settling&) const = default;
};
struct Measuring
{
    double progress = 0; ///< 0 to 1.
    bool operator==(const Measuring&) const = default;
};
struct Computing
{
    bool operator==(const Computing&) const = default;
};
struct Done
{
    bool operator==(const Done&) const = default;
};
struct Failed
{
    std::string message;
    bool operator==(const Failed&) const = default;
};

} // namespace MicCalibration

using MicCalibrationState =
    std::variant<MicCalibration::Idle, MicCalibration::Settling, MicCalibration::Measuring,
                 MicCalibration::Computing, MicCalibration::Done, MicCalibration::Failed>;

/// Measures how monitors, room and microphone colour pink noise, and puts the correction in force. Main
/// thread, but for the samples that it takes on the capture thread and the analysis on a thread of its own.
class MicResponseCalibrationService final : public ObservableObject
{
public:
    static constexpr double settlingDelaySeconds = 1.0;

    explicit MicResponseCalibrationService(MainLoop& loop);
    ~MicResponseCalibrationService();

    Published<MicCalibrationState> state{*this, MicCalibration::Idle()};

    /// Settling, measuring or computing.
    bool isInProgress() const;

    /// Does nothing unless idle. The other services outlive this one.
    /// \param outputDeviceUID where the noise plays; the system's default when absent or empty.
    void start(AudioMeasurementService& audioService, PinkNoisePlayer& pinkNoisePlayer,
               const std::optional<std::string>& outputDeviceUID, MicFrequencyCorrection& correction);

    /// Ends a run, with the noise, and the capture if the run has started it. Idle in the next turn of the
    /// loop, from any state.
    void cancel();

    /// From done or failed back to idle.
    void dismiss() { state = MicCalibration::Idle(); }

private:
    void beginMeasuring();
    void receive(std::span<const float> samples, double sampleRate);
    void followProgress();
    void compute();
    void finish(const MicCorrectionProfile& profile);
    void stopReceiving();
    void teardown();
    void postState(MicCalibrationState next);

    MainLoop& m_loop;
    MicResponseAccumulator m_accumulator;
    std::atomic<double> m_sampleRate = 48000.0; ///< Of the last samples, hertz.
    std::unique_ptr<Doorbell> m_progressBell;
    std::thread m_analysis;

    // For the length of a run.
    AudioMeasurementService* m_audioService = nullptr;
    PinkNoisePlayer* m_pinkNoisePlayer = nullptr;
    MicFrequencyCorrection* m_correction = nullptr;
    bool m_didStartAudioService = false;
    bool m_isReceiving = false; ///< Samples come, or have all come and wait to be computed.
    Subscription m_noiseChanges;

    std::uint64_t m_run = 0; ///< Counts the starts and the cancellations.
    Lifetime m_lifetime;
};

} // namespace velmor
