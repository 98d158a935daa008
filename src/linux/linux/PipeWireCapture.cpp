// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/PipeWireCapture.h>

#include <linux/CaptureThread.h>
#include <linux/PipeWireGraph.h>
#include <linux/PipeWireStream.h>

#include <pipewire/pipewire.h>
#include <spa/debug/types.h>
#include <spa/param/audio/type-info.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <exception>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace velmor {

namespace {

/// Below this rate the A-weighting's upper corner comes too near to Nyquist; PipeWire converts then.
constexpr std::uint32_t lowestSampleRate = 44100;

/// A stream that delivers nothing for twice as long has stalled: its links were taken away, or its device
/// hangs. The last level must not stand for what is heard then.
constexpr double stallCheckSeconds = 1.0;
constexpr int checksOfAStall = 2;

constexpr std::chrono::seconds failureCooldown(1);

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
    PipeWireCaptureEngine(MainLoop& loop, PipeWireGraph& graph, PipeWireCapture& capture, bool hasFailed)
        : m_loop(loop)
        , m_graph(graph)
        , m_owner(capture)
        , m_givesUp(hasFailed)
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
        // While the stream runs, what it delivers; the graph may already be somewhere else.
        if (m_stream)
            return formatOf(m_input, m_rate);
        const auto device = input();
        return device ? formatOf(*device, wantedRate()) : CaptureFormat();
    }

    void installTap(std::size_t frames, CaptureFormat format, Tap tap) override
    {
        m_tapFrames = frames;
        m_tapRate = static_cast<std::uint32_t>(format.sampleRate);
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
        if (!device)
            return "no such input";
        if (m_givesUp)
            return "the input delivers nothing";
        m_input = *device;
        // The first start keeps to the format that the tap was prepared for; a later one follows the
        // graph, and its rate is asked for again.
        m_rate = m_tapRate != 0 ? std::exchange(m_tapRate, 0) : wantedRate();
        m_changeIsReported = false;
        try {
            m_capture = std::make_unique<CaptureThread>(m_tapFrames, m_tap);
        } catch (const std::exception& error) {
            return error.what();
        }

        const PipeWireLock lock(m_graph.threadLoop());
        if (!m_graph.core())
            return failed(ECONNREFUSED);
        pw_properties* properties = pw_properties_new(
            PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_NODE_NAME, "velmor",
            PW_KEY_NODE_DESCRIPTION, "Velmor", PW_KEY_STREAM_DONT_REMIX, "true", nullptr);
        // Without these the session manager goes on with another microphone when this one is lost, or
        // begins with the one that it remembers. A new default is learnt from the graph.
        pw_properties_set(properties, PW_KEY_TARGET_OBJECT, m_input.name.c_str());
        pw_properties_set(properties, PW_KEY_NODE_DONT_RECONNECT, "true");
        // The session manager takes a node that also plays for an output: what it captures is then asked for
        // in the way of a monitor.
        if (m_input.isDuplex)
            pw_properties_set(properties, PW_KEY_STREAM_CAPTURE_SINK, "true");
        m_stream = pw_stream_new(m_graph.core(), "Level measurement", properties);
        if (!m_stream)
            return failed(errno);
        m_listener = {};
        pw_stream_add_listener(m_stream, &m_listener, &streamEvents, this);

        spa_audio_info_raw format = {};
        format.format = SPA_AUDIO_FORMAT_F32P;
        format.rate = m_rate;
        format.channels = static_cast<std::uint32_t>(m_input.channelPositions.size());
        for (std::uint32_t channel = 0; channel < format.channels; ++channel)
            format.position[channel] = positionNamed(m_input.channelPositions[channel]);
        const int result = connectStream(m_stream, PW_DIRECTION_INPUT, format);
        if (result < 0)
            return failed(-result);
        m_idleChecks = 0;
        m_stallCheck = m_loop.every(stallCheckSeconds, [this] { checkForStall(); });
        return std::nullopt;
    }

    void stop() override
    {
        m_stallCheck.reset();
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

    static CaptureFormat formatOf(const PipeWireGraph::Endpoint& source, std::uint32_t rate)
    {
        return {static_cast<double>(rate), static_cast<int>(source.channelPositions.size())};
    }

    /// The source that is to be captured from: the one that was set, or the system's default.
    std::optional<PipeWireGraph::Endpoint> input() const
    {
        if (m_target.empty())
            return m_graph.defaultSource();
        // PipeWire gives a number that has become free to another node.
        const auto source = m_graph.source(m_targetID);
        return source && source->name == m_target ? source : std::nullopt;
    }

    std::uint32_t wantedRate() const
    {
        const std::uint32_t observed = m_observedRate;
        return std::max(observed != 0 ? observed : m_graph.sampleRate(), lowestSampleRate);
    }

    std::string failed(int error)
    {
        m_stream.destroy();
        m_capture.reset();
        return std::strerror(error);
    }

    void destroyStream()
    {
        const PipeWireLock lock(m_graph.threadLoop());
        m_stream.destroy();
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
            // Others write to the chunk while it is read: each figure is read once, and then checked.
            const auto readOnce = [](std::uint32_t& figure) {
                return std::atomic_ref(figure).load(std::memory_order_relaxed);
            };
            const std::uint32_t claimedOffset = std::min(readOnce(plane.chunk->offset), plane.maxsize);
            const std::uint32_t offset = claimedOffset - claimedOffset % sizeof(float);
            const std::uint32_t size = std::min(readOnce(plane.chunk->size), plane.maxsize - offset);
            const auto* samples =
                reinterpret_cast<const float*>(static_cast<const std::byte*>(plane.data) + offset);
            m_capture->push({samples, size / sizeof(float)});
        }
        pw_stream_queue_buffer(m_stream, buffer);

        m_hasDelivered = true;
        m_deliveries.fetch_add(1, std::memory_order_relaxed);
        pw_time time = {};
        if (pw_stream_get_time_n(m_stream, &time, sizeof time) < 0 || time.rate.denom == 0)
            return;
        if (std::max(time.rate.denom, lowestSampleRate) != m_rate) {
            m_observedRate = time.rate.denom;
            m_changeBell->ring();
        }
    }

    /// The stream has failed, or somebody else has destroyed its node. A stream that never delivered
    /// anything would only fail again: it is given one more try.
    void onState(pw_stream_state state)
    {
        if (state != PW_STREAM_STATE_ERROR && state != PW_STREAM_STATE_UNCONNECTED)
            return;
        if (m_stream.isEnding())
            return;
        if (m_hasDelivered.exchange(false))
            m_hasFailedBefore = false;
        else if (std::exchange(m_hasFailedBefore, true))
            m_hasFailedTwice = true;
        m_changeBell->ring();
    }

    /// One that has delivered is tried once more. When that brings nothing either, the engine is of no use:
    /// a new one begins with no level.
    void checkForStall()
    {
        const std::uint64_t deliveries = m_deliveries.load(std::memory_order_relaxed);
        m_idleChecks = deliveries == m_deliveriesBefore ? m_idleChecks + 1 : 0;
        m_deliveriesBefore = deliveries;
        if (m_idleChecks == 0)
            m_isSecondTry = false;
        if (m_idleChecks < checksOfAStall || deliveries == 0)
            return;
        m_givesUp = std::exchange(m_isSecondTry, true);
        configurationChanged();
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
        if (m_hasFailedTwice) {
            m_givesUp = true;
            m_owner.noteFailure();
        }
        if (m_observer) {
            // The observer may let go of the engine, and so of the function.
            const auto observer = m_observer;
            observer();
        }
    }

    MainLoop& m_loop;
    PipeWireGraph& m_graph;
    PipeWireCapture& m_owner;
    bool m_givesUp;       ///< Starts no more.
    std::string m_target; ///< Name of the node that was set; empty for the default source.
    std::uint32_t m_targetID = 0;
    PipeWireGraph::Endpoint m_input; ///< What start() found.
    std::size_t m_tapFrames = 0;
    std::uint32_t m_tapRate = 0; ///< Of the format that the tap came with; 0 once it has been used.
    Tap m_tap;
    std::function<void()> m_observer;
    bool m_changeIsReported = false; ///< Since start().
    PipeWireStream m_stream;
    spa_hook m_listener = {};
    bool m_hasFailedBefore = false; ///< PipeWire's loop thread.
    Timer m_stallCheck;
    int m_idleChecks = 0;
    bool m_isSecondTry = false;
    std::uint64_t m_deliveriesBefore = 0;
    std::unique_ptr<CaptureThread> m_capture;
    std::uint64_t m_lostSamples = 0;
    std::uint64_t m_unusableSamples = 0;

    // Shared with PipeWire's data thread.
    std::atomic<std::uint32_t> m_channel = 0;
    std::atomic<std::uint32_t> m_rate = 0;
    std::atomic<std::uint32_t> m_observedRate = 0; ///< The graph's; 0 while it is as configured.
    std::atomic<bool> m_hasDelivered = false;      ///< Since start() or the last failure.
    std::atomic<std::uint64_t> m_deliveries = 0;
    std::atomic<bool> m_hasFailedTwice = false; ///< Set by PipeWire's loop thread.

    std::unique_ptr<Doorbell> m_changeBell;
    Subscription m_graphChanges;
};

const pw_stream_events PipeWireCaptureEngine::streamEvents = {
    .version = PW_VERSION_STREAM_EVENTS,
    .state_changed = [](void* self, pw_stream_state, pw_stream_state state,
                        const char*) { static_cast<PipeWireCaptureEngine*>(self)->onState(state); },
    .control_info =
        [](void* self, std::uint32_t id, const pw_stream_control* control) {
            keepNeutral(static_cast<PipeWireCaptureEngine*>(self)->m_stream, id, control);
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
    const bool hasFailed =
        m_lastFailure && std::chrono::steady_clock::now() - *m_lastFailure < failureCooldown;
    return std::make_shared<PipeWireCaptureEngine>(m_loop, m_graph, *this, hasFailed);
}

void PipeWireCapture::noteFailure()
{
    m_lastFailure = std::chrono::steady_clock::now();
}

} // namespace velmor
