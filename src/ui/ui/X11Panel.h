// SPDX-License-Identifier: GPL-3.0-or-later
// What Qt can't ask of a window manager. Nothing happens where there is no X server.
#pragma once

class QWidget;

namespace velmor {

/// For a window before it is shown: above those in full screen, where the manager allows it.
void keepAboveFullScreen(QWidget& window);

/// For a window that is shown: on every desktop.
void showOnAllDesktops(QWidget& window);

} // namespace velmor
