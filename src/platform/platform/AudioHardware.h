// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Observable.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmor {

/// An input or output device as the host lists it.
struct AudioDevice
{
    std::uint32_t id = 0;     ///< The host's number for it, good only while it is there.
    std::string name;         ///< For people.
    std::string manufacturer; ///< "Unknown" where the host doesn't say.
    std::string uid;          ///< Stays the same across restarts; what settings keep.
    bool hasInput = false;    ///< Which list the record is from: inputs (true) or outputs.

    /// The name, followed by the manufacturer in brackets where it is known.
    std::string displayName() const
    {
        if (manufacturer.empty() || manufacturer == "Unknown")
            return name;
        return name + " (" + manufacturer + ")";
    }

    bool operator==(const AudioDevice&) const = default;
};

/// What the host's mixer makes of one channel of an input before anybody gets it.
struct InputVolume
{
    double gain = 1; ///< A factor.
    bool isMuted = false;

    bool operator==(const InputVolume&) const = default;
};

/// Lists the audio devices of the host. Main thread.
class AudioHardware
{
public:
    virtual ~AudioHardware() = default;

    /// In the order in which the host gives them; empty where audio is not to be had.
    virtual std::vector<AudioDevice> inputDevices() const = 0;
    virtual std::vector<AudioDevice> outputDevices() const = 0;

    /// Number of a device's input channels; 0 for one that is gone or has none.
    virtual int inputChannelCount(std::uint32_t deviceID) const = 0;

    /// What the host calls one of a device's input channels, counted from 0; absent where it doesn't say.
    virtual std::optional<std::string> inputChannelName(std::uint32_t deviceID, int channel) const = 0;

    /// The input that is the system's default; absent where there is none.
    virtual std::optional<std::uint32_t> defaultInputDevice() const = 0;

    /// The volume of one of a device's input channels, counted from 0; absent where the host doesn't say.
    virtual std::optional<InputVolume> inputVolume(std::uint32_t deviceID, int channel) const = 0;

    /// Calls back on the main thread each time that devices have come, gone or changed, volumes included.
    [[nodiscard]] virtual Subscription onChange(const std::function<void()>& callback) = 0;
};

} // namespace velmor
