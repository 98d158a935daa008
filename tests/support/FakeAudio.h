// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/AudioCapture.h>
#include <platform/AudioHardware.h>

#include <boost/signals2/signal.hpp>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace velmor::test {

/// What a fake engine is to answer, and what it was asked.
struct FakeEngine final : CaptureEngine
{
    CaptureFormat format{48000, 2};
    Status inputDeviceStatus = 0;
    Status channelMapStatus = 0;
    std::vector<std::optional<std::string>> startErrors; ///< For the next starts, then success.

    std::vector<std::string> calls;
    std::vector<std::int32_t> channelMap;
    std::optional<std::uint32_t> deviceID;
    CaptureFormat tapFormat;
    std::size_t tapFrames = 0;
    Tap tap;
    std::function<void()> observer;
    bool isStarted = false;

    Status setInputDevice(std::uint32_t id) override
    {
        calls.push_back("setInputDevice");
        deviceID = id;
        return inputDeviceStatus;
    }
    Status setChannelMap(std::span<const std::int32_t> map) override
    {
        calls.push_back("setChannelMap");
        channelMap.assign(map.begin(), map.end());
        return channelMapStatus;
    }
    CaptureFormat inputFormat() const override { return format; }
    void installTap(std::size_t frames, CaptureFormat theFormat, Tap theTap) override
    {
        calls.push_back("installTap");
        tapFrames = frames;
        tapFormat = theFormat;
        tap = std::move(theTap);
    }
    void removeTap() override
    {
        calls.push_back("removeTap");
        tap = nullptr;
    }
    std::optional<std::string> start() override
    {
        calls.push_back("start");
        std::optional<std::string> error;
        if (!startErrors.empty()) {
            error = startErrors.front();
            startErrors.erase(startErrors.begin());
        }
        isStarted = !error;
        return error;
    }
    void stop() override
    {
        calls.push_back("stop");
        isStarted = false;
    }
    void setConfigurationChangeObserver(std::function<void()> theObserver) override
    {
        observer = std::move(theObserver);
    }
    std::uint64_t lostSamples() const override { return 0; }
    std::uint64_t unusableSamples() const override { return 0; }

    /// A block from the capture thread.
    void deliver(std::span<const float> block) const
    {
        if (isStarted && tap)
            tap(block.data(), block.size());
    }

    /// The host says that something about the running engine has changed.
    void changeConfiguration() const
    {
        const auto callback = observer;
        if (callback)
            callback();
    }
};

/// A machine with two microphones, as far as its owner doesn't say otherwise.
struct FakeAudio final : AudioHardware, AudioCapture
{
    std::vector<AudioDevice> inputs = {{11, "Measurement Mic", "Unknown", "mic", true},
                                       {12, "Interface", "Acme", "interface", true}};
    std::vector<AudioDevice> outputs = {{12, "Interface", "Acme", "interface", false}};
    std::map<std::uint32_t, int> channelCounts = {{11, 2}, {12, 8}};
    std::map<std::pair<std::uint32_t, int>, std::string> channelNames;
    std::map<std::pair<std::uint32_t, int>, InputVolume> volumes;
    boost::signals2::signal<void()> changed;
    CaptureAuthorization authorization = CaptureAuthorization::authorized;
    std::function<void(bool)> accessAnswer;
    std::function<void(FakeEngine&)> prepareEngine;
    std::vector<std::shared_ptr<FakeEngine>> engines;

    std::vector<AudioDevice> inputDevices() const override { return inputs; }
    std::vector<AudioDevice> outputDevices() const override { return outputs; }
    int inputChannelCount(std::uint32_t id) const override
    {
        const auto found = channelCounts.find(id);
        return found != channelCounts.end() ? found->second : 0;
    }
    std::optional<std::string> inputChannelName(std::uint32_t id, int channel) const override
    {
        const auto found = channelNames.find({id, channel});
        return found != channelNames.end() ? std::optional(found->second) : std::nullopt;
    }
    std::optional<std::uint32_t> defaultInputDevice() const override
    {
        return inputs.empty() ? std::nullopt : std::optional(inputs.front().id);
    }
    std::optional<InputVolume> inputVolume(std::uint32_t id, int channel) const override
    {
        const auto found = volumes.find({id, channel});
        return found != volumes.end() ? std::optional(found->second) : std::nullopt;
    }
    Subscription onChange(const std::function<void()>& callback) override
    {
        return changed.connect(callback);
    }
    CaptureAuthorization authorizationStatus() const override { return authorization; }
    void requestAccess(std::function<void(bool granted)> answer) override
    {
        accessAnswer = std::move(answer);
    }
    std::shared_ptr<CaptureEngine> makeEngine() override
    {
        engines.push_back(std::make_shared<FakeEngine>());
        if (prepareEngine)
            prepareEngine(*engines.back());
        return engines.back();
    }

    FakeEngine& engine() const { return *engines.back(); }

    void unplug(const std::string& uid)
    {
        std::erase_if(inputs, [&](const AudioDevice& device) { return device.uid == uid; });
    }
};

} // namespace velmor::test
