// SPDX-License-Identifier: GPL-3.0-or-later
// How a recording of pink noise becomes a correction of what recorded it: spectra are summed up, compared
// with those of ideal pink noise, smoothed, limited, faded out at both ends, and turned into a filter.
#pragma once

#include <base/Date.h>
#include <calibration/RealTransform.h>
#include <level/MicCorrectionProfile.h>

#include <atomic>
#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace velmor {

namespace MicResponse {

inline constexpr std::size_t fftSize = 2048;
inline constexpr std::size_t binCount = fftSize / 2;
inline constexpr std::size_t hopSize = fftSize / 2;
inline constexpr std::size_t targetFrames = 200;
inline constexpr std::size_t tapCount = 128;

/// Samples that make up the frames: 4.288 seconds at 48 kHz.
inline constexpr std::size_t sampleCount = fftSize + (targetFrames - 1) * hopSize;

/// One gain, a factor, for each of the bins below Nyquist.
using Gains = std::vector<float>;

} // namespace MicResponse

/// Sums up the power spectra of 200 overlapping frames. receive() belongs to the capture thread, reset() to
/// the main thread while no sample can come.
class MicResponseAccumulator
{
public:
    /// Begins anew.
    void reset();

    /// Takes samples, up to the last one that is needed. Allocates nothing once reset. Capture thread.
    void receive(std::span<const float> samples);

    /// Any thread. What was written before the last frame was counted can be read after that.
    std::size_t framesAccumulated() const { return m_framesAccumulated.load(std::memory_order_acquire); }

    bool isComplete() const { return framesAccumulated() >= MicResponse::targetFrames; }

    /// The sum over all frames, a value a bin. Once complete, or while no sample can come.
    const std::vector<float>& accumulatedPower() const { return m_accumulatedPower; }

    /// Absent where the tables of the transform can't be had: then no frame is counted.
    const std::optional<RealTransform>& transform() const { return m_transform; }

private:
    void accumulateFrame();

    std::vector<float> m_hannWindow;
    std::optional<RealTransform> m_transform;
    std::vector<float> m_sampleBuffer; ///< One frame.
    std::size_t m_sampleBufferLength = 0;
    std::vector<float> m_windowed;
    std::vector<float> m_accumulatedPower;
    std::atomic<std::size_t> m_framesAccumulated = 0;
};

/// What a filter is asked for: the correction of a spectrum, before it is cut to a filter's length.
/// \param accumulatedPower sum of `frames` power spectra. \param sampleRate hertz.
MicResponse::Gains correctionGains(std::span<const float> accumulatedPower, std::size_t frames,
                                   double sampleRate);

/// Limits the gains to 9 dB up and down and fades them out below 400 Hz and above 16 kHz, where a room and
/// the microphone's capsule say more than its response.
void limitAndTaper(MicResponse::Gains& gains, double sampleRate);

/// At most 64 points from 80 Hz to 16 kHz, evenly on a logarithmic axis. Points without a bin of their own
/// are left out.
std::vector<FrequencyCurvePoint> displayCurve(const MicResponse::Gains& gains, double sampleRate);

/// The 2048 samples of the zero-phase impulse response, its peak at index 0.
std::vector<float> impulseResponse(const MicResponse::Gains& gains, const RealTransform& transform);

/// The whole of it. The taps are samples 960 to 1087 of the impulse response, the middle of its period, as
/// all stored profiles have them; they don't follow every curve, which filterDeparture() tells. \param
/// sampleRate hertz. \param now becomes the date of the measurement.
MicCorrectionProfile micCorrectionProfile(std::span<const float> accumulatedPower, std::size_t frames,
                                          double sampleRate, const RealTransform& transform, Date now);

} // namespace velmor
