// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <utility>

namespace velmor {

/// Whether a main-thread object still exists; may be copied to any thread and outlive the object.
class LifetimeWatch
{
public:
    explicit LifetimeWatch(std::weak_ptr<const char> token)
        : m_token(std::move(token))
    {}

    /// A closure that does nothing once the object is gone. To be run on the main thread.
    template <typename Function>
    auto guarded(Function function) const
    {
        return [token = m_token, function = std::move(function)]() mutable {
            if (!token.expired())
                function();
        };
    }

private:
    std::weak_ptr<const char> m_token;
};

/// A member of a main-thread object whose closures may outlive it.
class Lifetime
{
public:
    Lifetime() = default;
    Lifetime(const Lifetime&) = delete;
    Lifetime& operator=(const Lifetime&) = delete;

    LifetimeWatch watch() const { return LifetimeWatch(m_token); }

    /// A closure that does nothing once the object is gone. To be run on the main thread.
    template <typename Function>
    auto guarded(Function function) const
    {
        return watch().guarded(std::move(function));
    }

private:
    std::shared_ptr<const char> m_token = std::make_shared<const char>();
};

} // namespace velmor
