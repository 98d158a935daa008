// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/PinkNoisePlayer.h>

#include <base/Print.h>
#include <calibration/PinkNoiseGenerator.h>

#include <algorithm>

namespace velmor {

namespace {

/// The source of one run: begins anew with each.
PlaybackEngine::Render noiseSource()
{
    return [generator = PinkNoiseGenerator()](std::span<float* const> channels, std::size_t frames) mutable {
        for (std::size_t frame = 0; frame < frames; ++frame) {
            const float sample = generator.next();
            for (float* const channel : channels) {
                if (channel)
                    channel[frame] = sample;
            }
        }
    };
}

} // namespace

PinkNoisePlayer::PinkNoisePlayer(AudioPlayback& playback, AudioHardware& hardware)
    : m_playback(playback)
    , m_hardware(hardware)
{}

PinkNoisePlayer::~PinkNoisePlayer()
{
    if (!m_engine)
        return;
    endObserving();
    m_engine->stop();
}

bool PinkNoisePlayer::start(const std::optional<std::string>& deviceUID)
{
    if (isPlaying)
        return true;
    const auto engine = m_playback.makeEngine();
    if (!engine->connect(format, noiseSource()))
        return false;
    if (deviceUID) {
        if (const auto device = deviceID(*deviceUID))
            engine->setOutputDevice(*device);
    }
    if (const auto error = engine->start()) {
        printLine("PinkNoisePlayer failed to start: {}", *error);
        return false;
    }
    m_engine = engine;
    m_engine->setConfigurationChangeObserver([this] { handleConfigurationChange(); });
    isPlaying = true;
    return isPlaying;
}

void PinkNoisePlayer::stop()
{
    if (m_engine) {
        endObserving();
        m_engine->stop();
        m_engine.reset();
    }
    isPlaying = false;
}

void PinkNoisePlayer::toggle(const std::optional<std::string>& deviceUID)
{
    if (isPlaying)
        stop();
    else
        start(deviceUID);
}

std::optional<std::uint32_t> PinkNoisePlayer::deviceID(const std::string& uid) const
{
    const auto devices = m_hardware.outputDevices();
    const auto found = std::ranges::find(devices, uid, &AudioDevice::uid);
    return found != devices.end() ? std::optional(found->id) : std::nullopt;
}

// A device that went away, another format, another default: the noise ends, and whoever wants it starts it
// again.
void PinkNoisePlayer::handleConfigurationChange()
{
    endObserving();
    m_engine.reset();
    isPlaying = false;
}

void PinkNoisePlayer::endObserving()
{
    m_engine->setConfigurationChangeObserver(nullptr);
}

} // namespace velmor
