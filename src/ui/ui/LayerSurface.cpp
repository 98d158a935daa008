// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/LayerSurface.h>

#include <ui/LayerPointer.h>
#include <ui/ShmBuffer.h>

#include <QPainter>
#include <QRegion>
#include <QWidget>

#include <utility>
#include <vector>

namespace velmor {

namespace {

constexpr auto surfaceNamespace = "velmor-panel";
constexpr std::size_t bufferLimit = 3; ///< One shown, one on its way, one drawn.

} // namespace

class LayerSurface::Surface
{
public:
    Surface(QWidget& content, const QPoint& place, std::function<void()> onClosed);

    void move(const QPoint& place);
    QSize room() const { return m_connection.sizeOf(m_output); }
    void resize();
    void redraw();

private:
    void configure(std::uint32_t serial);
    void enter(wl_output* output);
    void frameDone();
    void draw();
    ShmBuffer* freeBuffer(const QSize& pixels);
    void awaitFrame();
    void tellPlaceAndSize();

    QWidget& m_content;
    QPoint m_place;
    std::function<void()> m_onClosed;
    WaylandConnection m_connection;
    LayerPointer m_pointer;
    WaylandPointer<wl_surface> m_surface;
    WaylandPointer<zwlr_layer_surface_v1> m_layer;
    WaylandPointer<wl_callback> m_frame;
    std::vector<std::unique_ptr<ShmBuffer>> m_buffers;
    wl_output* m_output = nullptr; ///< Once it is known.
    int m_scale = 1;
    bool m_isConfigured = false;
    bool m_isRedrawn = false; ///< Waits for the frame before.
};

LayerSurface::Surface::Surface(QWidget& content, const QPoint& place, std::function<void()> onClosed)
    : m_content(content)
    , m_place(place)
    , m_onClosed(std::move(onClosed))
    , m_pointer(m_connection, content)
{
    static constexpr wl_surface_listener surfaceListener{
        .enter = [](void* self, wl_surface*,
                    wl_output* output) { static_cast<Surface*>(self)->enter(output); },
        .leave = [](void*, wl_surface*, wl_output*) {}};
    static constexpr zwlr_layer_surface_v1_listener layerListener{
        .configure = [](void* self, zwlr_layer_surface_v1*, std::uint32_t serial, std::uint32_t,
                        std::uint32_t) { static_cast<Surface*>(self)->configure(serial); },
        .closed = [](void* self, zwlr_layer_surface_v1*) { static_cast<Surface*>(self)->m_onClosed(); }};
    if (!m_connection.hasLayerShell()) {
        m_onClosed();
        return;
    }
    // Outputs say how large they are.
    m_connection.roundTrip();
    m_surface.reset(wl_compositor_create_surface(m_connection.compositor.get()));
    wl_surface_add_listener(m_surface.get(), &surfaceListener, this);
    m_layer.reset(zwlr_layer_shell_v1_get_layer_surface(m_connection.layerShell.get(), m_surface.get(),
                                                        nullptr, ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY,
                                                        surfaceNamespace));
    zwlr_layer_surface_v1_add_listener(m_layer.get(), &layerListener, this);
    zwlr_layer_surface_v1_set_anchor(m_layer.get(),
                                     ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT);
    zwlr_layer_surface_v1_set_keyboard_interactivity(m_layer.get(),
                                                     ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_NONE);
    tellPlaceAndSize();
    m_connection.listen([this] { m_onClosed(); });
}

/// What was told holds with the next commit.
void LayerSurface::Surface::tellPlaceAndSize()
{
    zwlr_layer_surface_v1_set_size(m_layer.get(), static_cast<std::uint32_t>(m_content.width()),
                                   static_cast<std::uint32_t>(m_content.height()));
    zwlr_layer_surface_v1_set_margin(m_layer.get(), m_place.y(), 0, 0, m_place.x());
    wl_surface_commit(m_surface.get());
    m_connection.flush();
}

void LayerSurface::Surface::move(const QPoint& place)
{
    if (!m_layer || place == m_place)
        return;
    m_place = place;
    tellPlaceAndSize();
}

void LayerSurface::Surface::resize()
{
    if (m_layer)
        tellPlaceAndSize();
}

void LayerSurface::Surface::configure(std::uint32_t serial)
{
    zwlr_layer_surface_v1_ack_configure(m_layer.get(), serial);
    if (std::exchange(m_isConfigured, true))
        redraw();
    else
        draw();
}

void LayerSurface::Surface::enter(wl_output* output)
{
    m_output = output;
    const int scale = m_connection.scaleOf(output);
    if (std::exchange(m_scale, scale) != scale)
        redraw();
}

void LayerSurface::Surface::redraw()
{
    if (!m_isConfigured)
        return;
    if (m_frame)
        m_isRedrawn = true;
    else
        draw();
}

void LayerSurface::Surface::awaitFrame()
{
    static constexpr wl_callback_listener listener{
        .done = [](void* self, wl_callback*, std::uint32_t) { static_cast<Surface*>(self)->frameDone(); }};
    if (m_frame)
        return;
    m_frame.reset(wl_surface_frame(m_surface.get()));
    wl_callback_add_listener(m_frame.get(), &listener, this);
}

void LayerSurface::Surface::frameDone()
{
    m_frame.reset();
    if (std::exchange(m_isRedrawn, false))
        draw();
}

ShmBuffer* LayerSurface::Surface::freeBuffer(const QSize& pixels)
{
    std::erase_if(m_buffers,
                  [&](const auto& buffer) { return !buffer->isRead() && buffer->image().size() != pixels; });
    for (const auto& buffer : m_buffers)
        if (!buffer->isRead())
            return buffer.get();
    if (m_buffers.size() >= bufferLimit)
        return nullptr;
    if (auto made = ShmBuffer::make(m_connection.shm.get(), pixels))
        return m_buffers.emplace_back(std::move(made)).get();
    return nullptr;
}

void LayerSurface::Surface::draw()
{
    const QSize pixels = m_content.size() * m_scale;
    ShmBuffer* const buffer = pixels.isEmpty() ? nullptr : freeBuffer(pixels);
    if (!buffer) {
        // Perhaps with the next frame.
        m_isRedrawn = true;
        awaitFrame();
        wl_surface_commit(m_surface.get());
        m_connection.flush();
        return;
    }
    QImage& image = buffer->image();
    image.setDevicePixelRatio(m_scale);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        m_content.render(&painter, QPoint(), QRegion(), QWidget::DrawChildren);
    }
    awaitFrame();
    wl_surface_set_buffer_scale(m_surface.get(), m_scale);
    wl_surface_attach(m_surface.get(), buffer->handOver(), 0, 0);
    wl_surface_damage_buffer(m_surface.get(), 0, 0, pixels.width(), pixels.height());
    wl_surface_commit(m_surface.get());
    m_connection.flush();
}

bool LayerSurface::isOffered()
{
    return WaylandConnection().hasLayerShell();
}

LayerSurface::LayerSurface(QWidget& content, const QPoint& place, std::function<void()> onClosed)
    : m_surface(std::make_unique<Surface>(content, place, std::move(onClosed)))
{}

LayerSurface::~LayerSurface() = default;

void LayerSurface::move(const QPoint& place)
{
    m_surface->move(place);
}

QSize LayerSurface::room() const
{
    return m_surface->room();
}

void LayerSurface::resize()
{
    m_surface->resize();
}

void LayerSurface::redraw()
{
    m_surface->redraw();
}

} // namespace velmor
