// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/PipeWireCapture.h>

#include <linux/CaptureThread.h>
#include <linux/PipeWireGraph.h>

#include <fmt/format.h>

#include <pipewire/pipewire.h>
#include <spa/debug/types.h>
#include <spa/param/audio/format-utils.h>
#include <spa/param/audio/type-info.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <string_view>

namespace velmor {

namespace {

/// Below this rate the A-weighting's upper corner comes too near to Nyquist; PipeWire converts then.
constexpr std::uint32_t lowestSampleRate = 44100;

std::uint32_t positionNamed(std::string_view name)
{
    for (const spa_type_info* info = spa_type_audio_channel; info->name; ++info) {
        if (name == spa_debug_type_short_name(info->name))
            return info->type;
    }
    return SPA_AUDIO_CHANNEL_UNKNOWN;
}

class PipeWireCaptureEngine final : public CaptureEngine
{
public:
    PipeWireCaptureEngine(MainLoop& loop, PipeWireGraph& graph)
        : m_graph(graph)
        , m_changeBell(loop.doorbell([this] { configurationChanged(); }))
        , m_graphChanges(graph.onChange([this] { graphChanged(); }))
    {}

    ~PipeWireCaptureEngine() override { stop(); }

    Status setInputDevice(std::uint32_t deviceID) override
    {
        if (!m_graph.isConnected())
            return std::nullopt;
        const auto device = m_graph.source(deviceID);
        if (!device)
            return -ENOENT;
        m_target = device->name;
        m_targetID = deviceID;
        return 0;
    }

    Status setChannelMap(std::span<const std::int32_t> deviceChannels) override
    {
        if (!m_graph.isConnected())
            return std::nullopt;
        m_channel = 0;
        if (deviceChannels.empty())
            return 0;
        const std::int32_t channel = deviceChannels.front();
        if (channel < 0 || channel >= inputFormat().channelCount)
            return -EINVAL;
        m_channel = static_cast<std::uint32_t>(channel);
        return 0;
    }

    CaptureFormat inputFormat() const override
    {
        const auto device = input();
        if (!device || device->channelPositions.empty())
            return {};
        return {static_cast<double>(wantedRate()), static_cast<int>(device->channelPositions.size())};
    }

    void installTap(std::size_t frames, CaptureFormat, Tap tap) override
    {
        m_tapFrames = frames;
        m_tap = std::move(tap);
    }

    void removeTap() override
    {
        stop();
        m_tap = nullptr;
    }

    std::optional<std::string> start() override
    {
        stop();
        const auto device = input();
        if (!device || !m_graph.isConnected())
            return "no such input";
        m_input = *device;
        m_rate = wantedRate();
        m_changeIsReported = false;
        m_capture = std::make_unique<CaptureThread>(m_tapFrames, m_tap);

        const PipeWireLock lock(m_graph.threadLoop());
        pw_properties* properties =
            pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE,
                              "DSP", PW_KEY_NODE_NAME, "velmor", PW_KEY_NODE_DESCRIPTION, "Velmor",
                              PW_KEY_STREAM_DONT_REMIX, "true", nullptr);
        if (!m_target.empty()) {
            pw_properties_set(properties, PW_KEY_TARGET_OBJECT, m_target.c_str());
            // Without it the session manager goes on with another microphone when this one is lost.
            pw_properties_set(properties, PW_KEY_NODE_DONT_RECONNECT, "true");
        }
        m_stream = pw_stream_new(m_graph.core(), "Level measurement", properties);
        if (!m_stream)
            return failed(errno);
        pw_stream_add_listener(m_stream, &m_listener, &streamEvents, this);

        spa_audio_info_raw format = {};
        format.format = SPA_AUDIO_FORMAT_F32P;
        format.rate = m_rate;
        format.channels = static_cast<std::uint32_t>(m_input.channelPositions.size());
        for (std::uint32_t channel = 0; channel < format.channels; ++channel)
            format.position[channel] = positionNamed(m_input.channelPositions[channel]);
        std::uint8_t buffer[1024];
        spa_pod_builder builder = {};
        spa_pod_builder_init(&builder, buffer, sizeof buffer);
        const spa_pod* parameter = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
        const int result = pw_stream_connect(m_stream, PW_DIRECTION_INPUT, PW_ID_ANY,
                                             static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT |
                                                                          PW_STREAM_FLAG_MAP_BUFFERS |
                                                                          PW_STREAM_FLAG_RT_PROCESS),
                                             &parameter, 1);
        if (result < 0)
            return failed(-result);
        return std::nullopt;
    }

    void stop() override
    {
        destroyStream();
        if (m_capture) {
            m_lostSamples += m_capture->lostSamples();
            m_unusableSamples += m_capture->unusableSamples();
            m_capture.reset();
        }
    }

    void setConfigurationChangeObserver(std::function<void()> observer) override
    {
        m_observer = std::move(observer);
    }

    std::uint64_t lostSamples() const override
    {
        return m_lostSamples + (m_capture ? m_capture->lostSamples() : 0);
    }

    std::uint64_t unusableSamples() const override
    {
        return m_unusableSamples + (m_capture ? m_capture->unusableSamples() : 0);
    }

private:
    static const pw_stream_events streamEvents;

    /// The source that is to be captured from: the one that was set, or the system's default.
    std::optional<PipeWireGraph::Source> input() const
    {
        return m_target.empty() ? m_graph.defaultSource() : m_graph.source(m_targetID);
    }

    std::uint32_t wantedRate() const
    {
        const std::uint32_t observed = m_observedRate;
        return std::max(observed != 0 ? observed : m_graph.sampleRate(), lowestSampleRate);
    }

    std::string failed(int error)
    {
        if (m_stream)
            destroyStreamLocked();
        m_capture.reset();
        return std::strerror(error); // NOLINT(concurrency-mt-unsafe): glibc's is safe
    }

    void destroyStream()
    {
        const PipeWireLock lock(m_graph.threadLoop());
        destroyStreamLocked();
    }

    void destroyStreamLocked()
    {
        if (!m_stream)
            return;
        spa_hook_remove(&m_listener);
        // Ends the data thread's work on the stream before it returns.
        pw_stream_destroy(m_stream);
        m_stream = nullptr;
        m_position = nullptr;
    }

    /// PipeWire's data thread: copies the chosen channel, nothing else.
    void process()
    {
        pw_buffer* buffer = pw_stream_dequeue_buffer(m_stream);
        if (!buffer)
            return;
        const spa_buffer* planes = buffer->buffer;
        const std::uint32_t channel = m_channel;
        if (channel < planes->n_datas && planes->datas[channel].data) {
            const spa_data& plane = planes->datas[channel];
            const std::uint32_t offset = std::min(plane.chunk->offset, plane.maxsize);
            const std::uint32_t size = std::min(plane.chunk->size, plane.maxsize - offset);
            const auto* samples =
                reinterpret_cast<const float*>(static_cast<const std::byte*>(plane.data) + offset);
            m_capture->push({samples, size / sizeof(float)});
        }
        pw_stream_queue_buffer(m_stream, buffer);

        const spa_io_position* position = m_position;
        const std::uint32_t graphRate = position ? position->clock.rate.denom : 0;
        if (graphRate != 0 && std::max(graphRate, lowestSampleRate) != m_rate) {
            m_observedRate = graphRate;
            m_changeBell->ring();
        }
    }

    void onState(pw_stream_state state)
    {
        if (state == PW_STREAM_STATE_ERROR)
            m_changeBell->ring();
    }

    /// The registry tells of a lost device; the stream only stops delivering.
    void graphChanged()
    {
        if (m_stream && input() != m_input)
            configurationChanged();
    }

    void configurationChanged()
    {
        if (!m_stream || m_changeIsReported)
            return;
        m_changeIsReported = true;
        if (m_observer) {
            // The observer may let go of the engine, and so of the function.
            const auto observer = m_observer;
            observer();
        }
    }

    PipeWireGraph& m_graph;
    std::string m_target; ///< Name of the node that was set; empty for the default source.
    std::uint32_t m_targetID = 0;
    PipeWireGraph::Source m_input; ///< What start() found.
    std::size_t m_tapFrames = 0;
    Tap m_tap;
    std::function<void()> m_observer;
    bool m_changeIsReported = false; ///< Since start().
    pw_stream* m_stream = nullptr;
    spa_hook m_listener = {};
    std::unique_ptr<CaptureThread> m_capture;
    std::uint64_t m_lostSamples = 0;
    std::uint64_t m_unusableSamples = 0;

    // Shared with PipeWire's data thread.
    std::atomic<std::uint32_t> m_channel = 0;
    std::atomic<std::uint32_t> m_rate = 0;
    std::atomic<std::uint32_t> m_observedRate = 0; ///< The graph's; 0 while it is as configured.
    std::atomic<const spa_io_position*> m_position = nullptr;

    std::unique_ptr<Doorbell> m_changeBell;
    Subscription m_graphChanges;
};

const pw_stream_events PipeWireCaptureEngine::streamEvents = {
    .version = PW_VERSION_STREAM_EVENTS,
    .state_changed = [](void* self, pw_stream_state, pw_stream_state state,
                        const char*) { static_cast<PipeWireCaptureEngine*>(self)->onState(state); },
    .io_changed =
        [](void* self, std::uint32_t id, void* area, std::uint32_t) {
            if (id == SPA_IO_Position)
                static_cast<PipeWireCaptureEngine*>(self)->m_position = static_cast<spa_io_position*>(area);
        },
    .process = [](void* self) { static_cast<PipeWireCaptureEngine*>(self)->process(); },
};

} // namespace

CaptureAuthorization PipeWireCapture::authorizationStatus() const
{
    return m_graph.isConnected() ? CaptureAuthorization::authorized : CaptureAuthorization::denied;
}

void PipeWireCapture::requestAccess(std::function<void(bool granted)> answer)
{
    answer(m_graph.isConnected());
}

std::shared_ptr<CaptureEngine> PipeWireCapture::makeEngine()
{
    return std::make_shared<PipeWireCaptureEngine>(m_loop, m_graph);
}

} // namespace velmor
