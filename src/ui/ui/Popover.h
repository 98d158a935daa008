// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/MenuBarView.h>

#include <QElapsedTimer>
#include <QPoint>
#include <QRect>
#include <QScrollArea>
#include <QWidget>

#include <optional>

namespace velmor {

/// The window of the digest. Opens at a place of the screen, closes on a click outside of it and on Escape.
/// Nothing moves under the pointer while that is in it.
class Popover final : public QWidget
{
public:
    /// \param view becomes the popover's.
    explicit Popover(MenuBarView* view);
    ~Popover() override;

    /// Opens where the user has clicked, or closes what is open.
    /// \param place in logical pixels of the desktop; absent where nobody knows: the popover then stands in
    /// the corner where panels have their items.
    void toggle(const std::optional<QPoint>& place);

    /// Opens in the corner where panels have their items. One that is open stays.
    void openAtTray();

    /// Opens as a small window of its own, for desktops without a tray.
    void openAsWindow();

    /// Where a popover of some size stands: centred on a point, beside it towards the middle of the screen,
    /// and all on the part of the screen that is free.
    static QRect placeAt(const QPoint& point, const QSize& size, const QRect& available);

private:
    void openBeside(const QPoint& place);
    void open(const QPoint& place);
    void takeSize();
    void followPointer();
    void pointerLeft();
    void closeUnfocused();
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;

    MenuBarView* m_view;
    QScrollArea* m_scroll;
    QPoint m_place;
    QElapsedTimer m_sinceClose;
};

} // namespace velmor
