// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/MenuBarLabel.h>
#include <ui/Style.h>

#include <QImage>
#include <QList>

namespace velmor {

/// The best that a kind of tray host can show.
enum class TrayForm {
    wide,         ///< The composed picture, alone: beside squares it would take one of them.
    square,       ///< Squeezes every picture into a square, and takes the one that fits.
    singleSquare, ///< The same, but takes the largest one and scales it down.
    glyphAndLabel ///< Shows a text beside a square picture.
};

/// A square picture of a label: the icon above the number, or the one of them that it shows, as large as it
/// gets. A decimal would not be readable. \param side in pixels.
QImage squareTrayPicture(const MenuBarLabel& label, int side, Appearance panel);

/// The icon alone. \param side in pixels.
QImage trayIconPicture(const MenuBarLabel& label, int side, Appearance panel);

/// What a host is given to choose from. \param scale of the screen.
QList<QImage> trayPictures(const MenuBarLabel& label, TrayForm form, Appearance panel, double scale);

} // namespace velmor
