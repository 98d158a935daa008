// SPDX-License-Identifier: GPL-3.0-or-later
// What the hub does with calibrations, and with the trust that the figures deserve.
#include <app/AppState.h>

#include <calibration/FilterCheck.h>

#include <algorithm>
#include <utility>
#include <variant>

namespace velmor {

namespace {

constexpr auto systemDefault = "System Default";

std::optional<AudioDevice> deviceWith(const std::vector<AudioDevice>& devices, const auto& member,
                                      const auto& value)
{
    const auto found = std::ranges::find(devices, value, member);
    return found != devices.end() ? std::optional(*found) : std::nullopt;
}

} // namespace

void AppState::setupCalibration()
{
    m_subscriptions.push_back(pinkNoisePlayer.isPlaying.subscribe([this](bool isPlaying) {
        m_loop.post(m_lifetime.guarded([this, isPlaying] { calibrationNoiseChanged(isPlaying); }));
    }));
    const auto update = [this] { updateCalibrationTrustSoon(); };
    m_subscriptions.push_back(deviceManager.onChange(update));
    m_subscriptions.push_back(audioService.inputFaults.subscribe([update](const auto&) { update(); }));
    m_subscriptions.push_back(audioService.isRunning.subscribe([update](bool) { update(); }));
    m_subscriptions.push_back(micFreqCorrection.isEnabled.subscribe([update](bool) { update(); }));
    m_subscriptions.push_back(micFreqCorrection.profile.subscribe([this, update](const auto&) {
        m_isFilterChecked = false;
        update();
    }));
    // What is proposed is for the chain of that moment.
    m_subscriptions.push_back(calibratorService.state.subscribe([this](const CalibratorState& state) {
        if (!std::holds_alternative<Calibrator::Proposed>(state))
            return;
        m_proposalDate = m_loop.now();
        m_calibratorChain = inputChain();
    }));
    updateCalibrationTrust();
}

// The microphone is open while the noise plays, and during a session.
void AppState::calibrationNoiseChanged(bool isPlaying)
{
    if (isPlaying)
        calibratorService.interrupt();
    if (isPlaying && !audioService.isRunning)
        audioService.start();
    else if (!isPlaying && audioService.isRunning && !sessionManager.currentSession.get() &&
             !calibratorService.isListening())
        audioService.stop();
}

// A measurement that went on would take the session's sound for the noise.
void AppState::cancelCalibrations()
{
    pinkNoisePlayer.stop();
    targetCalibrationService.cancel();
    if (micResponseService.isInProgress())
        micResponseService.cancel();
    if (calibratorService.isListening())
        calibratorService.cancel();
}

void AppState::measureMicResponse()
{
    if (isTargetCalibrating())
        return;
    if (calibratorService.isListening())
        calibratorService.cancel();
    micResponseService.start(audioService, pinkNoisePlayer, settings.selectedOutputDeviceUID.get(),
                             micFreqCorrection);
}

bool AppState::isTargetCalibrating() const
{
    const TargetCalibrationState& target = targetCalibrationService.state;
    return std::holds_alternative<TargetCalibration::Playing>(target) ||
           std::holds_alternative<TargetCalibration::Captured>(target);
}

bool AppState::startTargetCalibration()
{
    if (micResponseService.isInProgress())
        return false;
    if (calibratorService.isListening())
        calibratorService.cancel();
    // Noise that plays already may play on another output.
    pinkNoisePlayer.stop();
    return targetCalibrationService.start(pinkNoisePlayer, settings.selectedOutputDeviceUID.get());
}

void AppState::captureTarget()
{
    targetCalibrationService.capture(audioService.currentSPL);
}

void AppState::saveTargetCalibration(std::string_view note)
{
    const ReferenceLevelSettings& reference = referenceTracker.settings;
    targetCalibrationService.save(note, settings.selectedOutputDeviceUID, outputName(), reference.target,
                                  reference.tolerance, targetCalibrationStore);
}

void AppState::saveCalibrationProfile(std::string_view typedLabel)
{
    const std::string device = inputName();
    calibrationProfileStore.save(CalibrationProfileStore::labelFor(typedLabel, device),
                                 settings.selectedDeviceUID, device, settings.calibrationOffset,
                                 micFreqCorrection.profile);
}

// The calibration is that of the day of saving, and of the device of that day.
void AppState::applyCalibrationProfile(const CalibrationSavedProfile& profile)
{
    // The list that it is from may change with what it brings about.
    const CalibrationSavedProfile applied = profile;
    CalibrationProfileStore::apply(applied, micFreqCorrection);
    InputChain chain;
    chain.deviceUID = applied.deviceUID;
    chain.deviceName = applied.deviceName;
    // A profile without a correction was made without one.
    const auto& filter = applied.freqProfile;
    chain.correctionGainDB =
        filter ? filterGainDB(filter->taps, filter->sampleRate, calibrationFrequency) : 0;
    calibrate(
        {CalibrationMethod::profile, applied.levelOffsetAtSave, std::nullopt, applied.savedDate, chain});
}

bool AppState::startCalibrator(double level)
{
    if (sessionManager.currentSession.get() || micResponseService.isInProgress() ||
        pinkNoisePlayer.isPlaying || isTargetCalibrating())
        return false;
    calibratorService.start(audioService, micFreqCorrection, level);
    m_calibratorChain = inputChain();
    return calibratorService.isListening();
}

void AppState::acceptCalibratorOffset()
{
    const auto* proposed = std::get_if<Calibrator::Proposed>(&calibratorService.state.get());
    if (!proposed)
        return;
    calibrate({CalibrationMethod::calibrator, proposed->offset, proposed->calibratorLevel, m_proposalDate,
               m_calibratorChain});
    calibratorService.cancel();
}

void AppState::applyMicrophoneData(const MicrophoneData& data)
{
    micFreqCorrection.save(correctionOf(data, audioService.currentSampleRate(), m_loop.now()));
    micFreqCorrection.isEnabled = true;
}

// The setting's own effects note it as set by hand; how it was found is noted over that.
void AppState::calibrate(const CalibrationRecord& record)
{
    settings.calibrationOffset = record.offset;
    calibrationTrust.note(record);
}

// A selected device that is not there is stood in for by the default, as the capture does it.
std::optional<AudioDevice> AppState::usedInput() const
{
    const auto& devices = deviceManager.inputDevices.get();
    const std::string& wanted =
        audioService.isRunning ? audioService.openedDeviceUID() : deviceManager.selectedDeviceUID.get();
    if (const auto device = deviceWith(devices, &AudioDevice::uid, wanted))
        return device;
    const auto standard = m_hardware.defaultInputDevice();
    return standard ? deviceWith(devices, &AudioDevice::id, *standard) : std::nullopt;
}

InputChain AppState::inputChain() const
{
    InputChain chain;
    chain.correctionGainDB = correctionGain();
    const auto device = usedInput();
    const int channel = usedChannel(device);
    chain.channel = channel;
    if (device) {
        chain.deviceUID = device->uid;
        chain.deviceName = device->displayName();
        if (const auto volume = m_hardware.inputVolume(device->id, channel))
            chain.volumeGain = volume->gain;
    }
    return chain;
}

// A device that hasn't the selected channel is measured on its first one.
int AppState::usedChannel(const std::optional<AudioDevice>& device) const
{
    if (audioService.isRunning)
        return audioService.openedChannel();
    const int selected = deviceManager.selectedChannelIndex;
    return !device || selected < m_hardware.inputChannelCount(device->id) ? selected : 0;
}

// While nothing is captured, as it would be at the correction's own rate.
double AppState::correctionGain() const
{
    const auto& profile = micFreqCorrection.profile.get();
    if (!profile)
        return 0;
    const double sampleRate = audioService.isRunning ? audioService.currentSampleRate() : profile->sampleRate;
    return correctionGainDB(micFreqCorrection, sampleRate, calibrationFrequency);
}

std::string AppState::inputName() const
{
    const auto device = deviceWith(deviceManager.inputDevices.get(), &AudioDevice::uid,
                                   deviceManager.selectedDeviceUID.get());
    return device ? device->displayName() : systemDefault;
}

std::string AppState::outputName() const
{
    const auto device = deviceWith(deviceManager.outputDevices.get(), &AudioDevice::uid,
                                   settings.selectedOutputDeviceUID.get());
    return device ? device->displayName() : systemDefault;
}

// Several of the facts change together.
void AppState::updateCalibrationTrustSoon()
{
    if (std::exchange(m_isTrustOutdated, true))
        return;
    m_loop.post(m_lifetime.guarded([this] { updateCalibrationTrust(); }));
}

void AppState::updateCalibrationTrust()
{
    m_isTrustOutdated = false;
    const auto& profile = micFreqCorrection.profile.get();
    if (!std::exchange(m_isFilterChecked, true))
        m_filterDeparture = profile ? std::optional(filterDeparture(*profile)) : std::nullopt;

    CalibrationFacts facts;
    facts.offset = settings.calibrationOffset;
    facts.isOffsetStored = SettingRows::calibrationOffset.stored(m_defaults).has_value();
    facts.chain = inputChain();
    facts.faults = audioService.inputFaults;
    const auto device = usedInput();
    const auto volume = device ? m_hardware.inputVolume(device->id, usedChannel(device)) : std::nullopt;
    facts.isMuted = volume && volume->isMuted;
    facts.isCorrectionOn = micFreqCorrection.isEnabled;
    if (profile)
        facts.correctionSampleRate = profile->sampleRate;
    facts.filterDeparture = m_filterDeparture;
    if (audioService.isRunning)
        facts.captureSampleRate = audioService.currentSampleRate();
    calibrationTrust.update(facts);
    if (facts.chain.deviceUID != m_calibratorChain.deviceUID ||
        facts.chain.channel != m_calibratorChain.channel)
        calibratorService.interrupt();
}

} // namespace velmor
