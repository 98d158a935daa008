// SPDX-License-Identifier: GPL-3.0-or-later
// The sound file reader on hostile files: it refuses them or reads finite samples to an end.
//
// The first byte of the input chooses: 0 takes the rest as the file; any other takes a sound file of
// some format and changes single bytes of it, mostly of its header, which random bytes alone would
// hardly ever get right.
#include <meter/MeterError.h>
#include <meter/SoundFile.h>

#include <fmt/format.h>
#include <sndfile.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace {

using Bytes = std::vector<std::uint8_t>;

int newMemoryFile()
{
    const int memory = ::memfd_create("sound", MFD_CLOEXEC);
    if (memory < 0)
        std::abort();
    return memory;
}

/// A sound of 300 frames in two channels.
Bytes soundOfFormat(int format)
{
    const int memory = newMemoryFile();
    SF_INFO info = {};
    info.samplerate = 48000;
    info.channels = 2;
    info.format = format;
    SNDFILE* file = ::sf_open_fd(memory, SFM_WRITE, &info, SF_FALSE);
    if (!file)
        std::abort();
    std::vector<float> samples(600);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = 0.5F * std::sin(static_cast<float>(i) / 7);
    ::sf_writef_float(file, samples.data(), 300);
    ::sf_close(file);
    Bytes bytes(static_cast<std::size_t>(::lseek(memory, 0, SEEK_END)));
    if (::pread(memory, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        std::abort();
    ::close(memory);
    return bytes;
}

const std::vector<Bytes>& sounds()
{
    static const std::vector<Bytes> all = [] {
        std::vector<Bytes> made;
        for (const int format : {SF_FORMAT_WAV | SF_FORMAT_PCM_16, SF_FORMAT_WAV | SF_FORMAT_FLOAT,
                                 SF_FORMAT_WAV | SF_FORMAT_IMA_ADPCM, SF_FORMAT_WAVEX | SF_FORMAT_DOUBLE,
                                 SF_FORMAT_RF64 | SF_FORMAT_PCM_24, SF_FORMAT_AIFF | SF_FORMAT_FLOAT,
                                 SF_FORMAT_FLAC | SF_FORMAT_PCM_24, SF_FORMAT_OGG | SF_FORMAT_VORBIS,
                                 SF_FORMAT_AU | SF_FORMAT_PCM_32, SF_FORMAT_CAF | SF_FORMAT_ALAC_16,
                                 SF_FORMAT_W64 | SF_FORMAT_PCM_16})
            made.push_back(soundOfFormat(format));
        return made;
    }();
    return all;
}

Bytes fileFrom(std::span<const std::uint8_t> input)
{
    if (input.empty())
        return {};
    const std::uint8_t choice = input.front();
    input = input.subspan(1);
    if (choice == 0)
        return Bytes(input.begin(), input.end());
    Bytes bytes = sounds()[choice % sounds().size()];
    // Two bytes of place, one of content; a place beyond the file cuts it there.
    for (; input.size() >= 3; input = input.subspan(3)) {
        const std::size_t place = (std::size_t(input[0]) << 8) | input[1];
        if (place < bytes.size())
            bytes[place] = input[2];
        else
            bytes.resize(bytes.size() - (place % (bytes.size() + 1)));
    }
    return bytes;
}

} // namespace

/// libsndfile lets go of a file that it refuses without all of its decoder's memory, as with an Ogg
/// file of 100 bytes. The meter opens one file and ends: what these libraries keep is not ours.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libsndfile.so\nleak:libvorbis.so\nleak:libvorbisenc.so\nleak:libFLAC.so\nleak:libmpg123.so\n"
           "leak:libogg.so\nleak:libopus.so\n";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Bytes bytes = fileFrom({data, size});
    static const int memory = newMemoryFile();
    if (::ftruncate(memory, 0) != 0 ||
        ::pwrite(memory, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        std::abort();

    try {
        velmor::SoundFile file(fmt::format("/proc/self/fd/{}", memory));
        std::vector<float> samples(8192);
        // A header may promise more than any disk holds; a compressed file may really have much.
        for (int chunk = 0; chunk < 64; ++chunk) {
            const std::size_t count = file.read(file.channelCount() - 1, samples);
            for (std::size_t i = 0; i < count; ++i) {
                if (!std::isfinite(samples[i]))
                    std::abort();
            }
            if (count < samples.size())
                break;
        }
    } catch (const velmor::MeterError&) {
        // What is no sound file is refused.
    }
    return 0;
}
