// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPoint>
#include <QSize>

#include <functional>
#include <memory>

class QWidget;

namespace velmor {

/// Where a Wayland compositor has a layer shell, a place above all windows, those in full screen too, on all
/// workspaces and never with the keyboard. A widget that is on no screen of Qt's (WA_DontShowOnScreen) is
/// drawn there and gets the pointer: Qt has no such windows of its own. Main thread.
class LayerSurface
{
public:
    /// Whether the compositor of this session has a layer shell; false on X11.
    static bool isOffered();

    /// Shows \p content, which outlives it.
    /// \param place    of the top left corner, from that of the part of the output that no bar takes.
    /// \param onClosed when the compositor takes the place away, or ends.
    LayerSurface(QWidget& content, const QPoint& place, std::function<void()> onClosed);
    ~LayerSurface();

    void move(const QPoint& place);

    /// The size of the output that it is on, or while that isn't known of the smallest; empty without any.
    QSize room() const;

    /// The content has another size.
    void resize();

    /// The content looks different.
    void redraw();

private:
    class Surface;
    std::unique_ptr<Surface> m_surface;
};

} // namespace velmor
