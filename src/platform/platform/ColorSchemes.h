// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Observable.h>

#include <functional>
#include <optional>

namespace velmor {

/// Whether the desktop is dark, as far as its own settings tell. Main thread.
class ColorSchemes
{
public:
    virtual ~ColorSchemes() = default;

    /// Absent where the user has asked for nothing: what windows look like by themselves is right then.
    virtual std::optional<bool> areWindowsDark() const = 0;

    /// Of the panels that tray items are shown in. Absent where they are as the windows are.
    virtual std::optional<bool> arePanelsDark() const = 0;

    /// Calls back on the main thread after each change.
    [[nodiscard]] virtual Subscription onChange(const std::function<void()>& callback) = 0;
};

} // namespace velmor
