// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Observable.h>

#include <functional>

namespace velmor {

/// Whether the user wants to be left alone, as the desktop has it. Main thread.
class DoNotDisturb
{
public:
    virtual ~DoNotDisturb() = default;

    virtual bool isOn() const = 0;

    /// Calls back on the main thread after each change.
    [[nodiscard]] virtual Subscription onChange(const std::function<void(bool isOn)>& callback) = 0;
};

} // namespace velmor
