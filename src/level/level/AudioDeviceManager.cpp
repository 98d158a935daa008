// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/AudioDeviceManager.h>

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace velmor {

namespace {

constexpr std::string_view channelKey = "selectedChannelIndex";

int storedChannel(const DefaultsStore& defaults)
{
    const std::int64_t stored = defaults.get<std::int64_t>(channelKey).value_or(0);
    return std::in_range<int>(stored) ? static_cast<int>(stored) : 0;
}

} // namespace

AudioDeviceManager::AudioDeviceManager(MainLoop& loop, AudioHardware& hardware, DefaultsStore& defaults)
    : m_hardware(hardware)
    , m_channelPersistence(selectedChannelIndex.subscribe(
          [&defaults](int index) { defaults.set(channelKey, std::int64_t(index)); }))
{
    refreshDevices();
    m_hardwareChanges = m_hardware.onChange([this, &loop] {
        // Not in the middle of what the host is telling.
        loop.post(m_lifetime.guarded([this] { refreshDevices(); }));
    });
    selectedChannelIndex = storedChannel(defaults);
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
    auto channels = inputChannels(*deviceID);
    const int count = static_cast<int>(channels.size());
    availableInputChannels = std::move(channels);
    if (selectedChannelIndex.get() >= count)
        selectedChannelIndex = 0;
}

std::vector<AudioChannel> AudioDeviceManager::inputChannels(std::uint32_t deviceID) const
{
    std::vector<AudioChannel> channels;
    const int count = m_hardware.inputChannelCount(deviceID);
    for (int index = 0; index < count; ++index) {
        auto name = m_hardware.inputChannelName(deviceID, index);
        channels.push_back({index, name ? *std::move(name) : fmt::format("Channel {}", index + 1)});
    }
    return channels;
}

} // namespace velmor
