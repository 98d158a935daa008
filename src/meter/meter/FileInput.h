// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <meter/SoundFile.h>
#include <platform/AudioCapture.h>
#include <platform/AudioHardware.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace velmor {

/// A sound file as the one input device of a machine. Its capture engine delivers a block whenever
/// deliverBlock() is called, on the calling thread.
class FileInput final : public AudioHardware, public AudioCapture
{
public:
    explicit FileInput(SoundFile& file);

    /// The device's `uid`.
    static constexpr auto uid = "file";

    std::vector<AudioDevice> inputDevices() const override;
    std::vector<AudioDevice> outputDevices() const override { return {}; }
    int inputChannelCount(std::uint32_t deviceID) const override;
    std::optional<std::string> inputChannelName(std::uint32_t, int) const override { return std::nullopt; }
    std::optional<std::uint32_t> defaultInputDevice() const override { return std::nullopt; }
    std::optional<InputVolume> inputVolume(std::uint32_t, int) const override { return std::nullopt; }
    Subscription onChange(const std::function<void()>&) override { return {}; }

    CaptureAuthorization authorizationStatus() const override { return CaptureAuthorization::authorized; }
    void requestAccess(std::function<void(bool granted)> answer) override { answer(true); }
    std::shared_ptr<CaptureEngine> makeEngine() override;

    /// Reads the next block, for deliverBlock(). \return its frames; 0 at the file's end or while
    /// capture is off.
    std::size_t readBlock();

    /// Gives the block to the running engine's tap.
    void deliverBlock();

private:
    class Engine;

    /// The engine's view of the machine: where its blocks go.
    struct Run
    {
        bool isRunning = false;
        int channel = 0;
        std::size_t blockFrames = 0;
        CaptureEngine::Tap tap;
    };

    SoundFile& m_file;
    Run m_run;
    std::vector<float> m_chunk; ///< Several blocks, read at once.
    std::span<const float> m_unread;
    std::span<const float> m_block;
};

} // namespace velmor
