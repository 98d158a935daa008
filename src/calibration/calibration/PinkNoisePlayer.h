// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Observable.h>
#include <platform/AudioHardware.h>
#include <platform/AudioPlayback.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace velmor {

/// Plays steady pink noise, the same on both channels, until it is stopped. It has no volume of its own: how
/// loud it is, the output device and its user decide. Main thread.
class PinkNoisePlayer final : public ObservableObject
{
public:
    static constexpr PlaybackFormat format{44100.0, 2};

    PinkNoisePlayer(AudioPlayback& playback, AudioHardware& hardware);
    ~PinkNoisePlayer();

    Published<bool> isPlaying{*this, false};

    /// Plays on that output; on the system's default without one, and for one that isn't there. A noise that
    /// plays already goes on where it plays. \return whether the noise is playing now.
    bool start(const std::optional<std::string>& deviceUID);

    /// Harmless when nothing plays.
    void stop();

    void toggle(const std::optional<std::string>& deviceUID);

private:
    std::optional<std::uint32_t> deviceID(const std::string& uid) const;
    void handleConfigurationChange();
    void endObserving();

    AudioPlayback& m_playback;
    AudioHardware& m_hardware;
    std::shared_ptr<PlaybackEngine> m_engine; ///< While a start has succeeded, until what ended it.
};

} // namespace velmor
