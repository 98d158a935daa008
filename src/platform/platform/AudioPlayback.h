// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace velmor {

/// Format of what a playback engine is given to play: 32-bit floats, a buffer for each channel.
struct PlaybackFormat
{
    double sampleRate = 0; ///< Hertz.
    int channelCount = 0;

    bool operator==(const PlaybackFormat&) const = default;
};

/// One run of an audio output. Created stopped; connected and started on the main thread.
class PlaybackEngine
{
public:
    /// Fills the next frames of each channel. A channel without memory is null. Runs on a real-time thread:
    /// neither locks, blocks nor allocates.
    using Render = std::function<void(std::span<float* const> channels, std::size_t frames)>;

    /// The host's status of a request, 0 for success; absent when there is nothing to ask it of.
    using Status = std::optional<int>;

    virtual ~PlaybackEngine() = default;

    /// Says what is to be played. \return whether the host can play that format.
    virtual bool connect(PlaybackFormat format, Render render) = 0;

    /// Plays on that device instead of the system's default.
    virtual Status setOutputDevice(std::uint32_t deviceID) = 0;

    /// \return what went wrong; absent on success.
    virtual std::optional<std::string> start() = 0;

    /// Ends the sound; returns when nothing is rendered any more. The engine's end does the same.
    virtual void stop() = 0;

    /// Calls back on the main thread when the running engine's device, format or default changes or is
    /// lost. An empty function ends it.
    virtual void setConfigurationChangeObserver(std::function<void()> observer) = 0;
};

/// Audio output of the host.
class AudioPlayback
{
public:
    virtual ~AudioPlayback() = default;

    /// Never null.
    virtual std::shared_ptr<PlaybackEngine> makeEngine() = 0;
};

/// For programs that play nothing: no format can be played.
class NoPlayback final : public AudioPlayback
{
public:
    std::shared_ptr<PlaybackEngine> makeEngine() override { return std::make_shared<Engine>(); }

private:
    struct Engine final : PlaybackEngine
    {
        bool connect(PlaybackFormat, Render) override { return false; }
        Status setOutputDevice(std::uint32_t) override { return std::nullopt; }
        std::optional<std::string> start() override { return "no output"; }
        void stop() override {}
        void setConfigurationChangeObserver(std::function<void()>) override {}
    };
};

} // namespace velmor
