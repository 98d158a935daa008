// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/AudioDeviceManager.h>

#include <fmt/format.h>

namespace velmor {

AudioDeviceManager::AudioDeviceManager(const AudioHardware& hardware)
    : m_hardware(hardware)
{
    refreshDevices();
}

void AudioDeviceManager::refreshDevices()
{
    inputDevices = m_hardware.inputDevices();
    outputDevices = m_hardware.outputDevices();
    updateAvailableChannels();
}

void AudioDeviceManager::selectDevice(const std::string& uid)
{
    if (uid != selectedDeviceUID.get())
        selectedChannelIndex = 0;
    selectedDeviceUID = uid;
    updateAvailableChannels();
}

std::optional<std::uint32_t> AudioDeviceManager::selectedDeviceID() const
{
    for (const AudioDevice& device : inputDevices.get()) {
        if (device.uid == selectedDeviceUID.get())
            return device.id;
    }
    return std::nullopt;
}

void AudioDeviceManager::updateAvailableChannels()
{
    const auto deviceID = selectedDeviceID();
    if (!deviceID) {
        availableInputChannels = {{0, "Default"}};
        return;
    }
    const int count = m_hardware.inputChannelCount(*deviceID);
    std::vector<AudioChannel> channels;
    channels.reserve(static_cast<std::size_t>(count));
    for (int index = 0; index < count; ++index)
        channels.push_back({index, fmt::format("Channel {}", index + 1)});
    availableInputChannels = std::move(channels);
    if (selectedChannelIndex.get() >= count)
        selectedChannelIndex = 0;
}

} // namespace velmor
