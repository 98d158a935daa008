// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <relative-pointer-unstable-v1-client-protocol.h>
#include <wayland-client.h>
#include <wayland-cursor.h>
#include <wlr-layer-shell-unstable-v1-client-protocol.h>

#include <QSize>
#include <QSocketNotifier>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace velmor {

/// Ends an object of the compositor's with its owner.
struct WaylandEnd
{
    void operator()(wl_display* object) const { wl_display_disconnect(object); }
    void operator()(wl_registry* object) const { wl_registry_destroy(object); }
    void operator()(wl_callback* object) const { wl_callback_destroy(object); }
    void operator()(wl_compositor* object) const { wl_compositor_destroy(object); }
    void operator()(wl_shm* object) const { wl_shm_destroy(object); }
    void operator()(wl_buffer* object) const { wl_buffer_destroy(object); }
    void operator()(wl_seat* object) const { wl_seat_destroy(object); }
    void operator()(wl_pointer* object) const { wl_pointer_release(object); }
    void operator()(zwp_relative_pointer_manager_v1* object) const
    {
        zwp_relative_pointer_manager_v1_destroy(object);
    }
    void operator()(zwp_relative_pointer_v1* object) const { zwp_relative_pointer_v1_destroy(object); }
    void operator()(wl_cursor_theme* object) const { wl_cursor_theme_destroy(object); }
    void operator()(wl_surface* object) const { wl_surface_destroy(object); }
    void operator()(zwlr_layer_shell_v1* object) const { zwlr_layer_shell_v1_destroy(object); }
    void operator()(zwlr_layer_surface_v1* object) const { zwlr_layer_surface_v1_destroy(object); }
};

template <typename Object>
using WaylandPointer = std::unique_ptr<Object, WaylandEnd>;

/// A connection to the compositor of this session, beside Qt's own, and what it offers. Main thread.
class WaylandConnection
{
public:
    /// Waits for the compositor's answer. Without one, or without a session's compositor, nothing is offered.
    WaylandConnection();
    ~WaylandConnection();
    WaylandConnection(const WaylandConnection&) = delete;
    WaylandConnection& operator=(const WaylandConnection&) = delete;

    /// Whether surfaces of the layer shell can be made and drawn on.
    bool hasLayerShell() const { return compositor && shm && layerShell; }

    /// Waits for answers to all that was asked.
    void roundTrip() { wl_display_roundtrip(m_display.get()); }

    /// From now on what comes is heard. \param onEnd once, when the compositor has ended.
    void listen(std::function<void()> onEnd);

    /// Sends what was asked.
    void flush() { wl_display_flush(m_display.get()); }

    /// The pixels in a point of \p output, at least 1; null for the most of any.
    int scaleOf(wl_output* output) const;

    /// The size of \p output in points; null for the smallest. Empty where none is known.
    QSize sizeOf(wl_output* output) const;

private:
    struct Output
    {
        QSize pixels;
        int scale = 1;

        QSize points() const { return pixels / scale; }
    };

    void offer(std::uint32_t name, const char* interface, std::uint32_t version);
    void read();

    WaylandPointer<wl_display> m_display;
    WaylandPointer<wl_registry> m_registry;
    std::map<wl_output*, Output> m_outputs;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::function<void()> m_onEnd;

public:
    WaylandPointer<wl_compositor> compositor;
    WaylandPointer<wl_shm> shm;
    WaylandPointer<wl_seat> seat;
    WaylandPointer<zwp_relative_pointer_manager_v1> relativePointers;
    WaylandPointer<zwlr_layer_shell_v1> layerShell;
};

} // namespace velmor
