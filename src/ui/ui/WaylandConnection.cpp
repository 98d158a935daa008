// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/WaylandConnection.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace velmor {

namespace {

// The newest of each interface whose messages are heard here.
constexpr std::uint32_t compositorVersion = 4;
constexpr std::uint32_t outputVersion = 2;
constexpr std::uint32_t seatVersion = 5;
constexpr std::uint32_t layerShellVersion = 3; // From here on it can be destroyed.

} // namespace

WaylandConnection::WaylandConnection()
    : m_display(qEnvironmentVariableIsSet("WAYLAND_DISPLAY") ? wl_display_connect(nullptr) : nullptr)
{
    if (!m_display)
        return;
    static constexpr wl_registry_listener listener{
        .global =
            [](void* self, wl_registry*, std::uint32_t name, const char* interface, std::uint32_t version) {
                static_cast<WaylandConnection*>(self)->offer(name, interface, version);
            },
        .global_remove = [](void*, wl_registry*, std::uint32_t) {}};
    m_registry.reset(wl_display_get_registry(m_display.get()));
    wl_registry_add_listener(m_registry.get(), &listener, this);
    roundTrip();
}

WaylandConnection::~WaylandConnection()
{
    for (const auto& [output, properties] : m_outputs)
        wl_output_destroy(output);
}

void WaylandConnection::offer(std::uint32_t name, const char* interface, std::uint32_t version)
{
    const auto bind = [&](const wl_interface& wanted, std::uint32_t newest) -> void* {
        return std::string_view(interface) == wanted.name
                   ? wl_registry_bind(m_registry.get(), name, &wanted, std::min(version, newest))
                   : nullptr;
    };
    if (void* const object = bind(wl_compositor_interface, compositorVersion))
        compositor.reset(static_cast<wl_compositor*>(object));
    else if (void* const memory = bind(wl_shm_interface, 1))
        shm.reset(static_cast<wl_shm*>(memory));
    else if (void* const first = seat ? nullptr : bind(wl_seat_interface, seatVersion))
        seat.reset(static_cast<wl_seat*>(first));
    else if (void* const manager = bind(zwp_relative_pointer_manager_v1_interface, 1))
        relativePointers.reset(static_cast<zwp_relative_pointer_manager_v1*>(manager));
    else if (void* const shell = version >= layerShellVersion
                                     ? bind(zwlr_layer_shell_v1_interface, layerShellVersion)
                                     : nullptr)
        layerShell.reset(static_cast<zwlr_layer_shell_v1*>(shell));
    else if (void* const output = bind(wl_output_interface, outputVersion)) {
        static constexpr wl_output_listener listener{
            .geometry = [](void*, wl_output*, std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                           std::int32_t, const char*, const char*, std::int32_t) {},
            .mode =
                [](void* self, wl_output* used, std::uint32_t flags, std::int32_t width, std::int32_t height,
                   std::int32_t) {
                    if ((flags & WL_OUTPUT_MODE_CURRENT) != 0)
                        static_cast<WaylandConnection*>(self)->m_outputs[used].pixels = {width, height};
                },
            .done = [](void*, wl_output*) {},
            .scale =
                [](void* self, wl_output* scaled, std::int32_t factor) {
                    static_cast<WaylandConnection*>(self)->m_outputs[scaled].scale = std::max(1, factor);
                },
            .name = nullptr,
            .description = nullptr};
        m_outputs.try_emplace(static_cast<wl_output*>(output));
        wl_output_add_listener(static_cast<wl_output*>(output), &listener, this);
    }
}

int WaylandConnection::scaleOf(wl_output* output) const
{
    int most = 1;
    for (const auto& [each, properties] : m_outputs) {
        if (each == output)
            return properties.scale;
        most = std::max(most, properties.scale);
    }
    return most;
}

QSize WaylandConnection::sizeOf(wl_output* output) const
{
    QSize smallest;
    for (const auto& [each, properties] : m_outputs) {
        const QSize size = properties.points();
        if (each == output)
            return size;
        smallest = smallest.isEmpty() ? size : smallest.boundedTo(size);
    }
    return smallest;
}

void WaylandConnection::listen(std::function<void()> onEnd)
{
    m_onEnd = std::move(onEnd);
    m_notifier = std::make_unique<QSocketNotifier>(wl_display_get_fd(m_display.get()), QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this] { read(); });
    // What came along with an answer that was waited for has no readable socket to announce it.
    wl_display_dispatch_pending(m_display.get());
    flush();
}

void WaylandConnection::read()
{
    wl_display* const display = m_display.get();
    bool isThere = true;
    while (isThere && wl_display_prepare_read(display) != 0)
        isThere = wl_display_dispatch_pending(display) != -1;
    if (!isThere || wl_display_read_events(display) == -1 || wl_display_dispatch_pending(display) == -1) {
        m_notifier->setEnabled(false);
        m_onEnd();
        return;
    }
    flush();
}

} // namespace velmor
