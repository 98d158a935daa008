// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <calibration/PinkNoiseGenerator.h>
#include <support/CapturedOutput.h>
#include <support/HubHost.h>
#include <support/Sound.h>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace velmor::test {

/// A hub on a fake machine, whose microphone hears what the test delivers.
class CalibrationHub : public testing::Test
{
protected:
    CalibrationHub() { restart(); }

    void restart()
    {
        hub.reset();
        hub = std::make_unique<AppState>(host.host());
        host.loop.runPosted();
    }

    void hear(const std::vector<float>& block)
    {
        host.audio.engine().deliver(block);
        host.loop.runPosted();
    }

    void hearNoise(int blocks)
    {
        for (int i = 0; i < blocks; ++i) {
            std::vector<float> block(1024);
            for (float& sample : block)
                sample = 0.25F * noise.next();
            hear(block);
        }
    }

    void hearTone(double seconds, double amplitude)
    {
        for (std::size_t i = 0; i < static_cast<std::size_t>(seconds * 48000 / 1024); ++i)
            hear(sine(1000, amplitude, 48000, 1024, i * 1024));
    }

    void measure()
    {
        hub->measureMicResponse();
        host.loop.runFor(1);
        hearNoise(201);
        for (int i = 0; i < 500 && hub->micResponseService.isInProgress(); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            host.loop.runPosted();
        }
    }

    MicCalibrationState micState() const { return hub->micResponseService.state.get(); }
    const CalibrationTrust& trust() const { return hub->calibrationTrust.trust.get(); }

    const QuietLines quietLines;
    HubHost host;
    PinkNoiseGenerator noise;
    std::unique_ptr<AppState> hub;
    const MicCorrectionProfile halving{{0.5F}, 48000, {}, {{1000, -6.0206F}}};
};

} // namespace velmor::test
