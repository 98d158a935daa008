// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/PipeWireGraph.h>

#include <linux/ChannelName.h>
#include <linux/PipeWireConnection.h>

namespace velmor {

namespace {

/// A server that is restarted is back within a few of these.
constexpr double retryIntervalSeconds = 0.1;

/// After so many tries it was stopped for longer, and every twentieth moment will do: where the system starts
/// servers on demand, each try would start it.
constexpr int frequentTries = 50;
constexpr int momentsBetweenLaterTries = 20;

} // namespace

PipeWireLock::PipeWireLock(pw_thread_loop* loop)
    : m_loop(loop)
{
    if (m_loop)
        pw_thread_loop_lock(m_loop);
}

PipeWireLock::~PipeWireLock()
{
    if (m_loop)
        pw_thread_loop_unlock(m_loop);
}

PipeWireGraph::PipeWireGraph(MainLoop& loop)
    : m_loop(loop)
    , m_connection(std::make_unique<Connection>(loop))
    , m_ownChanges(m_connection->m_changed.connect([this] { connectAgain(); }))
{
    connectAgain();
}

PipeWireGraph::~PipeWireGraph() = default;

void PipeWireGraph::connectAgain()
{
    if (m_nextTry || isConnected())
        return;
    m_moments = 0;
    m_nextTry = m_loop.every(retryIntervalSeconds, [this] {
        ++m_moments;
        const bool isTryDue = m_moments <= frequentTries || m_moments % momentsBetweenLaterTries == 0;
        if (isTryDue && m_connection->connect())
            m_nextTry.reset();
    });
}

std::vector<AudioDevice> PipeWireGraph::inputDevices() const
{
    const PipeWireLock lock(threadLoop());
    std::vector<AudioDevice> devices;
    for (const auto& node : m_connection->m_nodes) {
        if (node->isUsableSource())
            devices.push_back(m_connection->described(*node, true));
    }
    return devices;
}

std::vector<AudioDevice> PipeWireGraph::outputDevices() const
{
    const PipeWireLock lock(threadLoop());
    std::vector<AudioDevice> devices;
    for (const auto& node : m_connection->m_nodes) {
        if (node->isUsableSink())
            devices.push_back(m_connection->described(*node, false));
    }
    return devices;
}

int PipeWireGraph::inputChannelCount(std::uint32_t deviceID) const
{
    const auto found = source(deviceID);
    return found ? static_cast<int>(found->channelPositions.size()) : 0;
}

std::optional<std::string> PipeWireGraph::inputChannelName(std::uint32_t deviceID, int channel) const
{
    const auto found = source(deviceID);
    if (!found || channel < 0 || channel >= static_cast<int>(found->channelPositions.size()))
        return std::nullopt;
    return channelName(found->channelPositions[static_cast<std::size_t>(channel)]);
}

bool PipeWireGraph::isConnected() const
{
    return m_connection->isConnected();
}

std::optional<PipeWireGraph::Endpoint> PipeWireGraph::source(std::uint32_t id) const
{
    const PipeWireLock lock(threadLoop());
    return m_connection->sourceThat([id](const auto& node) { return node.device.id == id; });
}

std::optional<PipeWireGraph::Endpoint> PipeWireGraph::defaultSource() const
{
    const PipeWireLock lock(threadLoop());
    const std::string& name = m_connection->m_defaultSourceName;
    return m_connection->sourceThat([&name](const auto& node) { return node.device.uid == name; });
}

std::optional<PipeWireGraph::Endpoint> PipeWireGraph::sink(std::uint32_t id) const
{
    const PipeWireLock lock(threadLoop());
    return m_connection->sinkThat([id](const auto& node) { return node.device.id == id; });
}

std::optional<PipeWireGraph::Endpoint> PipeWireGraph::defaultSink() const
{
    const PipeWireLock lock(threadLoop());
    const std::string& name = m_connection->m_defaultSinkName;
    return m_connection->sinkThat([&name](const auto& node) { return node.device.uid == name; });
}

std::optional<std::uint32_t> PipeWireGraph::defaultInputDevice() const
{
    const auto found = defaultSource();
    return found ? std::optional(found->id) : std::nullopt;
}

std::optional<InputVolume> PipeWireGraph::inputVolume(std::uint32_t deviceID, int channel) const
{
    const PipeWireLock lock(threadLoop());
    return m_connection->volumeOfSource(deviceID, channel);
}

std::uint32_t PipeWireGraph::sampleRate() const
{
    const PipeWireLock lock(threadLoop());
    return m_connection->m_sampleRate;
}

Subscription PipeWireGraph::onChange(const std::function<void()>& callback)
{
    return m_connection->m_changed.connect(callback);
}

pw_core* PipeWireGraph::core() const
{
    return m_connection->m_isBroken ? nullptr : m_connection->m_core;
}

pw_thread_loop* PipeWireGraph::threadLoop() const
{
    return m_connection->m_loop;
}

} // namespace velmor
