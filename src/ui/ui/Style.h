// SPDX-License-Identifier: GPL-3.0-or-later
// The sizes and colours that all views are drawn with: one grid of 4, six sizes of type, one family with
// figures of equal width, three radii, three sizes of icons, and each colour once for light and once for
// dark.
#pragma once

#include <discipline/Zone.h>

#include <QColor>
#include <QFont>
#include <QPalette>

namespace velmor {

/// Logical pixels; points in a PDF.
namespace spacing {
inline constexpr double hair = 4;
inline constexpr double tight = 8;
inline constexpr double item = 12;
inline constexpr double group = 16;
inline constexpr double section = 24;
inline constexpr double page = 28;
} // namespace spacing

/// Of corners, in logical pixels.
namespace radius {
inline constexpr double bar = 3;
inline constexpr double control = 6;
inline constexpr double card = 10;
} // namespace radius

/// Sides of the squares that icons are drawn in, in logical pixels. The drawings have a grid of 24.
namespace iconSide {
inline constexpr double inText = 14;
inline constexpr double control = 18;
inline constexpr double header = 44;
} // namespace iconSide

enum class TextStyle {
    caption, ///< 10: marks of an axis, small print
    label,   ///< 12: what a value is of, and running text
    heading, ///< 15: of a section
    value,   ///< 18: a figure
    title,   ///< 26: of a page
    figure   ///< 30: the figure that the eye is to find first
};

enum class TextWeight { regular, strong };

/// The font of a style. Its figures have one width. Laid out without hinting, so that a text is as wide on
/// paper as on the screen.
QFont fontOf(TextStyle style, TextWeight weight = TextWeight::regular);

enum class Appearance { light, dark };

/// A palette for windows of that appearance.
QPalette paletteFor(Appearance appearance);

/// What the desktop's palette asks for.
Appearance appearanceOf(const QPalette& palette);

/// What a colour says, whatever the appearance.
enum class Tint {
    primary,
    secondary,
    tertiary,
    dim, ///< Of what stands for a value that there isn't: half as strong as secondary.
    accent,
    blue,
    green,
    yellow,
    orange,
    red
};

struct Shades
{
    QColor page;
    QColor text;
    QColor secondaryText;
    QColor tertiaryText;
    QColor hairline;
    QColor control; ///< The ground of what can be pressed.
    QColor controlUnderPointer;
    QColor controlPressed;
    QColor gray;
    QColor green;
    QColor yellow;
    QColor orange;
    QColor red;
    QColor blue;

    // As texts, symbols and thin lines, which need more contrast.
    QColor greenText;
    QColor yellowText;
    QColor orangeText;
    QColor redText;

    // Of the zones. In grey they keep an order: under is lightest, then silent, on target and over.
    QColor silent;   ///< A gray.
    QColor under;    ///< A yellow.
    QColor onTarget; ///< A green.
    QColor over;     ///< A red.

    QColor zone(Zone zone) const;

    /// For texts, symbols and lines.
    QColor ink(Tint tint) const;

    /// For areas.
    QColor fill(Tint tint) const;
};

const Shades& shadesOf(Appearance appearance);

/// \param opacity 0 to 1
QColor withOpacity(QColor colour, double opacity);

/// What a colour of that opacity looks like on a page.
QColor mixed(const QColor& colour, const QColor& page, double opacity);

} // namespace velmor
