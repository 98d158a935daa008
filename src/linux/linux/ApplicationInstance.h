// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

namespace velmor {

/// The one running instance of the program, as the session bus knows it under dev.brightfen.velmor, with
/// the interface org.freedesktop.Application. Needs Qt's event loop. Main thread.
class ApplicationInstance
{
public:
    enum class Role {
        first,   ///< Others find this one from now on.
        another, ///< There is a running one; it has been activated.
        alone,   ///< Without a session bus nobody can be found.
    };

    /// \param onActivate somebody wants to see the program.
    explicit ApplicationInstance(std::function<void()> onActivate);
    ~ApplicationInstance();
    ApplicationInstance(const ApplicationInstance&) = delete;
    ApplicationInstance& operator=(const ApplicationInstance&) = delete;

    Role role() const { return m_role; }

private:
    class Service;
    std::unique_ptr<Service> m_service;
    Role m_role = Role::alone;
};

} // namespace velmor
