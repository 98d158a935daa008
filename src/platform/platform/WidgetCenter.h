// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace velmor {

/// The widgets that draw from the shared record, each in a process of its own. Main thread.
class WidgetCenter
{
public:
    virtual ~WidgetCenter() = default;

    /// Tells them to read the record again.
    virtual void reloadAllTimelines() = 0;
};

} // namespace velmor
