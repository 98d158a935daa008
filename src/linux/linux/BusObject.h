// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/BusInterface.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace velmor {

/// An object on the session bus that offers interfaces to other programs, and describes itself to them.
/// Calls are answered in turns of Qt's event loop. One with other types than the method's is an error, and
/// so is one that nothing offers. Main thread.
class BusObject
{
public:
    /// \param path where it is found, at the names of this program's connection.
    explicit BusObject(const std::string& path);
    ~BusObject();
    BusObject(const BusObject&) = delete;
    BusObject& operator=(const BusObject&) = delete;

    /// Offers one more interface. A dictionary or an array of anything (a{sv}, av) arrives empty.
    void offer(BusInterface interface);

    /// Tells whoever listens. \param values as the signal's arguments are.
    void emitSignal(std::string_view interface, std::string_view name, const BusValues& values);

    /// The unique bus name of whoever makes the call that is being answered.
    const std::string& caller() const;

private:
    class Service;
    std::unique_ptr<Service> m_service;
};

} // namespace velmor
