// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Date.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace velmor {

using DefaultsData = std::vector<std::byte>;

/// The bytes of a text, for records that are stored as one.
inline DefaultsData dataOf(std::string_view text)
{
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

/// The text that the bytes are, as long as the data lives.
inline std::string_view textOf(const DefaultsData& data)
{
    return {reinterpret_cast<const char*>(data.data()), data.size()};
}

/// Texts by text.
using DefaultsDictionary = std::map<std::string, std::string, std::less<>>;

/// A value of the store. The types are kept apart: a Boolean is never read as a number, nor an
/// integer as a double.
using DefaultsValue =
    std::variant<bool, std::int64_t, double, std::string, DefaultsData, Date, DefaultsDictionary>;

/// Values by key, for those who only look. A key that is missing differs from every stored value.
class DefaultsReader
{
public:
    virtual ~DefaultsReader() = default;

    /// The value under the key; absent if there is none.
    virtual std::optional<DefaultsValue> value(std::string_view key) const = 0;

    /// The value under the key if it has exactly that type, else absent.
    template <typename Type>
    std::optional<Type> get(std::string_view key) const
    {
        const auto stored = value(key);
        const Type* typed = stored ? std::get_if<Type>(&*stored) : nullptr;
        return typed ? std::optional<Type>(*typed) : std::nullopt;
    }
};

/// The user's settings and small persistent state. Main thread.
class DefaultsStore : public DefaultsReader
{
public:
    /// Visible to value() at once.
    virtual void set(std::string_view key, DefaultsValue value) = 0;

    /// Does nothing if there is no such key.
    virtual void remove(std::string_view key) = 0;
};

/// The number if it is finite and above 0, for settings to which 0 and less mean that they aren't there.
inline std::optional<double> aboveZero(std::optional<double> stored)
{
    return stored && *stored > 0 && std::isfinite(*stored) ? stored : std::nullopt;
}

} // namespace velmor
