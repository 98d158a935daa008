// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <linux/BusObject.h>
#include <platform/URLEvents.h>

#include <boost/signals2/signal.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmor {

/// The one running instance of the program, as the session bus knows it under dev.brightfen.velmor, with
/// the interface org.freedesktop.Application. Needs Qt's event loop, in whose turns the callbacks come. Main
/// thread.
class ApplicationInstance final : public URLEvents
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
        std::function<void()> onActivate;                        ///< Somebody wants to see the program.
        std::function<void(const std::string& action)> onAction; ///< One of its desktop entry's actions.
        std::function<void()> onBusLost;                         ///< The session bus has gone away.
    };

    explicit ApplicationInstance(Callbacks callbacks);
    ~ApplicationInstance() override;
    ApplicationInstance(const ApplicationInstance&) = delete;
    ApplicationInstance& operator=(const ApplicationInstance&) = delete;

    Role role() const { return m_role; }

    /// A space, which some desktops decode before they hand a URL on, is taken for its percent code.
    Subscription onOpen(const std::function<void(const std::vector<std::string>&)>& callback) override;

    /// Nobody finds this instance any more, and another one may be the first. Who has found it before is told
    /// to try again.
    void giveUpName();

    /// What else the program offers, under the same name.
    BusObject& object() { return m_object; }

private:
    class BusWatch;

    BusInterface application();

    Callbacks m_callbacks;
    boost::signals2::signal<void(const std::vector<std::string>&)> m_opened;
    BusObject m_object;
    std::unique_ptr<BusWatch> m_busWatch;
    Role m_role = Role::alone;
    bool m_isEnding = false;
};

} // namespace velmor
