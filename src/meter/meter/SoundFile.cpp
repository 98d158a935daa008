// SPDX-License-Identifier: GPL-3.0-or-later
#include <meter/SoundFile.h>

#include <base/UsableSamples.h>
#include <meter/MeterError.h>

#include <fmt/format.h>
#include <sndfile.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace velmor {

namespace {

/// Frames that are taken from libsndfile at a time.
constexpr std::size_t chunkFrames = 1024;

/// Keeps standard error shut while it lives: the decoder of MPEG files writes its own lines there.
class QuietStandardError
{
public:
    QuietStandardError()
        : m_kept(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0))
    {
        std::fflush(stderr);
        const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (nowhere >= 0) {
            ::dup2(nowhere, STDERR_FILENO);
            ::close(nowhere);
        }
    }
    ~QuietStandardError()
    {
        if (m_kept >= 0) {
            ::dup2(m_kept, STDERR_FILENO);
            ::close(m_kept);
        }
    }
    QuietStandardError(const QuietStandardError&) = delete;
    QuietStandardError& operator=(const QuietStandardError&) = delete;

private:
    int m_kept;
};

struct CloseFile
{
    void operator()(SNDFILE* file) const { ::sf_close(file); }
};

} // namespace

struct SoundFile::Handle
{
    std::unique_ptr<SNDFILE, CloseFile> file;
    bool isMpeg = false;
};

SoundFile::SoundFile(const std::string& path)
    : m_path(path)
    , m_handle(std::make_unique<Handle>())
{
    // libsndfile's own words for these are "System error".
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        throw MeterError(fmt::format("{}: is a folder", path));
    if (::access(path.c_str(), R_OK) != 0)
        throw MeterError(fmt::format("{}: {}", path, std::generic_category().message(errno)));

    SF_INFO info = {};
    {
        const QuietStandardError quiet;
        m_handle->file.reset(::sf_open(path.c_str(), SFM_READ, &info));
    }
    m_handle->isMpeg = (info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG;
    if (!m_handle->file)
        throw MeterError(
            fmt::format("{}: not a sound file that can be read ({})", path, ::sf_strerror(nullptr)));
    if (info.channels < 1 || info.samplerate < 1)
        throw MeterError(fmt::format("{}: the header tells of no channels or no sample rate", path));
    m_sampleRate = info.samplerate;
    m_channelCount = info.channels;
    if (info.frames >= 0 && info.frames < SF_COUNT_MAX)
        m_frameCount = info.frames;
    if (m_channelCount > 1)
        m_interleaved.resize(chunkFrames * static_cast<std::size_t>(m_channelCount));
}

SoundFile::~SoundFile() = default;

std::size_t SoundFile::read(int channel, std::span<float> samples)
{
    std::optional<QuietStandardError> quiet;
    if (m_handle->isMpeg)
        quiet.emplace();
    SNDFILE* const file = m_handle->file.get();
    std::size_t filled = 0;
    while (filled < samples.size()) {
        const std::span<float> rest = samples.subspan(filled);
        std::size_t taken = 0;
        if (m_channelCount == 1) {
            const auto read = ::sf_readf_float(file, rest.data(), static_cast<sf_count_t>(rest.size()));
            taken = static_cast<std::size_t>(std::max<sf_count_t>(read, 0));
        } else {
            const std::size_t wanted = std::min(rest.size(), chunkFrames);
            const auto read = ::sf_readf_float(file, m_interleaved.data(), static_cast<sf_count_t>(wanted));
            taken = static_cast<std::size_t>(std::max<sf_count_t>(read, 0));
            const auto stride = static_cast<std::size_t>(m_channelCount);
            for (std::size_t frame = 0; frame < taken; ++frame)
                rest[frame] = m_interleaved[frame * stride + static_cast<std::size_t>(channel)];
        }
        if (taken == 0) {
            if (::sf_error(file) != SF_ERR_NO_ERROR)
                throw MeterError(
                    fmt::format("{}: can't be read to the end ({})", m_path, ::sf_strerror(file)));
            break;
        }
        filled += taken;
    }
    m_unusableSamples += silenceUnusableSamples(samples.first(filled));
    return filled;
}

namespace {

/// A file in memory, for the library to write.
struct MemoryFile
{
    std::string bytes;
    std::size_t position = 0;
};

SF_VIRTUAL_IO memoryFileOperations()
{
    SF_VIRTUAL_IO operations = {};
    operations.get_filelen = [](void* file) {
        return static_cast<sf_count_t>(static_cast<MemoryFile*>(file)->bytes.size());
    };
    operations.tell = [](void* file) {
        return static_cast<sf_count_t>(static_cast<MemoryFile*>(file)->position);
    };
    operations.seek = [](sf_count_t offset, int whence, void* user) -> sf_count_t {
        auto& file = *static_cast<MemoryFile*>(user);
        const auto from = whence == SEEK_SET   ? 0
                          : whence == SEEK_CUR ? static_cast<sf_count_t>(file.position)
                                               : static_cast<sf_count_t>(file.bytes.size());
        if (from + offset < 0)
            return -1;
        file.position = static_cast<std::size_t>(from + offset);
        return from + offset;
    };
    operations.write = [](const void* data, sf_count_t count, void* user) {
        auto& file = *static_cast<MemoryFile*>(user);
        const std::size_t end = file.position + static_cast<std::size_t>(count);
        try {
            if (file.bytes.size() < end)
                file.bytes.resize(end);
        } catch (const std::bad_alloc&) {
            return sf_count_t(0);
        }
        std::memcpy(file.bytes.data() + file.position, data, static_cast<std::size_t>(count));
        file.position = end;
        return count;
    };
    // Asked of a file that is written, too.
    operations.read = [](void*, sf_count_t, void*) { return sf_count_t(0); };
    return operations;
}

} // namespace

std::string waveFile(std::span<const float> samples, int channelCount, int sampleRate)
{
    MemoryFile file;
    SF_VIRTUAL_IO operations = memoryFileOperations();
    SF_INFO info = {};
    info.samplerate = sampleRate;
    info.channels = channelCount;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    std::unique_ptr<SNDFILE, CloseFile> writer(::sf_open_virtual(&operations, SFM_WRITE, &info, &file));
    const auto count = static_cast<sf_count_t>(samples.size());
    if (!writer)
        throw MeterError(fmt::format("no sound file can be made ({})", ::sf_strerror(nullptr)));
    // A chunk of the peaks would carry the time of writing.
    ::sf_command(writer.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    if (::sf_write_float(writer.get(), samples.data(), count) != count)
        throw MeterError(fmt::format("no sound file can be made ({})", ::sf_strerror(writer.get())));
    writer.reset();
    return std::move(file.bytes);
}

} // namespace velmor
