// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/Style.h>

#include <QPalette>

namespace velmor::test {

/// A desktop's palette of that kind.
inline QPalette paletteOf(Appearance appearance)
{
    QPalette palette;
    const bool isDark = appearance == Appearance::dark;
    palette.setColor(QPalette::Window, isDark ? QColor(30, 31, 34) : QColor(239, 239, 239));
    palette.setColor(QPalette::WindowText, isDark ? QColor(235, 235, 235) : QColor(0, 0, 0));
    return palette;
}

} // namespace velmor::test
