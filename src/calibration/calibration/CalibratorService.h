// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Lifetime.h>
#include <base/MainLoop.h>
#include <base/Observable.h>
#include <base/Ring.h>
#include <calibration/CalibratorTone.h>
#include <level/AudioMeasurementService.h>
#include <level/MicFrequencyCorrection.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace velmor {

/// Where a calibration with an acoustic calibrator stands.
namespace Calibrator {

struct Idle
{
    bool operator==(const Idle&) const = default;
};

/// Waits for the tone to stay steady.
struct Listening
{
    double steadySeconds = 0; ///< How long it has been, up to 5.
    std::string problem;      ///< A sentence about what keeps it from being; empty while nothing does.
    bool operator==(const Listening&) const = default;
};

/// The tone was steady to 0.1 dB for 5 seconds.
struct Proposed
{
    double offset = 0; ///< Calibration offset, dB, with which the program reads the calibrator's level.
    double calibratorLevel = 0; ///< dB re 20 µPa.
    double frequency = 0;       ///< Hz
    bool operator==(const Proposed&) const = default;
};
struct Failed
{
    std::string message;
    bool operator==(const Failed&) const = default;
};

} // namespace Calibrator

using CalibratorState =
    std::variant<Calibrator::Idle, Calibrator::Listening, Calibrator::Proposed, Calibrator::Failed>;

/// Finds the calibration offset with an acoustic calibrator on the microphone. Main thread, but for the
/// samples that it takes on the capture thread.
class CalibratorService final : public ObservableObject
{
public:
    static constexpr double steadySecondsNeeded = 5.0;
    static constexpr double largestChangeDB = 0.1;

    /// The levels that calibrators have, dB re 20 µPa; others can be typed in.
    static constexpr double usualLevels[] = {94.0, 104.0, 114.0};

    /// Levels that are a calibrator's.
    static constexpr double lowestLevel = 60.0;
    static constexpr double highestLevel = 140.0;

    explicit CalibratorService(MainLoop& loop);
    ~CalibratorService();

    Published<CalibratorState> state{*this, Calibrator::Idle()};

    bool isListening() const { return std::holds_alternative<Calibrator::Listening>(state.get()); }

    /// Begins a run anew. The services outlive it. What the correction does to the tone is allowed for.
    /// \param calibratorLevel dB re 20 µPa, from 60 to 140.
    void start(AudioMeasurementService& audioService, const MicFrequencyCorrection& correction,
               double calibratorLevel);

    /// Another input is listened to now than at the start: the run, if there is one, fails.
    void interrupt();

    /// Ends a run, and the capture if the run has started it; to idle from any state.
    void cancel();

private:
    struct SteadyReading
    {
        double level = 0;
        double frequency = 0;
    };

    void fail(std::string message);
    void readFrames();
    void take(const CalibratorReading& reading);
    void propose();
    void endRun();

    MainLoop& m_loop;
    std::unique_ptr<Doorbell> m_sampleBell;
    std::unique_ptr<Ring<float>> m_samples; ///< From the capture thread.
    std::atomic<double> m_sampleRate = 0;   ///< Of the last of them, hertz.
    std::optional<CalibratorToneAnalyzer> m_analyzer;
    std::vector<float> m_frame;
    std::size_t m_frameLength = 0; ///< Samples in the frame so far.
    std::deque<SteadyReading> m_steady;
    double m_calibratorLevel = 0;

    // For the length of a run.
    AudioMeasurementService* m_audioService = nullptr;
    const MicFrequencyCorrection* m_correction = nullptr;
    bool m_didStartAudioService = false;
    std::uint64_t m_run = 0; ///< Counts the runs.
    Subscription m_captureChanges;
    Lifetime m_lifetime;
};

} // namespace velmor
