// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/PollMainLoop.h>

#include <poll.h>

namespace velmor {

void PollMainLoop::run()
{
    m_quits = false;
    while (true) {
        dispatch();
        if (m_quits)
            return;
        pollfd descriptors[] = {{descriptor(), POLLIN, 0}};
        ::poll(descriptors, 1, -1);
    }
}

void PollMainLoop::quit()
{
    m_quits = true;
    leaveDispatch();
}

} // namespace velmor
