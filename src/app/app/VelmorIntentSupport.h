// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>

#include <memory>

namespace velmor {

/// How the automation reaches the hub. Main thread.
class VelmorIntentSupport
{
public:
    /// Once, when the hub has started.
    void registerAppState(const AppState& appState) { m_appState = appState.weakReference(); }

    /// The hub. \throws VelmorIntentError before there is one, and after.
    std::shared_ptr<AppState> resolve() const;

    /// The hub; null before there is one, and after.
    std::shared_ptr<AppState> appState() const { return m_appState.lock(); }

private:
    std::weak_ptr<AppState> m_appState;
};

} // namespace velmor
