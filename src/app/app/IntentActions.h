// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/VelmorIntentSupport.h>
#include <platform/NotificationCenter.h>

#include <string_view>

namespace velmor {

/// Performs intents that the user has chosen where nothing shows their answer: it comes as a notification.
/// Main thread.
class IntentActions
{
public:
    IntentActions(const VelmorIntentSupport& support, NotificationCenter& center);

    /// Performs the intent of that name with no parameter given. Does nothing for a name that none has.
    void perform(std::string_view name);

private:
    const VelmorIntentSupport& m_support;
    NotificationCenter& m_center;
};

} // namespace velmor
