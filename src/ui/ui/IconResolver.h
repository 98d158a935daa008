// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QIcon>
#include <QPainter>
#include <QRectF>

#include <string_view>
#include <vector>

namespace velmor {

/// The program's own icons, by the names of the symbols that they stand for.
class IconResolver
{
public:
    /// Draws a symbol in a colour. A symbol of no known name is a programming error.
    static void draw(QPainter& painter, const QRectF& place, std::string_view symbol, const QColor& colour);

    /// The names that there are.
    static std::vector<std::string_view> symbols();

    /// Draws the program's own icon.
    static void drawApplicationIcon(QPainter& painter, const QRectF& place);

    /// The same for windows and dialogs.
    static QIcon applicationIcon();

    /// A symbol for a button, sharp at every scale.
    static QIcon icon(std::string_view symbol, const QColor& colour);
};

} // namespace velmor
