// SPDX-License-Identifier: GPL-3.0-or-later
// Static trampolines from the library's callbacks into the connection.
#include <linux/PipeWireConnection.h>

namespace velmor {

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

} // namespace velmor
