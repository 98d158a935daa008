// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sndfile.h>

#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmor::test {

/// Writes channels of equal length as a sound file of the format (SF_FORMAT_…).
inline void writeSound(const std::string& file, const std::vector<std::vector<float>>& channels,
                       int sampleRate, int format = SF_FORMAT_WAV | SF_FORMAT_FLOAT)
{
    SF_INFO info = {};
    info.samplerate = sampleRate;
    info.channels = static_cast<int>(channels.size());
    info.format = format;
    SNDFILE* sound = ::sf_open(file.c_str(), SFM_WRITE, &info);
    if (!sound)
        throw std::runtime_error(::sf_strerror(nullptr));
    const std::size_t frames = channels.front().size();
    std::vector<float> interleaved(frames * channels.size());
    for (std::size_t frame = 0; frame < frames; ++frame) {
        for (std::size_t channel = 0; channel < channels.size(); ++channel)
            interleaved[frame * channels.size() + channel] = channels[channel][frame];
    }
    ::sf_writef_float(sound, interleaved.data(), static_cast<sf_count_t>(frames));
    ::sf_close(sound);
}

} // namespace velmor::test
