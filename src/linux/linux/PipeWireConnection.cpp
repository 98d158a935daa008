// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/PipeWireConnection.h>

#include <linux/PipeWireText.h>

#include <fmt/format.h>

#include <spa/param/audio/raw.h>
#include <spa/param/param.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <string_view>
#include <utility>

namespace velmor {

namespace {

std::string textOf(const spa_dict* properties, const char* key)
{
    const char* value = properties ? spa_dict_lookup(properties, key) : nullptr;
    return value ? value : "";
}

} // namespace

const pw_core_events PipeWireGraph::Connection::coreEvents = {
    .version = PW_VERSION_CORE_EVENTS,
    .done = [](void* self, std::uint32_t, int sequence) { static_cast<Connection*>(self)->onDone(sequence); },
    .error = [](void* self, std::uint32_t id, int, int result,
                const char*) { static_cast<Connection*>(self)->onError(id, result); },
};

const pw_registry_events PipeWireGraph::Connection::registryEvents = {
    .version = PW_VERSION_REGISTRY_EVENTS,
    .global =
        [](void* self, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
           const spa_dict* properties) { static_cast<Connection*>(self)->onGlobal(id, type, properties); },
    .global_remove = [](void* self, std::uint32_t id) { static_cast<Connection*>(self)->onGlobalRemove(id); },
};

const pw_node_events PipeWireGraph::Connection::nodeEvents = {
    .version = PW_VERSION_NODE_EVENTS,
    .info = [](void* node, const pw_node_info* info) { onNodeInfo(*static_cast<Node*>(node), info); },
    .param = [](void* node, int, std::uint32_t, std::uint32_t, std::uint32_t,
                const spa_pod* properties) { onNodeProperties(*static_cast<Node*>(node), properties); },
};

const pw_device_events PipeWireGraph::Connection::deviceEvents = {
    .version = PW_VERSION_DEVICE_EVENTS,
    .info = [](void* device,
               const pw_device_info* info) { onDeviceInfo(*static_cast<Device*>(device), info); },
};

const pw_metadata_events PipeWireGraph::Connection::metadataEvents = {
    .version = PW_VERSION_METADATA_EVENTS,
    .property = [](void* self, std::uint32_t subject, const char* key, const char*,
                   const char* value) -> int {
        const auto& metadata = *static_cast<Metadata*>(self);
        metadata.connection->onMetadata(metadata, subject, key, value);
        return 0;
    },
};

PipeWireGraph::Connection::Connection(MainLoop& mainLoop)
    : m_changeBell(mainLoop.doorbell([this] { m_changed(); }))
{
    pw_init(nullptr, nullptr);
    m_loop = pw_thread_loop_new("velmor-pipewire", nullptr);
    if (!m_loop)
        return;
    m_context = pw_context_new(pw_thread_loop_get_loop(m_loop), nullptr, 0);
    if (!m_context || pw_thread_loop_start(m_loop) != 0)
        return;

    if (!connect())
        return;
    const PipeWireLock lock(m_loop);
    // The first round brings the list of objects, the second what they say of themselves.
    for (int round = 0; round < 2 && !m_isBroken; ++round) {
        m_awaitedSequence = pw_core_sync(m_core, PW_ID_CORE, 0);
        while (!m_isBroken && m_awaitedSequence != 0) {
            if (pw_thread_loop_timed_wait(m_loop, firstPictureSeconds) != 0)
                return;
        }
    }
}

bool PipeWireGraph::Connection::connect()
{
    if (!m_context)
        return false;
    const PipeWireLock lock(m_loop);
    disconnect();
    m_core = pw_context_connect(m_context, nullptr, 0);
    m_isBroken = false;
    if (!m_core)
        return false;
    pw_core_add_listener(m_core, &m_coreListener, &coreEvents, this);
    m_registry = pw_core_get_registry(m_core, PW_VERSION_REGISTRY, 0);
    pw_registry_add_listener(m_registry, &m_registryListener, &registryEvents, this);
    return true;
}

bool PipeWireGraph::Connection::isConnected() const
{
    const PipeWireLock lock(m_loop);
    return m_core != nullptr && !m_isBroken;
}

PipeWireGraph::Connection::~Connection()
{
    if (m_loop)
        pw_thread_loop_stop(m_loop);
    disconnect();
    if (m_context)
        pw_context_destroy(m_context);
    if (m_loop)
        pw_thread_loop_destroy(m_loop);
    pw_deinit();
}

AudioDevice PipeWireGraph::Connection::described(const Node& node, bool hasInput) const
{
    AudioDevice device = node.device;
    device.hasInput = hasInput;
    if (device.manufacturer.empty() && node.parentDevice) {
        const auto parent = std::ranges::find_if(
            m_devices, [&node](const auto& candidate) { return candidate->id == node.parentDevice; });
        if (parent != m_devices.end())
            device.manufacturer = (*parent)->vendor;
    }
    if (device.manufacturer.empty())
        device.manufacturer = "Unknown";
    return device;
}

std::optional<InputVolume> PipeWireGraph::Connection::volumeOfSource(std::uint32_t id, int channel) const
{
    for (const auto& node : m_nodes) {
        if (node->isUsableSource() && node->device.id == id && channel >= 0)
            return node->volume.ofChannel(static_cast<std::size_t>(channel));
    }
    return std::nullopt;
}

PipeWireGraph::Endpoint PipeWireGraph::Connection::endpoint(const Node& node)
{
    return {node.device.id, node.device.uid, node.isSource && node.isSink, node.channelPositions};
}

void PipeWireGraph::Connection::forgetObjects()
{
    for (const auto& node : m_nodes)
        release(node->listener, node->proxy);
    m_nodes.clear();
    for (const auto& device : m_devices)
        release(device->listener, device->proxy);
    m_devices.clear();
    m_defaultSourceName.clear();
    m_defaultSinkName.clear();
}

void PipeWireGraph::Connection::disconnect()
{
    forgetObjects();
    for (Metadata* metadata : {&m_default, &m_settings}) {
        release(metadata->listener, metadata->proxy);
        metadata->id = PW_ID_ANY;
    }
    m_configuredRate = fallbackSampleRate;
    m_forcedRate = 0;
    m_sampleRate = fallbackSampleRate;
    if (m_registry) {
        spa_hook_remove(&m_registryListener);
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(m_registry));
        m_registry = nullptr;
    }
    if (m_core) {
        spa_hook_remove(&m_coreListener);
        pw_core_disconnect(m_core);
        m_core = nullptr;
    }
}

void PipeWireGraph::Connection::release(spa_hook& listener, pw_proxy*& proxy)
{
    if (!proxy)
        return;
    spa_hook_remove(&listener);
    pw_proxy_destroy(proxy);
    proxy = nullptr;
}

void PipeWireGraph::Connection::onDone(int sequence)
{
    if (sequence != m_awaitedSequence)
        return;
    m_awaitedSequence = 0;
    pw_thread_loop_signal(m_loop, false);
}

void PipeWireGraph::Connection::onError(std::uint32_t id, int result)
{
    const bool isEnd = result == -EPIPE || result == -ECONNRESET || result == -EPROTO;
    if (id != PW_ID_CORE || !isEnd)
        return;
    // The server has gone. The core may not be destroyed inside its own callback; without its
    // objects the graph is empty.
    m_isBroken = true;
    forgetObjects();
    m_changeBell->ring();
    pw_thread_loop_signal(m_loop, false);
}

void PipeWireGraph::Connection::onGlobal(std::uint32_t id, const char* type, const spa_dict* properties)
{
    if (std::string_view(type) == PW_TYPE_INTERFACE_Metadata) {
        const std::string name = textOf(properties, PW_KEY_METADATA_NAME);
        if (name == "default")
            bind(m_default, id);
        else if (name == "settings")
            bind(m_settings, id);
        return;
    }
    if (std::string_view(type) == PW_TYPE_INTERFACE_Device) {
        onDeviceAppeared(id, properties);
        return;
    }
    if (std::string_view(type) != PW_TYPE_INTERFACE_Node)
        return;
    const std::string mediaClass = textOf(properties, PW_KEY_MEDIA_CLASS);
    const bool isDuplex = mediaClass == "Audio/Duplex";
    const bool isSource = isDuplex || mediaClass == "Audio/Source" || mediaClass == "Audio/Source/Virtual";
    const bool isSink = isDuplex || mediaClass == "Audio/Sink";
    if (!isSource && !isSink)
        return;

    auto node = std::make_unique<Node>();
    node->connection = this;
    node->device.id = id;
    node->isSource = isSource;
    node->isSink = isSink;
    describe(*node, properties);
    node->proxy =
        static_cast<pw_proxy*>(pw_registry_bind(m_registry, id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0));
    if (!node->proxy)
        return;
    auto* const proxy = reinterpret_cast<pw_node*>(node->proxy);
    pw_node_add_listener(proxy, &node->listener, &nodeEvents, node.get());
    // The volume of a source shifts what is measured.
    std::uint32_t watchedParameters[] = {SPA_PARAM_Props};
    if (isSource)
        pw_node_subscribe_params(proxy, watchedParameters, std::size(watchedParameters));
    m_nodes.push_back(std::move(node));
    m_changeBell->ring();
}

void PipeWireGraph::Connection::onDeviceAppeared(std::uint32_t id, const spa_dict* properties)
{
    if (textOf(properties, PW_KEY_MEDIA_CLASS) != "Audio/Device")
        return;
    auto device = std::make_unique<Device>();
    device->connection = this;
    device->id = id;
    device->proxy = static_cast<pw_proxy*>(
        pw_registry_bind(m_registry, id, PW_TYPE_INTERFACE_Device, PW_VERSION_DEVICE, 0));
    if (!device->proxy)
        return;
    pw_device_add_listener(reinterpret_cast<pw_device*>(device->proxy), &device->listener, &deviceEvents,
                           device.get());
    m_devices.push_back(std::move(device));
}

void PipeWireGraph::Connection::onDeviceInfo(Device& device, const pw_device_info* info)
{
    // Only an event about the properties brings them.
    if ((info->change_mask & PW_DEVICE_CHANGE_MASK_PROPS) == 0)
        return;
    device.vendor = textOf(info->props, PW_KEY_DEVICE_VENDOR_NAME);
    device.connection->m_changeBell->ring();
}

void PipeWireGraph::Connection::onGlobalRemove(std::uint32_t id)
{
    const auto goneDevice = std::ranges::find(m_devices, id, [](const auto& device) { return device->id; });
    if (goneDevice != m_devices.end()) {
        release((*goneDevice)->listener, (*goneDevice)->proxy);
        m_devices.erase(goneDevice);
        return;
    }
    for (Metadata* metadata : {&m_default, &m_settings}) {
        if (metadata->id == id) {
            release(metadata->listener, metadata->proxy);
            metadata->id = PW_ID_ANY;
            if (metadata == &m_default) {
                m_defaultSourceName.clear();
                m_defaultSinkName.clear();
                m_changeBell->ring();
            }
        }
    }
    const auto gone = std::ranges::find(m_nodes, id, [](const auto& node) { return node->device.id; });
    if (gone == m_nodes.end())
        return;
    release((*gone)->listener, (*gone)->proxy);
    m_nodes.erase(gone);
    m_changeBell->ring();
}

void PipeWireGraph::Connection::bind(Metadata& metadata, std::uint32_t id)
{
    release(metadata.listener, metadata.proxy);
    metadata.proxy = static_cast<pw_proxy*>(
        pw_registry_bind(m_registry, id, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0));
    if (!metadata.proxy)
        return;
    metadata.id = id;
    metadata.connection = this;
    pw_metadata_add_listener(reinterpret_cast<pw_metadata*>(metadata.proxy), &metadata.listener,
                             &metadataEvents, &metadata);
}

void PipeWireGraph::Connection::describe(Node& node, const spa_dict* properties)
{
    AudioDevice& device = node.device;
    device.uid = textOf(properties, PW_KEY_NODE_NAME);
    if (device.uid.empty())
        device.uid = fmt::format("{}", device.id);
    device.name = textOf(properties, PW_KEY_NODE_DESCRIPTION);
    if (device.name.empty())
        device.name = textOf(properties, PW_KEY_NODE_NICK);
    if (device.name.empty())
        device.name = textOf(properties, PW_KEY_NODE_NAME);
    if (device.name.empty())
        device.name = "Unknown Device";
    device.manufacturer = textOf(properties, PW_KEY_DEVICE_VENDOR_NAME);
    node.parentDevice = wholeNumber(textOf(properties, PW_KEY_DEVICE_ID));
}

void PipeWireGraph::Connection::onNodeInfo(Node& node, const pw_node_info* update)
{
    // An event brings only what has changed.
    node.info.reset(pw_node_info_update(node.info.release(), update));
    const pw_node_info* info = node.info.get();
    if (!info)
        return;
    const AudioDevice deviceBefore = node.device;
    const auto parentBefore = node.parentDevice;
    describe(node, info->props);
    auto positions = listEntries(textOf(info->props, SPA_KEY_AUDIO_POSITION));
    std::size_t count = wholeNumber(textOf(info->props, SPA_KEY_AUDIO_CHANNELS)).value_or(0);
    if (count == 0)
        count = positions.size();
    if (count == 0)
        count = node.isSource ? info->n_output_ports : info->n_input_ports;
    count = std::min<std::size_t>(count, SPA_AUDIO_MAX_CHANNELS);
    positions.resize(count, "UNK");
    // Most events are of nodes that begin or cease to run.
    const bool isChanged = node.device != deviceBefore || node.parentDevice != parentBefore ||
                           node.channelPositions != positions;
    node.channelPositions = std::move(positions);
    if (isChanged)
        node.connection->m_changeBell->ring();
}

void PipeWireGraph::Connection::onNodeProperties(Node& node, const spa_pod* properties)
{
    const PipeWireVolume before = node.volume;
    node.volume.take(properties);
    if (node.volume != before)
        node.connection->m_changeBell->ring();
}

void PipeWireGraph::Connection::onMetadata(const Metadata& metadata, std::uint32_t subject, const char* key,
                                           const char* value)
{
    const std::string_view name = key ? key : "";
    if (subject != PW_ID_CORE)
        return;
    // Without a name everything is taken away; only the defaults are missed then.
    const bool isAllDefaults = name.empty() && &metadata == &m_default;
    if (name == "default.audio.source" || isAllDefaults) {
        m_defaultSourceName = value ? nameInMetadata(value) : std::string();
        m_changeBell->ring();
    }
    if (name == "default.audio.sink" || isAllDefaults) {
        m_defaultSinkName = value ? nameInMetadata(value) : std::string();
        m_changeBell->ring();
    }
    if (name == "clock.rate" || name == "clock.force-rate") {
        // A forced rate of 0 means that none is forced.
        const auto rate = wholeNumber(value ? value : "");
        (name == "clock.rate" ? m_configuredRate : m_forcedRate) = rate.value_or(0);
        m_sampleRate = m_forcedRate != 0 ? m_forcedRate : m_configuredRate;
        if (m_sampleRate == 0)
            m_sampleRate = fallbackSampleRate;
        m_changeBell->ring();
    }
}

} // namespace velmor
