// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <linux/DescriptorMainLoop.h>

#include <memory>

namespace velmor {

/// The main loop of the desktop program: a guest in Qt's event loop on the thread that it is made on.
/// The Qt application exists before it and runs the events.
class QtMainLoop final : public DescriptorMainLoop
{
public:
    QtMainLoop();
    ~QtMainLoop() override;

private:
    class Notifier;
    std::unique_ptr<Notifier> m_notifier;
};

} // namespace velmor
