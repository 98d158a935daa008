// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/VirtualMainLoop.h>
#include <level/AudioMeasurementService.h>
#include <platform/MemoryDefaultsStore.h>
#include <support/FakeAudio.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace velmor::test {

/// A measurement on a fake machine's "mic". What is printed is taken.
class AudioMeasurement : public testing::Test
{
protected:
    AudioMeasurement()
    {
        testing::internal::CaptureStdout();
        manager = std::make_unique<AudioDeviceManager>(loop, audio, defaults);
        manager->selectDevice("mic");
        service = std::make_unique<AudioMeasurementService>(loop, audio, *manager, 94);
        service->onDeviceDisconnected = [this] { ++disconnections; };
    }
    ~AudioMeasurement() override { testing::internal::GetCapturedStdout(); }

    /// Everything printed since the last look.
    std::string lines()
    {
        std::string text = testing::internal::GetCapturedStdout();
        testing::internal::CaptureStdout();
        return text;
    }

    void deliver(const std::vector<float>& block)
    {
        audio.engine().deliver(block);
        loop.runPosted();
    }

    FakeAudio audio;
    VirtualMainLoop loop{dateFromIsoText("2026-03-02T09:00:00Z").value()};
    MemoryDefaultsStore defaults;
    std::unique_ptr<AudioDeviceManager> manager;
    std::unique_ptr<AudioMeasurementService> service;
    int disconnections = 0;
};

} // namespace velmor::test
