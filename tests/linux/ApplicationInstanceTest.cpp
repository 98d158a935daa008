// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/ApplicationInstance.h>
#include <support/PrivateAudioSession.h>

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <cstdlib>
#include <memory>
#include <string>

#include <unistd.h>

namespace velmor {
namespace {

TEST(ApplicationInstance, OneThatWaitsForABusThatHasEndedEndsItself)
{
    test::PrivateAudioSession session;
    if (!session.problem().empty()) {
        ASSERT_FALSE(test::packagesMustBeThere()) << session.problem();
        // Without its packages there is no bus to end; where CI runs they are installed.
        GTEST_SKIP() << "no session can be started here: " << session.problem();
    }
    const auto waitForEver = [&session] {
        int argumentCount = 1;
        std::string name = "velmor";
        char* arguments[] = {name.data(), nullptr};
        const QCoreApplication application(argumentCount, arguments);
        const ApplicationInstance instance({.onActivate = [] {},
                                            .onAction = [](const std::string&) {},
                                            .onBusLost =
                                                [] {
                                                    for (;;)
                                                        ::pause();
                                                }});
        if (instance.role() != ApplicationInstance::Role::first)
            std::_Exit(EXIT_SUCCESS);
        session.endBus();
        QCoreApplication::exec();
    };
    EXPECT_EXIT(waitForEver(), testing::ExitedWithCode(EXIT_FAILURE), "");
}

} // namespace
} // namespace velmor
