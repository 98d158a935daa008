// SPDX-License-Identifier: GPL-3.0-or-later
#include <meter/FileInput.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace velmor {

namespace {

constexpr std::uint32_t fileDeviceID = 1;
constexpr std::size_t blocksPerChunk = 8;

} // namespace

class FileInput::Engine final : public CaptureEngine
{
public:
    explicit Engine(FileInput& input)
        : m_input(input)
    {}

    Status setInputDevice(std::uint32_t deviceID) override { return deviceID == fileDeviceID ? 0 : -ENOENT; }

    Status setChannelMap(std::span<const std::int32_t> deviceChannels) override
    {
        const int channel = deviceChannels.empty() ? 0 : deviceChannels.front();
        if (channel < 0 || channel >= m_input.m_file.channelCount())
            return -EINVAL;
        m_input.m_run.channel = channel;
        return 0;
    }

    CaptureFormat inputFormat() const override
    {
        return {static_cast<double>(m_input.m_file.sampleRate()), m_input.m_file.channelCount()};
    }

    void installTap(std::size_t frames, CaptureFormat, Tap tap) override
    {
        m_input.m_run.blockFrames = frames;
        m_input.m_run.tap = std::move(tap);
    }

    void removeTap() override { m_input.m_run.tap = nullptr; }

    std::optional<std::string> start() override
    {
        m_input.m_run.isRunning = true;
        return std::nullopt;
    }

    void stop() override { m_input.m_run.isRunning = false; }

    // A file neither changes nor loses anything.
    void setConfigurationChangeObserver(std::function<void()>) override {}
    std::uint64_t lostSamples() const override { return 0; }
    std::uint64_t unusableSamples() const override { return m_input.m_file.unusableSamples(); }

private:
    FileInput& m_input;
};

FileInput::FileInput(SoundFile& file)
    : m_file(file)
{}

std::vector<AudioDevice> FileInput::inputDevices() const
{
    return {{fileDeviceID, "Sound file", "Unknown", uid, true}};
}

int FileInput::inputChannelCount(std::uint32_t deviceID) const
{
    return deviceID == fileDeviceID ? m_file.channelCount() : 0;
}

std::shared_ptr<CaptureEngine> FileInput::makeEngine()
{
    return std::make_shared<Engine>(*this);
}

std::size_t FileInput::readBlock()
{
    m_block = {};
    if (!m_run.isRunning || !m_run.tap)
        return 0;
    if (m_unread.empty()) {
        m_chunk.resize(blocksPerChunk * m_run.blockFrames);
        m_unread = std::span(m_chunk).first(m_file.read(m_run.channel, m_chunk));
    }
    m_block = m_unread.first(std::min(m_unread.size(), m_run.blockFrames));
    m_unread = m_unread.subspan(m_block.size());
    return m_block.size();
}

void FileInput::deliverBlock()
{
    if (m_run.tap && !m_block.empty())
        m_run.tap(m_block.data(), m_block.size());
}

} // namespace velmor
