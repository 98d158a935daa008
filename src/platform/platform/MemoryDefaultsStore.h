// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/DefaultsStore.h>

#include <functional>
#include <map>
#include <string>
#include <utility>

namespace velmor {

/// A defaults store that lives in memory only.
class MemoryDefaultsStore final : public DefaultsStore
{
public:
    using Values = std::map<std::string, DefaultsValue, std::less<>>;

    MemoryDefaultsStore() = default;

    explicit MemoryDefaultsStore(Values values)
        : m_values(std::move(values))
    {}

    std::optional<DefaultsValue> value(std::string_view key) const override
    {
        const auto found = m_values.find(key);
        return found != m_values.end() ? std::optional(found->second) : std::nullopt;
    }

    void set(std::string_view key, DefaultsValue value) override
    {
        const auto found = m_values.find(key);
        if (found != m_values.end())
            found->second = std::move(value);
        else
            m_values.emplace(key, std::move(value));
    }

    void remove(std::string_view key) override
    {
        const auto found = m_values.find(key);
        if (found != m_values.end())
            m_values.erase(found);
    }

    const Values& values() const { return m_values; }

private:
    Values m_values;
};

} // namespace velmor
