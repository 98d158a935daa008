// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/MicResponseCalibrationService.h>

#include <functional>
#include <system_error>
#include <utility>
#include <vector>

namespace velmor {

using namespace MicCalibration;

MicResponseCalibrationService::MicResponseCalibrationService(MainLoop& loop)
    : m_loop(loop)
    , m_progressBell(loop.doorbell([this] { followProgress(); }))
{}

MicResponseCalibrationService::~MicResponseCalibrationService()
{
    stopReceiving();
    if (m_analysis.joinable())
        m_analysis.join();
}

bool MicResponseCalibrationService::isInProgress() const
{
    const MicCalibrationState& now = state;
    return std::holds_alternative<Settling>(now) || std::holds_alternative<Measuring>(now) ||
           std::holds_alternative<Computing>(now);
}

void MicResponseCalibrationService::start(AudioMeasurementService& audioService,
                                          PinkNoisePlayer& pinkNoisePlayer,
                                          const std::optional<std::string>& outputDeviceUID,
                                          MicFrequencyCorrection& correction)
{
    if (!std::holds_alternative<Idle>(state.get()))
        return;
    const std::uint64_t run = ++m_run;
    m_audioService = &audioService;
    m_pinkNoisePlayer = &pinkNoisePlayer;
    m_correction = &correction;
    m_didStartAudioService = false;

    if (!audioService.isRunning) {
        audioService.start();
        if (!audioService.isRunning) {
            state = Failed{"Could not start microphone input"};
            return;
        }
        m_didStartAudioService = true;
    }
    m_accumulator.reset();
    m_sampleRate = audioService.currentSampleRate();

    const bool namesDevice = outputDeviceUID && !outputDeviceUID->empty();
    if (pinkNoisePlayer.isPlaying)
        pinkNoisePlayer.stop();
    // Without the noise, the capture stays as it is: on, if it is this run that has started it.
    if (!pinkNoisePlayer.start(namesDevice ? outputDeviceUID : std::nullopt)) {
        postState(Failed{"Could not start pink noise playback"});
        return;
    }
    // What is heard without the noise says nothing about the microphone.
    m_noiseChanges = pinkNoisePlayer.isPlaying.subscribe([this](bool isPlaying) {
        if (!isPlaying)
            stopReceiving();
    });
    state = Settling();
    m_loop.after(settlingDelaySeconds, m_lifetime.guarded([this, run] {
        if (run == m_run && std::holds_alternative<Settling>(state.get()))
            beginMeasuring();
    }));
}

// An input or an output that was lost meanwhile leaves a measurement to which nothing comes.
void MicResponseCalibrationService::beginMeasuring()
{
    if (m_audioService->isRunning && m_pinkNoisePlayer->isPlaying) {
        m_isReceiving = true;
        m_audioService->setRawSampleCallback(
            [this](std::span<const float> samples, double sampleRate) { receive(samples, sampleRate); });
    }
    state = Measuring{0};
}

void MicResponseCalibrationService::receive(std::span<const float> samples, double sampleRate)
{
    if (m_accumulator.isComplete())
        return;
    // Before the frame is counted, with which it is handed over.
    m_sampleRate.store(sampleRate, std::memory_order_relaxed);
    m_accumulator.receive(samples);
    m_progressBell->ring();
}

void MicResponseCalibrationService::followProgress()
{
    if (!m_isReceiving)
        return;
    if (!m_accumulator.isComplete()) {
        state = Measuring{static_cast<double>(m_accumulator.framesAccumulated()) /
                          static_cast<double>(MicResponse::targetFrames)};
        return;
    }
    stopReceiving();
    m_isReceiving = false;
    const std::uint64_t run = m_run;
    state = Computing();
    if (run == m_run)
        compute();
}

void MicResponseCalibrationService::compute()
{
    // One that was cancelled may still be at it, for some milliseconds.
    if (m_analysis.joinable())
        m_analysis.join();
    const auto analyze = [&loop = m_loop, lifetime = m_lifetime.watch(), this, run = m_run,
                          power = m_accumulator.accumulatedPower(),
                          frames = m_accumulator.framesAccumulated(), sampleRate = m_sampleRate.load(),
                          now = m_loop.now()] {
        const auto transform = RealTransform::make(MicResponse::fftSize);
        std::optional<MicCorrectionProfile> profile;
        if (transform)
            profile = micCorrectionProfile(power, frames, sampleRate, *transform, now);
        loop.post(lifetime.guarded([this, run, profile = std::move(profile)] {
            if (run != m_run)
                return;
            if (profile)
                finish(*profile);
            else
                state = Failed{"FFT setup unavailable"};
        }));
    };
    try {
        m_analysis = std::thread(analyze);
    } catch (const std::system_error&) {
        analyze();
    }
}

void MicResponseCalibrationService::finish(const MicCorrectionProfile& profile)
{
    if (m_correction) {
        m_correction->save(profile);
        m_correction->isEnabled = true;
    }
    teardown();
    state = Done();
}

void MicResponseCalibrationService::cancel()
{
    ++m_run;
    teardown();
    postState(Idle());
}

// What has been heard wholly is still computed.
void MicResponseCalibrationService::stopReceiving()
{
    if (!m_isReceiving || !m_audioService)
        return;
    m_audioService->setRawSampleCallback(nullptr);
    m_isReceiving = m_accumulator.isComplete();
}

void MicResponseCalibrationService::teardown()
{
    m_noiseChanges.disconnect();
    m_isReceiving = false;
    if (m_pinkNoisePlayer)
        m_pinkNoisePlayer->stop();
    if (m_audioService) {
        m_audioService->setRawSampleCallback(nullptr);
        if (std::exchange(m_didStartAudioService, false))
            m_audioService->stop();
    }
    m_audioService = nullptr;
    m_pinkNoisePlayer = nullptr;
    m_correction = nullptr;
}

void MicResponseCalibrationService::postState(MicCalibrationState next)
{
    m_loop.post(m_lifetime.guarded([this, run = m_run, next = std::move(next)] {
        if (run == m_run)
            state = next;
    }));
}

} // namespace velmor
