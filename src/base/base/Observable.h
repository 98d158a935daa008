// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <boost/signals2/connection.hpp>
#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal_type.hpp>

#include <functional>
#include <utility>

namespace velmor {

/// Keeps a subscription alive; ends it when destroyed.
using Subscription = boost::signals2::scoped_connection;

/// The base of every object that views and the hub observe. All of it lives on the main thread.
class ObservableObject
{
public:
    ObservableObject() = default;
    ObservableObject(const ObservableObject&) = delete;
    ObservableObject& operator=(const ObservableObject&) = delete;

    /// Calls back after each assignment to any of the object's published values.
    [[nodiscard]] Subscription onChange(const std::function<void()>& callback)
    {
        return m_changed.connect(callback);
    }

protected:
    ~ObservableObject() = default;

    /// Announces a change that is not an assignment to a published value.
    void announceChange() { m_changed(); }

private:
    template <typename Value>
    friend class Published;

    // Main thread only: the signal needs no lock of its own.
    using Changed = boost::signals2::signal_type<
        void(), boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>>::type;
    Changed m_changed;
};

/// A value that announces each assignment, of an equal value too: first to its own subscribers, then
/// through the common change signal of the object that it belongs to. Subscribers run in the middle of
/// what assigns: one that wants to act on the services, not only to look, posts to the main loop.
template <typename Value>
class Published
{
public:
    Published(ObservableObject& owner, Value initial)
        : m_owner(owner)
        , m_value(std::move(initial))
    {}
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    Published& operator=(Value value)
    {
        m_value = std::move(value);
        announce();
        return *this;
    }

    /// Changes the value where it lies and announces it once: for values that are large to copy.
    template <typename Change>
    void update(Change change)
    {
        change(m_value);
        announce();
    }

    const Value& get() const { return m_value; }
    operator const Value&() const { return m_value; }

    /// Calls back after each assignment, with the value; not with the present one.
    [[nodiscard]] Subscription subscribe(const std::function<void(const Value&)>& callback)
    {
        return m_changed.connect(callback);
    }

private:
    using Changed = typename boost::signals2::signal_type<
        void(const Value&), boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>>::type;

    void announce()
    {
        // Most values have no subscriber of their own most of the time, and an emission costs more
        // than the question.
        if (!m_changed.empty())
            m_changed(m_value);
        if (!m_owner.m_changed.empty())
            m_owner.m_changed();
    }

    ObservableObject& m_owner;
    Value m_value;
    Changed m_changed;
};

} // namespace velmor
