// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace velmor {

/// One channel of a sound file of any format that libsndfile reads, in constant memory.
class SoundFile
{
public:
    /// \param path "-" is no special name. \throws MeterError when it can't be opened as a sound file.
    explicit SoundFile(const std::string& path);
    ~SoundFile();
    SoundFile(const SoundFile&) = delete;
    SoundFile& operator=(const SoundFile&) = delete;

    int sampleRate() const { return m_sampleRate; }
    int channelCount() const { return m_channelCount; }

    /// As the header tells; absent where it doesn't, as in a stream. What can be read may be less.
    std::optional<std::int64_t> frameCount() const { return m_frameCount; }

    /// Reads the next samples of one channel (from 0) and returns how many there were, fewer than
    /// asked only at the end. Samples that are no usable numbers become 0 and are counted.
    /// \throws MeterError when the file can't be read on.
    std::size_t read(int channel, std::span<float> samples);

    std::uint64_t unusableSamples() const { return m_unusableSamples; }

private:
    struct Handle;
    std::string m_path;
    std::unique_ptr<Handle> m_handle;
    int m_sampleRate = 0;
    int m_channelCount = 0;
    std::optional<std::int64_t> m_frameCount;
    std::uint64_t m_unusableSamples = 0;
    std::vector<float> m_interleaved;
};

/// A whole WAV file of interleaved 32-bit floats. \throws MeterError when it can't be made.
std::string waveFile(std::span<const float> samples, int channelCount, int sampleRate);

} // namespace velmor
