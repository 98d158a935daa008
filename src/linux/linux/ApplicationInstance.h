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
        first,      ///< Others find this one from now on.
        another,    ///< There is a running one; it has been activated.
        unanswered, ///< There is a running one that does not answer; a line has been printed.
        alone,      ///< Without a session bus, or its leave, nobody can be found.
    };

    struct Callbacks
    {
        std::function<void()> onActivate; ///< Somebody wants to see the program.
        std::function<void()> onBusLost;  ///< The session bus has gone away.
    };

    explicit ApplicationInstance(Callbacks callbacks);
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
