// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/MenuBarDisplayMode.h>
#include <base/Observable.h>
#include <base/Vocabulary.h>
#include <platform/DefaultsStore.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace velmor {

/// How a setting's value is kept in the defaults store: as it is, unless said otherwise.
template <typename Value>
struct StoredForm
{
    using Type = Value;
    static Value encoded(const Value& value) { return value; }
    static std::optional<Value> decoded(const Value& stored) { return stored; }
};

template <>
struct StoredForm<MenuBarDisplayMode>
{
    using Type = std::string;
    static std::string encoded(MenuBarDisplayMode mode)
    {
        return std::string(rowOf(menuBarDisplayModes, mode).rawValue);
    }
    static std::optional<MenuBarDisplayMode> decoded(const std::string& stored)
    {
        return valueFromRaw(menuBarDisplayModes, stored);
    }
};

/// One row of the table of settings.
template <typename Value>
struct SettingRow
{
    std::string_view key;
    Value defaultValue;

    /// Stored values that it doesn't accept read as the default; where there is none all are accepted.
    bool (*isUsable)(const Value&) = nullptr;

    /// What the key holds; absent where it is missing, of another type, or not usable.
    std::optional<Value> stored(const DefaultsStore& defaults) const
    {
        const auto form = defaults.get<typename StoredForm<Value>::Type>(key);
        const auto value = form ? StoredForm<Value>::decoded(*form) : std::nullopt;
        return value && (!isUsable || isUsable(*value)) ? value : std::nullopt;
    }

    /// The setting's value as of the store. Where that has none it is the default, and the key stays as it
    /// is.
    Value read(const DefaultsStore& defaults) const { return stored(defaults).value_or(defaultValue); }

    void write(DefaultsStore& defaults, const Value& value) const
    {
        defaults.set(key, StoredForm<Value>::encoded(value));
    }
};

/// A preference of the user. Reads its key at construction. Each assignment, of an equal value too,
/// announces the value, writes the key, and then does what the change is to bring about.
template <typename Value>
class Setting
{
public:
    Setting(ObservableObject& owner, DefaultsStore& defaults, const SettingRow<Value>& row)
        : m_defaults(defaults)
        , m_row(row)
        , m_value(owner, row.read(defaults))
    {}
    Setting(const Setting&) = delete;
    Setting& operator=(const Setting&) = delete;

    Setting& operator=(Value value)
    {
        m_value = std::move(value);
        if (beforeWriting)
            beforeWriting(m_value);
        m_row.write(m_defaults, m_value);
        if (afterWriting)
            afterWriting(m_value);
        return *this;
    }

    const Value& get() const { return m_value.get(); }
    operator const Value&() const { return m_value.get(); }

    std::function<void(const Value&)> beforeWriting;
    std::function<void(const Value&)> afterWriting;

private:
    DefaultsStore& m_defaults;
    const SettingRow<Value>& m_row;
    Published<Value> m_value;
};

} // namespace velmor
