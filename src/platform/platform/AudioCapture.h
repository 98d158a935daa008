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

/// Format of what a capture engine delivers.
struct CaptureFormat
{
    double sampleRate = 0; ///< Hertz; 0 while there is no input.
    int channelCount = 0;  ///< 0 while there is no input.

    bool operator==(const CaptureFormat&) const = default;
};

/// One run of an audio input. Created stopped; configured, tapped and started on the main thread.
class CaptureEngine
{
public:
    /// Takes one block of the first bus channel: samples and their number. Runs on the engine's
    /// capture thread, which treats denormals as zero. Samples are finite.
    using Tap = std::function<void(const float* samples, std::size_t frames)>;

    /// The host's status of a request, 0 for success; absent when there is nothing to ask it of.
    using Status = std::optional<int>;

    virtual ~CaptureEngine() = default;

    /// Takes the input from that device instead of the system's default.
    virtual Status setInputDevice(std::uint32_t deviceID) = 0;

    /// For each bus channel the index of the device channel that it is to carry. Nothing is mixed.
    virtual Status setChannelMap(std::span<const std::int32_t> deviceChannels) = 0;

    /// The format that the input has now.
    virtual CaptureFormat inputFormat() const = 0;

    /// Has the tap called with blocks of exactly `frames` samples in that format.
    virtual void installTap(std::size_t frames, CaptureFormat format, Tap tap) = 0;

    /// Returns when no block is under way any more.
    virtual void removeTap() = 0;

    /// Starts, or starts again after stop(). \return what went wrong; absent on success.
    virtual std::optional<std::string> start() = 0;

    /// Ends the flow of blocks; returns when none is under way any more.
    virtual void stop() = 0;

    /// Calls back on the main thread each time that the running engine's device, format or default
    /// changes or is lost. An empty function ends it.
    virtual void setConfigurationChangeObserver(std::function<void()> observer) = 0;

    /// Samples that were lost because the capture thread could not keep up. Main thread.
    virtual std::uint64_t lostSamples() const = 0;

    /// Samples that were no usable numbers and were replaced by silence. Main thread.
    virtual std::uint64_t unusableSamples() const = 0;
};

/// Whether the user lets the program listen.
enum class CaptureAuthorization { notDetermined, authorized, denied };

/// Audio input of the host.
class AudioCapture
{
public:
    virtual ~AudioCapture() = default;

    virtual CaptureAuthorization authorizationStatus() const = 0;

    /// Asks the user; the answer may come on any thread.
    virtual void requestAccess(std::function<void(bool granted)> answer) = 0;

    virtual std::shared_ptr<CaptureEngine> makeEngine() = 0;
};

} // namespace velmor
