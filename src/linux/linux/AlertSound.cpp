// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/AlertSound.h>

#include <linux/PipeWireStream.h>

#include <sndfile.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace velmor {

namespace {

/// What is longer is no alert; the rest of it is not played.
constexpr int longestSeconds = 5;

void limit(std::span<float> samples, float highest)
{
    float peak = 0;
    for (float& sample : samples) {
        if (!std::isfinite(sample))
            sample = 0;
        peak = std::max(peak, std::abs(sample));
    }
    const float gain = peak > highest ? highest / peak : 1.0F;
    for (float& sample : samples)
        sample = std::clamp(sample * gain, -highest, highest);
}

std::optional<ThemeSound> readSound(const std::filesystem::path& file, float peak)
{
    SF_INFO info = {};
    SNDFILE* sound = ::sf_open(file.c_str(), SFM_READ, &info);
    if (!sound)
        return std::nullopt;
    ThemeSound result;
    result.sampleRate = info.samplerate;
    result.channelCount = info.channels;
    if (info.samplerate > 0 && info.channels > 0 && info.channels <= 2) {
        const sf_count_t frames = std::min<sf_count_t>(std::max<sf_count_t>(info.frames, 0),
                                                       sf_count_t(longestSeconds) * info.samplerate);
        result.samples.resize(static_cast<std::size_t>(frames * info.channels));
        const sf_count_t read = ::sf_readf_float(sound, result.samples.data(), frames);
        result.samples.resize(static_cast<std::size_t>(std::max<sf_count_t>(read, 0) * info.channels));
    }
    ::sf_close(sound);
    limit(result.samples, peak);
    return result.samples.empty() ? std::nullopt : std::optional(std::move(result));
}

} // namespace

float alertSoundPeak(NotificationSound kind)
{
    return kind == NotificationSound::critical ? 0.05F : 0.025F;
}

std::optional<ThemeSound> readThemeSound(const std::vector<std::filesystem::path>& dataFolders,
                                         const std::string& name, float peak)
{
    for (const auto& folder : dataFolders) {
        for (const char* extension : {".oga", ".ogg", ".wav"}) {
            if (auto sound = readSound(folder / "sounds/freedesktop/stereo" / (name + extension), peak))
                return sound;
        }
    }
    return std::nullopt;
}

class AlertSound::Playback
{
public:
    Playback(PipeWireGraph& graph, ThemeSound sound, std::unique_ptr<Doorbell> endBell)
        : m_graph(graph)
        , m_sound(std::move(sound))
        , m_endBell(std::move(endBell))
    {
        const PipeWireLock lock(m_graph.threadLoop());
        if (!m_graph.core())
            return;
        pw_properties* properties = pw_properties_new(
            PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback", PW_KEY_MEDIA_ROLE, "Notification",
            PW_KEY_NODE_NAME, "velmor-alert", PW_KEY_NODE_DESCRIPTION, "Velmor", nullptr);
        m_stream = pw_stream_new(m_graph.core(), "Alert sound", properties);
        if (!m_stream)
            return;
        pw_stream_add_listener(m_stream, &m_listener, &streamEvents, this);
        spa_audio_info_raw format = {};
        format.format = SPA_AUDIO_FORMAT_F32;
        format.rate = static_cast<std::uint32_t>(m_sound.sampleRate);
        format.channels = static_cast<std::uint32_t>(m_sound.channelCount);
        format.position[0] = m_sound.channelCount == 1 ? SPA_AUDIO_CHANNEL_MONO : SPA_AUDIO_CHANNEL_FL;
        format.position[1] = SPA_AUDIO_CHANNEL_FR;
        const int result = connectStream(m_stream, PW_DIRECTION_OUTPUT, format);
        if (result < 0)
            m_endBell->ring();
    }

    ~Playback()
    {
        const PipeWireLock lock(m_graph.threadLoop());
        if (!m_stream)
            return;
        // Ends the data thread's work on the stream before it returns. The listener stays until then.
        pw_stream_destroy(m_stream);
    }

    Playback(const Playback&) = delete;
    Playback& operator=(const Playback&) = delete;

    bool isStarted() const { return m_stream != nullptr; }

private:
    static const pw_stream_events streamEvents;

    /// PipeWire's data thread.
    void process()
    {
        pw_buffer* buffer = pw_stream_dequeue_buffer(m_stream);
        if (!buffer)
            return;
        spa_data& plane = buffer->buffer->datas[0];
        const auto channels = static_cast<std::size_t>(m_sound.channelCount);
        const std::size_t frameSize = channels * sizeof(float);
        std::size_t frames = plane.data ? plane.maxsize / frameSize : 0;
        if (buffer->requested != 0)
            frames = std::min<std::size_t>(frames, buffer->requested);
        const std::size_t left = (m_sound.samples.size() - m_position) / channels;
        frames = std::min(frames, left);
        if (plane.data)
            std::copy_n(m_sound.samples.data() + m_position, frames * channels,
                        static_cast<float*>(plane.data));
        m_position += frames * channels;
        plane.chunk->offset = 0;
        plane.chunk->stride = static_cast<std::int32_t>(frameSize);
        plane.chunk->size = static_cast<std::uint32_t>(frames * frameSize);
        pw_stream_queue_buffer(m_stream, buffer);
        if (frames == left && !std::exchange(m_isDraining, true))
            pw_stream_flush(m_stream, true);
    }

    PipeWireGraph& m_graph;
    const ThemeSound m_sound;
    std::unique_ptr<Doorbell> m_endBell; ///< Of its own: a ring for one that has been replaced is lost.
    pw_stream* m_stream = nullptr;
    spa_hook m_listener = {};
    std::size_t m_position = 0; ///< PipeWire's data thread.
    bool m_isDraining = false;  ///< PipeWire's data thread.
};

const pw_stream_events AlertSound::Playback::streamEvents = {
    .version = PW_VERSION_STREAM_EVENTS,
    .state_changed =
        [](void* self, pw_stream_state, pw_stream_state state, const char*) {
            if (state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED)
                static_cast<Playback*>(self)->m_endBell->ring();
        },
    .process = [](void* self) { static_cast<Playback*>(self)->process(); },
    .drained = [](void* self) { static_cast<Playback*>(self)->m_endBell->ring(); },
};

AlertSound::AlertSound(MainLoop& loop, PipeWireGraph& graph, std::vector<std::filesystem::path> dataFolders)
    : m_loop(loop)
    , m_graph(graph)
    , m_dataFolders(std::move(dataFolders))
    , m_graphChanges(graph.onChange([this] {
        if (!m_graph.isConnected())
            m_playback.reset();
    }))
{}

AlertSound::~AlertSound() = default;

void AlertSound::play(const std::string& name, NotificationSound kind)
{
    if (!m_graph.isConnected() || (m_playback && kind != NotificationSound::critical))
        return;
    m_playback.reset();
    auto sound = readThemeSound(m_dataFolders, name, alertSoundPeak(kind));
    if (!sound)
        return;
    // Where no output takes it, the stream would wait for one and play much later.
    const double seconds =
        static_cast<double>(sound->samples.size()) / (sound->sampleRate * sound->channelCount);
    m_playback = std::make_unique<Playback>(m_graph, *std::move(sound),
                                            m_loop.doorbell([this] { m_playback.reset(); }));
    if (!m_playback->isStarted()) {
        m_playback.reset();
        return;
    }
    m_limit = m_loop.every(seconds + 2, [this] {
        m_playback.reset();
        m_limit.reset();
    });
}

} // namespace velmor
