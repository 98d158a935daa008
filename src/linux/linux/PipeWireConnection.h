// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <linux/PipeWireGraph.h>
#include <linux/PipeWireVolume.h>

#include <pipewire/device.h>
#include <pipewire/extensions/metadata.h>
#include <pipewire/node.h>
#include <pipewire/pipewire.h>

#include <boost/signals2/signal.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmor {

/// The connection to the server. All members are guarded by the loop thread's lock, which the loop
/// thread holds while it runs a callback.
class PipeWireGraph::Connection
{
    static constexpr std::uint32_t fallbackSampleRate = 48000;

    /// How long the constructor waits for the first picture of the graph.
    static constexpr int firstPictureSeconds = 3;

    struct FreeNodeInfo
    {
        void operator()(pw_node_info* info) const { pw_node_info_free(info); }
    };

public:
    explicit Connection(MainLoop& mainLoop);
    ~Connection();

    /// Asks for a connection anew, where there is none. Doesn't wait for the picture of the graph.
    bool connect();

    bool isConnected() const;

    /// An object behind the nodes: it knows who made the thing.
    struct Device
    {
        Connection* connection = nullptr;
        pw_proxy* proxy = nullptr;
        spa_hook listener = {};
        std::uint32_t id = 0;
        std::string vendor;
    };

    struct Node
    {
        Connection* connection = nullptr;
        pw_proxy* proxy = nullptr;
        spa_hook listener = {};
        AudioDevice device;
        bool isSource = false;
        bool isSink = false;
        std::optional<std::uint32_t> parentDevice;        ///< Number of the Device behind it.
        std::unique_ptr<pw_node_info, FreeNodeInfo> info; ///< What the node has said of itself so far.
        std::vector<std::string> channelPositions;        ///< Empty until the node has told of them.
        PipeWireVolume volume;

        bool isUsableSource() const { return isSource && !channelPositions.empty(); }
        bool isUsableSink() const { return isSink && !channelPositions.empty(); }
    };

    /// The node's record, with what the device behind it adds.
    AudioDevice described(const Node& node, bool hasInput) const;

    std::optional<Endpoint> sourceThat(const auto& isMeant) const
    {
        for (const auto& node : m_nodes) {
            if (node->isUsableSource() && isMeant(*node))
                return endpoint(*node);
        }
        return std::nullopt;
    }

    std::optional<Endpoint> sinkThat(const auto& isMeant) const
    {
        for (const auto& node : m_nodes) {
            if (node->isUsableSink() && isMeant(*node))
                return endpoint(*node);
        }
        return std::nullopt;
    }

    std::optional<InputVolume> volumeOfSource(std::uint32_t id, int channel) const;

    std::vector<std::unique_ptr<Node>> m_nodes; ///< In the order of the registry.
    std::vector<std::unique_ptr<Device>> m_devices;
    std::string m_defaultSourceName;
    std::string m_defaultSinkName;
    std::uint32_t m_sampleRate = fallbackSampleRate;
    pw_thread_loop* m_loop = nullptr;
    pw_core* m_core = nullptr;
    bool m_isBroken = false; ///< The server has gone; what is left of the connection is of no use.
    /// Main thread only.
    boost::signals2::signal<void()> m_changed;

private:
    static Endpoint endpoint(const Node& node);

    struct Metadata
    {
        Connection* connection = nullptr;
        pw_proxy* proxy = nullptr;
        spa_hook listener = {};
        std::uint32_t id = PW_ID_ANY;
    };

    static const pw_core_events coreEvents;
    static const pw_registry_events registryEvents;
    static const pw_node_events nodeEvents;
    static const pw_device_events deviceEvents;
    static const pw_metadata_events metadataEvents;

    void forgetObjects();
    void disconnect();
    static void release(spa_hook& listener, pw_proxy*& proxy);
    void onDone(int sequence);
    void onError(std::uint32_t id, int result);
    void onGlobal(std::uint32_t id, const char* type, const spa_dict* properties);
    void onDeviceAppeared(std::uint32_t id, const spa_dict* properties);
    static void onDeviceInfo(Device& device, const pw_device_info* info);
    void onGlobalRemove(std::uint32_t id);
    void bind(Metadata& metadata, std::uint32_t id);
    static void describe(Node& node, const spa_dict* properties);
    static void onNodeInfo(Node& node, const pw_node_info* update);
    static void onNodeProperties(Node& node, const spa_pod* properties);
    void onMetadata(const Metadata& metadata, std::uint32_t subject, const char* key, const char* value);

    pw_context* m_context = nullptr;
    pw_registry* m_registry = nullptr;
    spa_hook m_coreListener = {};
    spa_hook m_registryListener = {};
    Metadata m_default;
    Metadata m_settings;
    std::uint32_t m_configuredRate = fallbackSampleRate;
    std::uint32_t m_forcedRate = 0;
    int m_awaitedSequence = 0;
    std::unique_ptr<Doorbell> m_changeBell;
};

} // namespace velmor
