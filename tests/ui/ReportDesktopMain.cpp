// SPDX-License-Identifier: GPL-3.0-or-later
#include "ReportDesktop.h"

#include <QApplication>

#include <gtest/gtest.h>

#include <cstdlib>

int main(int argumentCount, char** arguments)
{
    testing::InitGoogleTest(&argumentCount, arguments);
    // The list of the tests is asked for without a screen.
    if (testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS();
    velmor::test::Desktop desktop;
    velmor::test::desktop = &desktop;
    if (!desktop.problem.empty())
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    const QApplication application(argumentCount, arguments);
    return RUN_ALL_TESTS();
}
