// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/CalibratorService.h>

#include <base/Levels.h>
#include <calibration/FilterCheck.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

namespace velmor {

using namespace Calibrator;

namespace {

/// More than a second at 192 kHz.
constexpr std::size_t ringCapacity = 262144;

} // namespace

CalibratorService::CalibratorService(MainLoop& loop)
    : m_loop(loop)
    , m_sampleBell(loop.doorbell([this] { readFrames(); }))
{}

CalibratorService::~CalibratorService()
{
    endRun();
}

void CalibratorService::start(AudioMeasurementService& audioService, const MicFrequencyCorrection& correction,
                              double calibratorLevel)
{
    endRun();
    if (!(calibratorLevel >= lowestLevel && calibratorLevel <= highestLevel)) {
        fail(fmt::format("A calibrator's level lies between {:.0f} and {:.0f} dB.", lowestLevel,
                         highestLevel));
        return;
    }
    m_calibratorLevel = calibratorLevel;
    m_audioService = &audioService;
    m_correction = &correction;
    if (!audioService.isRunning) {
        audioService.start();
        if (!audioService.isRunning) {
            fail("Could not start microphone input");
            return;
        }
        m_didStartAudioService = true;
    }
    m_analyzer.emplace(audioService.currentSampleRate());
    m_frame.assign(m_analyzer->frameLength(), 0.0F);
    m_frameLength = 0;
    m_steady.clear();
    m_samples = std::make_unique<Ring<float>>(ringCapacity);
    m_sampleRate = audioService.currentSampleRate();
    audioService.setRawSampleCallback([this](std::span<const float> samples, double sampleRate) {
        m_sampleRate.store(sampleRate, std::memory_order_relaxed);
        m_samples->push(samples.data(), samples.size());
        m_sampleBell->ring();
    });
    // Nothing comes any more then, also where capture begins again at once. This may be in the middle of
    // that.
    m_captureChanges = audioService.isRunning.subscribe([this, run = ++m_run](bool isRunning) {
        if (!isRunning)
            m_loop.post(m_lifetime.guarded([this, run] {
                if (isListening() && run == m_run)
                    fail("The input was lost.");
            }));
    });
    state = Listening();
}

void CalibratorService::cancel()
{
    endRun();
    state = Idle();
}

void CalibratorService::interrupt()
{
    if (isListening())
        fail("The input has changed. Begin again.");
}

void CalibratorService::fail(std::string message)
{
    endRun();
    state = Failed{std::move(message)};
}

void CalibratorService::readFrames()
{
    while (isListening() && m_samples) {
        const std::size_t taken =
            m_samples->pop(m_frame.data() + m_frameLength, m_frame.size() - m_frameLength);
        m_frameLength += taken;
        if (m_frameLength < m_frame.size())
            return;
        m_frameLength = 0;
        if (m_sampleRate.load(std::memory_order_relaxed) != m_analyzer->sampleRate())
            interrupt();
        else
            take(m_analyzer->read(m_frame));
    }
}

void CalibratorService::take(const CalibratorReading& reading)
{
    if (reading.problem != CalibratorProblem::none) {
        m_steady.clear();
        state = Listening{0, describe(reading)};
        return;
    }
    m_steady.push_back({reading.level, reading.frequency});
    const auto change = [this] {
        const auto [lowest, highest] = std::ranges::minmax(m_steady, {}, &SteadyReading::level);
        return highest.level - lowest.level;
    };
    // From the last reading back, as far as the level has stayed.
    const bool hasChanged = change() > largestChangeDB;
    while (change() > largestChangeDB)
        m_steady.pop_front();
    const double seconds = static_cast<double>(m_steady.size()) * m_analyzer->frameSeconds();
    if (seconds >= steadySecondsNeeded)
        propose();
    else
        state = Listening{seconds, hasChanged ? "The level is not steady: wait for it to settle." : ""};
}

void CalibratorService::propose()
{
    double energy = 0;
    double frequency = 0;
    for (const SteadyReading& reading : m_steady) {
        energy += energyOfLevel(reading.level);
        frequency += reading.frequency;
    }
    frequency /= static_cast<double>(m_steady.size());
    // The samples come from before the correction, and the program's readings from behind it.
    const double level = energyMean(energy, std::ssize(m_steady)) +
                         correctionGainDB(*m_correction, m_analyzer->sampleRate(), frequency);
    // Whoever is told may look at the chain that it is proposed for.
    state = Proposed{m_calibratorLevel - level, m_calibratorLevel, frequency};
    endRun();
}

void CalibratorService::endRun()
{
    m_captureChanges.disconnect();
    if (m_audioService) {
        m_audioService->setRawSampleCallback(nullptr);
        if (std::exchange(m_didStartAudioService, false))
            m_audioService->stop();
    }
    m_audioService = nullptr;
    m_correction = nullptr;
}

} // namespace velmor
