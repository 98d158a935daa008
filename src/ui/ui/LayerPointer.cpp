// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/LayerPointer.h>

#include <QApplication>
#include <QMouseEvent>
#include <QStyleHints>

#include <linux/input-event-codes.h>

namespace velmor {

namespace {

constexpr int usualCursorSize = 24;

QPointF pointOf(wl_fixed_t x, wl_fixed_t y)
{
    return {wl_fixed_to_double(x), wl_fixed_to_double(y)};
}

Qt::MouseButton buttonOf(std::uint32_t code)
{
    switch (code) {
    case BTN_LEFT:
        return Qt::LeftButton;
    case BTN_RIGHT:
        return Qt::RightButton;
    case BTN_MIDDLE:
        return Qt::MiddleButton;
    default:
        return Qt::NoButton;
    }
}

} // namespace

LayerPointer::LayerPointer(WaylandConnection& connection, QWidget& widget)
    : m_connection(connection)
    , m_widget(widget)
{
    static constexpr wl_seat_listener listener{.capabilities =
                                                   [](void* self, wl_seat*, std::uint32_t capabilities) {
                                                       static_cast<LayerPointer*>(self)->follow(
                                                           (capabilities & WL_SEAT_CAPABILITY_POINTER) != 0);
                                                   },
                                               .name = [](void*, wl_seat*, const char*) {}};
    if (m_connection.seat)
        wl_seat_add_listener(m_connection.seat.get(), &listener, this);
}

void LayerPointer::follow(bool hasPointer)
{
    static constexpr wl_pointer_listener listener{
        .enter = [](void* self, wl_pointer*, std::uint32_t serial, wl_surface*, wl_fixed_t x,
                    wl_fixed_t y) { static_cast<LayerPointer*>(self)->enter(serial, pointOf(x, y)); },
        .leave = [](void* self, wl_pointer*, std::uint32_t,
                    wl_surface*) { static_cast<LayerPointer*>(self)->leave(); },
        .motion = [](void* self, wl_pointer*, std::uint32_t, wl_fixed_t x,
                     wl_fixed_t y) { static_cast<LayerPointer*>(self)->moveTo(pointOf(x, y)); },
        .button =
            [](void* self, wl_pointer*, std::uint32_t, std::uint32_t, std::uint32_t button,
               std::uint32_t state) {
                static_cast<LayerPointer*>(self)->press(button, state == WL_POINTER_BUTTON_STATE_PRESSED);
            },
        .axis = [](void*, wl_pointer*, std::uint32_t, std::uint32_t, wl_fixed_t) {},
        .frame = [](void*, wl_pointer*) {},
        .axis_source = [](void*, wl_pointer*, std::uint32_t) {},
        .axis_stop = [](void*, wl_pointer*, std::uint32_t, std::uint32_t) {},
        .axis_discrete = [](void*, wl_pointer*, std::uint32_t, std::int32_t) {},
    };
    static constexpr zwp_relative_pointer_v1_listener relativeListener{
        .relative_motion = [](void* self, zwp_relative_pointer_v1*, std::uint32_t, std::uint32_t,
                              wl_fixed_t x, wl_fixed_t y, wl_fixed_t,
                              wl_fixed_t) { static_cast<LayerPointer*>(self)->moveBy(pointOf(x, y)); }};
    if (!hasPointer) {
        release();
        m_relative.reset();
        m_pointer.reset();
    } else if (!m_pointer) {
        m_pointer.reset(wl_seat_get_pointer(m_connection.seat.get()));
        wl_pointer_add_listener(m_pointer.get(), &listener, this);
        if (m_connection.relativePointers) {
            m_relative.reset(zwp_relative_pointer_manager_v1_get_relative_pointer(
                m_connection.relativePointers.get(), m_pointer.get()));
            zwp_relative_pointer_v1_add_listener(m_relative.get(), &relativeListener, this);
        }
    }
}

void LayerPointer::enter(std::uint32_t serial, const QPointF& position)
{
    release();
    m_enterSerial = serial;
    m_position = position;
    send(QEvent::MouseMove, Qt::NoButton);
    showCursor();
}

/// Whoever takes the pointer away in the middle, such as a locked screen, doesn't give the buttons back.
void LayerPointer::release()
{
    for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton}) {
        if (m_buttons.testFlag(button)) {
            m_buttons.setFlag(button, false);
            send(QEvent::MouseButtonRelease, button);
        }
    }
}

void LayerPointer::leave()
{
    release();
    QEvent event(QEvent::Leave);
    QApplication::sendEvent(&m_widget, &event);
}

void LayerPointer::moveTo(const QPointF& position)
{
    // While a button is held the surface may be moving, and compositors count from where it is, or from where
    // it was when the button went down.
    if (m_buttons != Qt::NoButton)
        return;
    m_position = position;
    send(QEvent::MouseMove, Qt::NoButton);
    showCursor();
}

void LayerPointer::moveBy(const QPointF& distance)
{
    if (m_buttons == Qt::NoButton)
        return;
    const QPointF place = m_widget.pos() + m_position + distance;
    m_position += distance;
    send(QEvent::MouseMove, Qt::NoButton);
    // The widget may have gone along.
    m_position = place - m_widget.pos();
}

void LayerPointer::press(std::uint32_t code, bool isDown)
{
    const Qt::MouseButton button = buttonOf(code);
    m_buttons.setFlag(button, isDown);
    if (!isDown) {
        send(QEvent::MouseButtonRelease, button);
        return;
    }
    const QPointF place = m_widget.pos() + m_position;
    const QStyleHints& hints = *QGuiApplication::styleHints();
    const bool isSecond = m_sincePress.isValid() &&
                          m_sincePress.elapsed() < hints.mouseDoubleClickInterval() &&
                          button == m_pressedButton &&
                          (place - m_pressed).manhattanLength() <= hints.mouseDoubleClickDistance();
    m_pressed = place;
    m_pressedButton = button;
    if (isSecond)
        m_sincePress.invalidate();
    else
        m_sincePress.start();
    send(isSecond ? QEvent::MouseButtonDblClick : QEvent::MouseButtonPress, button);
}

void LayerPointer::send(QEvent::Type type, Qt::MouseButton button)
{
    QMouseEvent event(type, m_position, m_position, m_widget.pos() + m_position, button, m_buttons,
                      Qt::NoModifier);
    QApplication::sendEvent(&m_widget, &event);
}

void LayerPointer::showCursor()
{
    const QWidget* const under = m_widget.childAt(m_position.toPoint());
    const Qt::CursorShape shape = (under ? under : &m_widget)->cursor().shape();
    if (shape == m_shape && m_shownSerial == m_enterSerial)
        return;
    m_shape = shape;
    m_shownSerial = m_enterSerial;
    const int wanted = m_connection.scaleOf(nullptr);
    if (!m_theme) {
        const QByteArray name = qgetenv("XCURSOR_THEME");
        const int size = qEnvironmentVariableIntValue("XCURSOR_SIZE");
        m_theme.reset(wl_cursor_theme_load(name.isEmpty() ? nullptr : name.constData(),
                                           wanted * (size > 0 ? size : usualCursorSize),
                                           m_connection.shm.get()));
        m_cursorSurface.reset(wl_compositor_create_surface(m_connection.compositor.get()));
    }
    const auto find = [&](const char* name) {
        return m_theme ? wl_cursor_theme_get_cursor(m_theme.get(), name) : nullptr;
    };
    // Themes have the names of today, those of old, or both.
    const bool isVertical = shape == Qt::SizeVerCursor;
    wl_cursor* cursor = find(isVertical ? "ns-resize" : "default");
    if (!cursor)
        cursor = find(isVertical ? "sb_v_double_arrow" : "left_ptr");
    if (!cursor || cursor->image_count == 0)
        return;
    wl_cursor_image* const image = cursor->images[0];
    // The protocol takes no other.
    const auto isWhole = [wanted](std::uint32_t pixels) {
        return pixels % static_cast<std::uint32_t>(wanted) == 0;
    };
    const int scale = isWhole(image->width) && isWhole(image->height) ? wanted : 1;
    const auto points = [scale](std::uint32_t pixels) { return static_cast<std::int32_t>(pixels) / scale; };
    wl_surface_set_buffer_scale(m_cursorSurface.get(), scale);
    wl_surface_attach(m_cursorSurface.get(), wl_cursor_image_get_buffer(image), 0, 0);
    wl_surface_damage_buffer(m_cursorSurface.get(), 0, 0, static_cast<std::int32_t>(image->width),
                             static_cast<std::int32_t>(image->height));
    wl_surface_commit(m_cursorSurface.get());
    wl_pointer_set_cursor(m_pointer.get(), m_enterSerial, m_cursorSurface.get(), points(image->hotspot_x),
                          points(image->hotspot_y));
}

} // namespace velmor
