// SPDX-License-Identifier: GPL-3.0-or-later
// The sizes and colours that all views are drawn with: one grid of 4, five sizes of type, one family with
// figures of equal width, and each colour once for light and once for dark.
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

enum class TextStyle {
    caption, ///< 10: marks of an axis, small print
    label,   ///< 12: what a value is of, and running text
    heading, ///< 15: of a section
    value,   ///< 18: a figure
    title    ///< 26: of a page
};

enum class TextWeight { regular, strong };

/// The font of a style. Its figures have one width. Laid out without hinting, so that a text is as wide on
/// paper as on the screen.
QFont fontOf(TextStyle style, TextWeight weight = TextWeight::regular);

enum class Appearance { light, dark };

/// What the desktop's palette asks for.
Appearance appearanceOf(const QPalette& palette);

struct Shades
{
    QColor page;
    QColor text;
    QColor secondaryText;
    QColor hairline;
    QColor gray;
    QColor green;
    QColor orange;
    QColor blue;

    // As texts, which need more contrast.
    QColor greenText;
    QColor yellowText;
    QColor orangeText;

    // Of the zones. In grey they keep an order: under is lightest, then silent, on target and over.
    QColor silent;   ///< A gray.
    QColor under;    ///< A yellow.
    QColor onTarget; ///< A green.
    QColor over;     ///< A red.

    QColor zone(Zone zone) const;
};

const Shades& shadesOf(Appearance appearance);

/// \param opacity 0 to 1
QColor withOpacity(QColor colour, double opacity);

/// What a colour of that opacity looks like on a page.
QColor mixed(const QColor& colour, const QColor& page, double opacity);

} // namespace velmor
