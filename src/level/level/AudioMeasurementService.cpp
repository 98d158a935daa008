// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/AudioMeasurementService.h>

#include <base/Print.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace velmor {

namespace {

constexpr double deviceSwitchDelaySeconds = 0.2;
constexpr double recoveryDelaySeconds = 0.4;

std::uint64_t blocksOf(std::uint64_t samples)
{
    return (samples + AudioMeasurementService::tapBlockFrames - 1) / AudioMeasurementService::tapBlockFrames;
}

bool isValid(CaptureFormat format)
{
    return format.sampleRate > 0 && format.channelCount > 0;
}

} // namespace

AudioMeasurementService::AudioMeasurementService(MainLoop& loop, AudioCapture& capture,
                                                 AudioDeviceManager& deviceManager, double calibrationOffset)
    : m_loop(loop)
    , m_capture(capture)
    , m_deviceManager(deviceManager)
    , m_processor(calibrationOffset)
    , m_reportBell(loop.doorbell([this] { publishReports(); }))
{
    checkPermission();
}

AudioMeasurementService::~AudioMeasurementService()
{
    if (m_engine)
        releaseEngine(*m_engine);
}

void AudioMeasurementService::updateCalibrationOffset(double decibels)
{
    m_processor.setCalibrationOffset(decibels);
}

void AudioMeasurementService::checkPermission()
{
    switch (m_capture.authorizationStatus()) {
    case CaptureAuthorization::notDetermined:
        // The answer may come on any thread, and after the service is gone.
        m_capture.requestAccess([&loop = m_loop, lifetime = m_lifetime.watch(), this](bool granted) {
            loop.post(lifetime.guarded([this, granted] { hasPermission = granted; }));
        });
        break;
    case CaptureAuthorization::authorized:
        hasPermission = true;
        break;
    case CaptureAuthorization::denied:
        hasPermission = false;
        break;
    }
}

void AudioMeasurementService::start()
{
    if (!hasPermission || isRunning)
        return;
    ++m_run;
    isRunning = true;

    const auto engine = m_capture.makeEngine();
    const auto deviceID = m_deviceManager.selectedDeviceID();
    m_openedDeviceUID = deviceID ? m_deviceManager.selectedDeviceUID.get() : std::string();
    if (deviceID)
        setInputDevice(*deviceID, *engine);
    setChannelMap(*engine);

    const CaptureFormat format = engine->inputFormat();
    if (!isValid(format)) {
        printLine("start: invalid audio format (sampleRate={} channels={}) — aborting", format.sampleRate,
                  format.channelCount);
        isRunning = false;
        return;
    }
    m_processor.prepare(format.sampleRate);
    m_clippedRuns = 0;
    m_tooLongBlocksAtStart = m_tooLongBlocks;
    m_lostSamplesAtStart = lostSamples();
    publishFaults();

    engine->installTap(tapBlockFrames, format,
                       [this](const float* samples, std::size_t frames) { tap(samples, frames); });
    if (const auto error = engine->start()) {
        printLine("Failed to start audio engine: {}", *error);
        engine->removeTap();
        isRunning = false;
        return;
    }
    m_engine = engine;
    engine->setConfigurationChangeObserver(
        [this, weakEngine = std::weak_ptr(engine)] { configurationChanged(weakEngine); });
}

void AudioMeasurementService::stop()
{
    ++m_stopRequests;
    if (!isRunning)
        return;
    ++m_run;
    isRunning = false;
    setRawSampleCallback(nullptr);
    if (m_engine) {
        releaseEngine(*m_engine);
        m_engine.reset();
    }
    // What the capture thread still reported belongs to the run that has ended.
    BlockReport report;
    while (m_reports.pop(report)) {
        if (report.droppedFrames > 0)
            noteDrop(report.droppedFrames);
        m_clippedRuns += report.peaks.clippedRuns;
    }
    publishFaults();
    clearLevels();
}

void AudioMeasurementService::clearLevels()
{
    currentSPL = 0;
    currentDBC = 0;
    peakDBC = 0;
    peakDBA = 0;
    peakAlert = false;
}

void AudioMeasurementService::switchDevice()
{
    if (!isRunning)
        return;
    stop();
    // Somebody who stops the capture meanwhile doesn't want it back: the microphone would stay open with
    // nobody to close it.
    m_loop.after(deviceSwitchDelaySeconds, m_lifetime.guarded([this, stopRequests = m_stopRequests] {
        if (stopRequests == m_stopRequests)
            start();
    }));
}

void AudioMeasurementService::setRawSampleCallback(RawSampleCallback callback)
{
    m_processor.setRawSampleCallback(std::move(callback));
}

std::uint64_t AudioMeasurementService::lostSamples() const
{
    return m_lostSamples + (m_engine ? m_engine->lostSamples() : 0);
}

std::uint64_t AudioMeasurementService::droppedBlocks() const
{
    return m_tooLongBlocks + blocksOf(lostSamples());
}

std::uint64_t AudioMeasurementService::unusableSamples() const
{
    return m_unusableSamples + (m_engine ? m_engine->unusableSamples() : 0);
}

void AudioMeasurementService::tap(const float* samples, std::size_t frames)
{
    if (samples == nullptr || frames == 0)
        return;
    BlockReport report;
    if (const auto peaks = m_processor.process(samples, frames))
        report.peaks = *peaks;
    else
        report.droppedFrames = frames;
    m_reports.push(report);
    m_reportBell->ring();
}

void AudioMeasurementService::publishReports()
{
    BlockReport report;
    while (m_reports.pop(report)) {
        if (report.droppedFrames > 0) {
            noteDrop(report.droppedFrames);
            continue;
        }
        const std::uint64_t run = m_run;
        m_clippedRuns += report.peaks.clippedRuns;
        currentSPL = m_processor.smoothedDBA();
        currentDBC = m_processor.smoothedDBC();
        peakDBC = report.peaks.peakDBC;
        peakDBA = report.peaks.peakDBA;
        peakAlert = report.peaks.peakAlert;
        // Somebody who was told of one of these may have stopped the capture.
        if (run != m_run) {
            clearLevels();
            return;
        }
    }
    publishFaults();
}

void AudioMeasurementService::publishFaults()
{
    const InputFaults faults{m_clippedRuns, m_tooLongBlocks - m_tooLongBlocksAtStart +
                                                blocksOf(lostSamples() - m_lostSamplesAtStart)};
    if (faults != inputFaults.get())
        inputFaults = faults;
}

void AudioMeasurementService::noteDrop(std::size_t frames)
{
    ++m_tooLongBlocks;
    printLine("tap delivered {} frames > scratchCapacity ({}) — dropping buffer", frames,
              BlockProcessor::scratchCapacity);
}

void AudioMeasurementService::setInputDevice(std::uint32_t deviceID, CaptureEngine& engine)
{
    const auto status = engine.setInputDevice(deviceID);
    if (!status)
        printLine("setInputDevice: PipeWire stream unavailable — device routing skipped");
    else if (*status != 0)
        printLine("setInputDevice: setting target.object failed ({})", *status);
}

void AudioMeasurementService::setChannelMap(CaptureEngine& engine)
{
    const int channelCount = engine.inputFormat().channelCount;
    const std::int32_t index = m_deviceManager.selectedChannelIndex;
    const std::vector<std::int32_t> map(static_cast<std::size_t>(std::max(channelCount, 0)), index);
    const auto status = engine.setChannelMap(map);
    m_openedChannel = status == 0 ? index : 0;
    if (!status) {
        printLine("setChannelMap: PipeWire stream unavailable");
        return;
    }
    if (channelCount == 0)
        return;
    if (*status == 0)
        printLine("setChannelMap: device channel {} → bus channels 0..<{}", index, channelCount);
    else
        printLine("setChannelMap: failed ({}) — falling back to default mapping", *status);
}

void AudioMeasurementService::configurationChanged(const std::weak_ptr<CaptureEngine>& weakEngine)
{
    const auto engine = weakEngine.lock();
    if (!isRunning || !engine)
        return;
    engine->stop();
    m_loop.after(recoveryDelaySeconds, m_lifetime.guarded([this, weakEngine] { recover(weakEngine); }));
}

void AudioMeasurementService::recover(const std::weak_ptr<CaptureEngine>& weakEngine)
{
    const auto engine = weakEngine.lock();
    if (!engine || engine != m_engine)
        return;

    m_deviceManager.refreshDevices();
    if (!m_deviceManager.selectedDeviceUID.get().empty() && !m_deviceManager.selectedDeviceID()) {
        stop();
        if (onDeviceDisconnected)
            onDeviceDisconnected();
        return;
    }

    setChannelMap(*engine);
    if (const auto error = engine->start()) {
        printLine("Engine restart after config change failed ({}) — doing full restart", *error);
        stop();
        start();
        return;
    }
    const double rate = engine->inputFormat().sampleRate;
    if (rate > 0 && rate != currentSampleRate())
        m_processor.changeSampleRate(rate);
}

void AudioMeasurementService::releaseEngine(CaptureEngine& engine)
{
    engine.setConfigurationChangeObserver(nullptr);
    engine.removeTap();
    engine.stop();
    m_lostSamples += engine.lostSamples();
    m_unusableSamples += engine.unusableSamples();
}

} // namespace velmor
