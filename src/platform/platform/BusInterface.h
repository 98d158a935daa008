// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace velmor {

/// What a dictionary on the bus holds: b, x, d, s, as.
using BusScalar = std::variant<bool, std::int64_t, double, std::string, std::vector<std::string>>;
using BusDictionary = std::map<std::string, BusScalar>;

/// A value that travels between programs: b, x, d, s, as, ax, a{sv}, aa{sv}.
using BusValue = std::variant<bool, std::int64_t, double, std::string, std::vector<std::string>,
                              std::vector<std::int64_t>, BusDictionary, std::vector<BusDictionary>>;
using BusValues = std::vector<BusValue>;

/// An argument of a method or a signal. The type is one of those of BusValue, as D-Bus writes it.
struct BusArgument
{
    std::string name;
    std::string type;
};

/// A call that can't be answered: the error's name and its text.
class BusError : public std::runtime_error
{
public:
    BusError(std::string name, const std::string& message)
        : std::runtime_error(message)
        , m_name(std::move(name))
    {}

    const std::string& name() const { return m_name; }

private:
    std::string m_name;
};

/// A method that other programs may call.
struct BusMethod
{
    std::string name;
    std::vector<BusArgument> in;
    std::vector<BusArgument> out;

    /// Gets and gives values of exactly these types. \throws BusError
    std::function<BusValues(const BusValues&)> call;
};

struct BusSignal
{
    std::string name;
    std::vector<BusArgument> arguments;
};

/// What an object offers on the bus under one name.
struct BusInterface
{
    std::string name;
    std::vector<BusMethod> methods;
    std::vector<BusSignal> busSignals;
};

} // namespace velmor
