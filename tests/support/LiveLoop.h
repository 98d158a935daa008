// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <linux/PollMainLoop.h>

#include <functional>

namespace velmor::test {

/// A main loop in real time, for tests with real devices.
struct LiveLoop
{
    PollMainLoop loop;

    /// Lets the loop run until the condition holds; false if it never does.
    bool runUntil(const std::function<bool()>& condition, double limitSeconds = 10)
    {
        bool holds = false;
        const Timer check = loop.every(0.01, [&] {
            holds = condition();
            if (holds)
                loop.quit();
        });
        bool isOver = false;
        const Timer limit = loop.every(limitSeconds, [&] {
            isOver = true;
            loop.quit();
        });
        loop.run();
        return holds && !isOver;
    }

    void runFor(double seconds)
    {
        const Timer timer = loop.every(seconds, [this] { loop.quit(); });
        loop.run();
    }
};

} // namespace velmor::test
