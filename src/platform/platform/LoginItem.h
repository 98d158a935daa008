// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace velmor {

/// The program's entry among what starts with the user's desktop. Main thread.
class LoginItem
{
public:
    virtual ~LoginItem() = default;

    virtual bool isEnabled() const = 0;

    /// \return whether it is registered now.
    virtual bool registerItem() = 0;

    /// Also for an item that is not there. \return whether it is gone now.
    virtual bool unregisterItem() = 0;
};

/// For programs that don't start with the desktop.
class NoLoginItem final : public LoginItem
{
public:
    bool isEnabled() const override { return false; }
    bool registerItem() override { return false; }
    bool unregisterItem() override { return true; }
};

} // namespace velmor
