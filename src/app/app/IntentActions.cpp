// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/IntentActions.h>

#include <app/VelmorIntents.h>

#include <algorithm>

namespace velmor {

IntentActions::IntentActions(const VelmorIntentSupport& support, NotificationCenter& center)
    : m_support(support)
    , m_center(center)
{}

void IntentActions::perform(std::string_view name)
{
    const auto shortcut = std::ranges::find(velmorAppShortcuts, name, &VelmorAppShortcut::intent);
    if (shortcut == velmorAppShortcuts.end())
        return;
    NotificationRequest answer;
    answer.identifier = "velmor.intent";
    answer.title = shortcut->shortTitle;
    try {
        answer.body = performIntent(name, m_support).value_or("");
    } catch (const VelmorIntentError& error) {
        answer.body = error.what();
    }
    m_center.add(answer);
}

} // namespace velmor
