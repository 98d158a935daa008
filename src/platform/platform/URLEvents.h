// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Observable.h>

#include <functional>
#include <string>
#include <vector>

namespace velmor {

/// What the desktop wants this program to open. Main thread.
class URLEvents
{
public:
    virtual ~URLEvents() = default;

    /// Calls back on the main thread with the texts that came together, in their order. They may be anything.
    [[nodiscard]] virtual Subscription
    onOpen(const std::function<void(const std::vector<std::string>&)>& callback) = 0;
};

} // namespace velmor
