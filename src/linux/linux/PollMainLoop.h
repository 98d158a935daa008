// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <linux/DescriptorMainLoop.h>

namespace velmor {

/// The main loop of programs without a desktop.
class PollMainLoop final : public DescriptorMainLoop
{
public:
    /// Runs on the calling thread, the main thread, until quit().
    void run();

    /// Ends run() before it waits again or runs another timer. Main thread.
    void quit();

private:
    bool m_quits = false;
};

} // namespace velmor
