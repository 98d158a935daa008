// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/WaylandConnection.h>

#include <QElapsedTimer>
#include <QEvent>
#include <QPointF>
#include <QWidget>

namespace velmor {

/// Brings what the pointer does on a surface to the widget that is shown there, and the widget's cursor to
/// the pointer.
class LayerPointer
{
public:
    /// \param widget outlives it.
    LayerPointer(WaylandConnection& connection, QWidget& widget);

private:
    void follow(bool hasPointer);
    void enter(std::uint32_t serial, const QPointF& position);
    void leave();
    void moveTo(const QPointF& position);
    void moveBy(const QPointF& distance);
    void press(std::uint32_t button, bool isDown);
    void send(QEvent::Type type, Qt::MouseButton button);
    void release();
    void showCursor();

    WaylandConnection& m_connection;
    QWidget& m_widget;
    WaylandPointer<wl_pointer> m_pointer;
    WaylandPointer<zwp_relative_pointer_v1> m_relative;
    WaylandPointer<wl_cursor_theme> m_theme;
    WaylandPointer<wl_surface> m_cursorSurface;
    std::uint32_t m_enterSerial = 0;
    std::uint32_t m_shownSerial = 0; ///< Of the entry for which a cursor is shown.
    QPointF m_position;              ///< As the widget's own counts.
    Qt::MouseButtons m_buttons;
    Qt::CursorShape m_shape = Qt::ArrowCursor;
    QElapsedTimer m_sincePress;
    QPointF m_pressed; ///< On the desktop.
    Qt::MouseButton m_pressedButton = Qt::NoButton;
};

} // namespace velmor
