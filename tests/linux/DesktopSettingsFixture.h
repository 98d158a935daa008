// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <support/PrivateAudioSession.h>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdlib>

namespace velmor::test {

/// A session with a bus of its own and a loop of Qt's, for what follows a desktop's settings.
class DesktopSettingsFixture : public testing::Test
{
protected:
    void SetUp() override
    {
        // Without the packages of a private session there is no bus to test on; where CI runs there is.
        if (!session.problem().empty() && !packagesMustBeThere())
            GTEST_SKIP() << "no session can be started here: " << session.problem();
        ASSERT_EQ(session.problem(), "");
        // The developer's own desktop is none of the test's.
        ::unsetenv("XDG_CURRENT_DESKTOP");
        ::setenv("GSETTINGS_BACKEND", "keyfile", 1);
    }

    /// Until it is so, or so many milliseconds have passed.
    template <typename Question>
    static void runUntil(Question question, int milliseconds)
    {
        QElapsedTimer timer;
        timer.start();
        while (!question() && timer.elapsed() < milliseconds)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }

    PrivateAudioSession session;

private:
    int m_argumentCount = 1;
    char m_name[5] = "test";
    char* m_arguments[2] = {m_name, nullptr};
    QCoreApplication m_application{m_argumentCount, m_arguments};
};

} // namespace velmor::test
