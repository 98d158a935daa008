// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/PipeWirePlayback.h>

#include <linux/PipeWireGraph.h>
#include <linux/PipeWireStream.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <span>
#include <string>
#include <utility>

namespace velmor {

namespace {

constexpr int mostChannels = 2;
constexpr std::uint32_t stereoPositions[mostChannels] = {SPA_AUDIO_CHANNEL_FL, SPA_AUDIO_CHANNEL_FR};

class PipeWirePlaybackEngine final : public PlaybackEngine
{
public:
    PipeWirePlaybackEngine(MainLoop& loop, PipeWireGraph& graph)
        : m_graph(graph)
        , m_failureBell(loop.doorbell([this] { configurationChanged(); }))
        , m_graphChanges(graph.onChange([this] { graphChanged(); }))
    {}

    ~PipeWirePlaybackEngine() override { stop(); }

    bool connect(PlaybackFormat format, Render render) override
    {
        if (!(format.sampleRate > 0) || format.channelCount < 1 || format.channelCount > mostChannels)
            return false;
        m_format = format;
        m_render = std::move(render);
        return true;
    }

    Status setOutputDevice(std::uint32_t deviceID) override
    {
        if (!m_graph.isConnected())
            return std::nullopt;
        const auto device = m_graph.sink(deviceID);
        if (!device)
            return -ENOENT;
        m_target = device->name;
        m_targetID = deviceID;
        return 0;
    }

    std::optional<std::string> start() override
    {
        stop();
        const auto device = output();
        if (!device)
            return "no such output";
        m_output = *device;
        m_graphRate = m_graph.sampleRate();

        const PipeWireLock lock(m_graph.threadLoop());
        if (!m_graph.core())
            return std::strerror(ECONNREFUSED);
        // The session manager neither moves the stream nor puts a volume on it that it remembers.
        m_stream = pw_stream_new(m_graph.core(), "Calibration noise",
                                 pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY,
                                                   "Playback", PW_KEY_NODE_NAME, "velmor-noise",
                                                   PW_KEY_NODE_DESCRIPTION, "Velmor", PW_KEY_TARGET_OBJECT,
                                                   m_output.name.c_str(), PW_KEY_NODE_DONT_RECONNECT, "true",
                                                   "state.restore-props", "false", nullptr));
        if (!m_stream)
            return std::strerror(errno);
        m_listener = {};
        pw_stream_add_listener(m_stream, &m_listener, &streamEvents, this);

        spa_audio_info_raw format = {};
        format.format = SPA_AUDIO_FORMAT_F32P;
        format.rate = static_cast<std::uint32_t>(m_format.sampleRate);
        format.channels = static_cast<std::uint32_t>(m_format.channelCount);
        if (m_format.channelCount == 1)
            format.position[0] = SPA_AUDIO_CHANNEL_MONO;
        else
            std::ranges::copy(stereoPositions, format.position);
        const int result = connectStream(m_stream, PW_DIRECTION_OUTPUT, format);
        if (result < 0) {
            m_stream.destroy();
            return std::strerror(-result);
        }
        m_isRunning = true;
        return std::nullopt;
    }

    void stop() override
    {
        m_isRunning = false;
        const PipeWireLock lock(m_graph.threadLoop());
        m_stream.destroy();
    }

    void setConfigurationChangeObserver(std::function<void()> observer) override
    {
        m_observer = std::move(observer);
    }

private:
    static const pw_stream_events streamEvents;

    /// The sink that is to be played on: the one that was set, or the system's default.
    std::optional<PipeWireGraph::Endpoint> output() const
    {
        if (m_target.empty())
            return m_graph.defaultSink();
        // PipeWire gives a number that has become free to another node.
        const auto sink = m_graph.sink(m_targetID);
        return sink && sink->name == m_target ? sink : std::nullopt;
    }

    /// PipeWire's data thread.
    void process()
    {
        pw_buffer* buffer = pw_stream_dequeue_buffer(m_stream);
        if (!buffer)
            return;
        const std::span<spa_data> planes(buffer->buffer->datas, buffer->buffer->n_datas);
        const auto channelCount = std::min(planes.size(), static_cast<std::size_t>(m_format.channelCount));
        std::array<float*, mostChannels> channels = {};
        std::size_t frames = SIZE_MAX;
        for (std::size_t channel = 0; channel < channelCount; ++channel) {
            channels[channel] = static_cast<float*>(planes[channel].data);
            frames = std::min<std::size_t>(frames, planes[channel].maxsize / sizeof(float));
        }
        if (buffer->requested != 0)
            frames = std::min<std::size_t>(frames, buffer->requested);
        if (channelCount == 0)
            frames = 0;
        m_render({channels.data(), channelCount}, frames);
        for (spa_data& plane : planes) {
            plane.chunk->offset = 0;
            plane.chunk->stride = sizeof(float);
            plane.chunk->size = static_cast<std::uint32_t>(frames * sizeof(float));
        }
        pw_stream_queue_buffer(m_stream, buffer);
    }

    /// The stream has failed, or somebody else has destroyed its node.
    void onState(pw_stream_state state)
    {
        if (!m_stream.isEnding() && (state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED))
            m_failureBell->ring();
    }

    void graphChanged()
    {
        if (!m_stream || (output() == m_output && m_graph.sampleRate() == m_graphRate))
            return;
        // Nothing may be left of a stream on a connection that is lost.
        if (!m_graph.isConnected()) {
            const PipeWireLock lock(m_graph.threadLoop());
            m_stream.destroy();
        }
        configurationChanged();
    }

    void configurationChanged()
    {
        if (!m_isRunning || !m_observer)
            return;
        // The observer may let go of the engine, and so of the function.
        const auto observer = m_observer;
        observer();
    }

    PipeWireGraph& m_graph;
    PlaybackFormat m_format;
    Render m_render;      ///< PipeWire's data thread, while there is a stream.
    std::string m_target; ///< Name of the node that was set; empty for the default sink.
    std::uint32_t m_targetID = 0;
    PipeWireGraph::Endpoint m_output; ///< What start() found, as the rate below.
    std::uint32_t m_graphRate = 0;
    std::function<void()> m_observer;
    PipeWireStream m_stream;
    spa_hook m_listener = {};
    bool m_isRunning = false; ///< Has been started, and nobody has asked it to stop.
    std::unique_ptr<Doorbell> m_failureBell;
    Subscription m_graphChanges;
};

const pw_stream_events PipeWirePlaybackEngine::streamEvents = {
    .version = PW_VERSION_STREAM_EVENTS,
    .state_changed = [](void* self, pw_stream_state, pw_stream_state state,
                        const char*) { static_cast<PipeWirePlaybackEngine*>(self)->onState(state); },
    .control_info =
        [](void* self, std::uint32_t id, const pw_stream_control* control) {
            keepNeutral(static_cast<PipeWirePlaybackEngine*>(self)->m_stream, id, control);
        },
    .process = [](void* self) { static_cast<PipeWirePlaybackEngine*>(self)->process(); },
};

} // namespace

std::shared_ptr<PlaybackEngine> PipeWirePlayback::makeEngine()
{
    return std::make_shared<PipeWirePlaybackEngine>(m_loop, m_graph);
}

} // namespace velmor
