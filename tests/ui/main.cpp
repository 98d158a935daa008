// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>

#include <gtest/gtest.h>

#include <cstdlib>

/// Views are tested without a display, in one style on every machine.
int main(int argumentCount, char** arguments)
{
    testing::InitGoogleTest(&argumentCount, arguments);
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::setenv("QT_STYLE_OVERRIDE", "fusion", 1);
    for (const char* name :
         {"QT_QPA_PLATFORMTHEME", "QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS", "QT_FONT_DPI"})
        ::unsetenv(name);
    const QApplication application(argumentCount, arguments);
    return RUN_ALL_TESTS();
}
