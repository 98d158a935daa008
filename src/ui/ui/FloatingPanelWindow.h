// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/DefaultsStore.h>
#include <ui/FloatingPanelView.h>
#include <ui/LayerSurface.h>

#include <QPoint>
#include <QPropertyAnimation>
#include <QRect>
#include <QWidget>

#include <memory>
#include <optional>
#include <vector>

namespace velmor {

/// The floating panel's window: above all others, on all desktops, and never with the keyboard, so that a
/// click leaves it with the workstation. Moves by its background, is made higher or lower at its bottom
/// edge, closes on a double click, and comes back where it was. Where the compositor has a layer shell it is
/// there, otherwise a window with X11's hints. Main thread.
class FloatingPanelWindow final : public QWidget
{
public:
    static constexpr auto title = "Velmor Measurements";

    FloatingPanelWindow(AppState& appState, DefaultsStore& defaults);

    /// Whether this desktop has a place that is above other windows and without the keyboard. Where it has
    /// none the panel is a window like any other.
    static bool isAboveOthers();

    /// As high as its sections, with the top edge where it is; the user then changes the height alone.
    void resizeToContent();

    QSize sizeHint() const override { return m_view->fittingSize(); }

    /// Where a window that was there stands on the screens that there are now; absent where nobody would
    /// find it. \param screens what is free of each.
    static std::optional<QRect> placeOn(const std::vector<QRect>& screens, const QRect& frame);

private:
    bool event(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

    std::vector<QRect> freeScreens() const;
    void takePlace();
    void followContent();
    void keepInReach();
    void rememberPlace();
    bool isAtBottomEdge(const QPointF& point) const;

    DefaultsStore& m_defaults;
    FloatingPanelView* m_view;
    QWidget* m_edge;   ///< By which the height is changed.
    int m_fitting = 0; ///< The height of the content.
    QPropertyAnimation m_growth;
    const bool m_isOnLayer;
    std::unique_ptr<LayerSurface> m_layer; ///< While it is shown on one.
    std::optional<QPoint> m_grip;          ///< Of the pointer in the window, while that is moved.
    std::optional<int> m_heightAtPress;    ///< While the bottom edge is moved.
    QPoint m_pressed;
};

} // namespace velmor
