// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/AudioPlayback.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velmor::test {

/// What a fake output is to answer, and what it was asked.
struct FakePlaybackEngine final : PlaybackEngine
{
    bool canPlayFormat = true;
    std::optional<std::string> startError;

    std::vector<std::string> calls;
    PlaybackFormat format;
    Render render;
    std::optional<std::uint32_t> deviceID;
    std::function<void()> observer;
    bool isStarted = false;

    bool connect(PlaybackFormat theFormat, Render theRender) override
    {
        calls.emplace_back("connect");
        format = theFormat;
        render = std::move(theRender);
        return canPlayFormat;
    }
    Status setOutputDevice(std::uint32_t id) override
    {
        calls.emplace_back("setOutputDevice");
        deviceID = id;
        return 0;
    }
    std::optional<std::string> start() override
    {
        calls.emplace_back("start");
        isStarted = !startError;
        return startError;
    }
    void stop() override
    {
        calls.emplace_back("stop");
        isStarted = false;
    }
    void setConfigurationChangeObserver(std::function<void()> theObserver) override
    {
        observer = std::move(theObserver);
    }

    /// What the next frames of each channel are.
    std::vector<std::vector<float>> rendered(std::size_t frames, std::size_t channelCount = 2) const
    {
        std::vector<std::vector<float>> channels(channelCount, std::vector<float>(frames));
        std::vector<float*> pointers;
        for (auto& channel : channels)
            pointers.push_back(channel.data());
        render(pointers, frames);
        return channels;
    }

    /// The host says that something about the running engine has changed.
    void changeConfiguration() const
    {
        const auto callback = observer;
        if (callback)
            callback();
    }
};

/// An output that plays what it is given, as far as its owner doesn't say otherwise.
struct FakePlayback final : AudioPlayback
{
    std::function<void(FakePlaybackEngine&)> prepareEngine;
    std::vector<std::shared_ptr<FakePlaybackEngine>> engines;

    std::shared_ptr<PlaybackEngine> makeEngine() override
    {
        engines.push_back(std::make_shared<FakePlaybackEngine>());
        if (prepareEngine)
            prepareEngine(*engines.back());
        return engines.back();
    }

    FakePlaybackEngine& engine() const { return *engines.back(); }
};

} // namespace velmor::test
