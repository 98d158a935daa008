// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Lifetime.h>
#include <base/MainLoop.h>
#include <base/Observable.h>
#include <platform/AudioHardware.h>
#include <platform/DefaultsStore.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velmor {

/// One input channel of a device.
struct AudioChannel
{
    int index = 0; ///< From 0.
    std::string name;

    bool operator==(const AudioChannel&) const = default;
};

/// The program's view of the audio hardware: which devices there are, and which input device and
/// channel is meant. Follows the hardware: what changes there is listed anew in the next turn of the loop.
/// Main thread.
class AudioDeviceManager final : public ObservableObject
{
public:
    /// Restores the channel, not yet held against any device: that is done when the device is next seen.
    AudioDeviceManager(MainLoop& loop, AudioHardware& hardware, DefaultsStore& defaults);

    Published<std::vector<AudioDevice>> inputDevices{*this, {}};
    Published<std::vector<AudioDevice>> outputDevices{*this, {}};

    /// Empty for the system's default input.
    Published<std::string> selectedDeviceUID{*this, {}};

    /// The channels of the selected device; a single one named "Default" while it is not there.
    Published<std::vector<AudioChannel>> availableInputChannels{*this, {}};

    /// Index of the channel that is measured. Each assignment is written to the store.
    Published<int> selectedChannelIndex{*this, 0};

    /// Lists the devices anew, then the channels.
    void refreshDevices();

    /// Selecting another device goes back to its first channel; selecting the present one keeps the
    /// channel.
    void selectDevice(const std::string& uid);

    /// The host's number of the selected device; absent for the system default and for a device that
    /// is not there.
    std::optional<std::uint32_t> selectedDeviceID() const;

    /// Lists the selected device's channels. An index beyond them becomes 0; while the device is not
    /// there the index is left alone.
    void updateAvailableChannels();

private:
    std::vector<AudioChannel> inputChannels(std::uint32_t deviceID) const;

    AudioHardware& m_hardware;
    Subscription m_channelPersistence;
    Subscription m_hardwareChanges;
    Lifetime m_lifetime;
};

} // namespace velmor
