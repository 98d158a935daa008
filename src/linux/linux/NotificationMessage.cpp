// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/NotificationMessage.h>

#include <base/Markup.h>

namespace velmor {

namespace {

constexpr std::uint8_t normalUrgency = 1;
constexpr std::uint8_t criticalUrgency = 2;

} // namespace

NotificationMessage notificationMessage(const NotificationRequest& request,
                                        const NotificationCategory& category,
                                        const NotificationCapabilities& capabilities)
{
    NotificationMessage message;
    message.summary = request.title;
    // There is no subtitle on this desktop: it leads the body.
    const std::string text = request.subtitle.empty() ? request.body : request.subtitle + "\n" + request.body;
    message.body = capabilities.bodyMarkup ? markupEscaped(text) : text;
    if (capabilities.actions) {
        for (const NotificationAction& action : category.actions) {
            message.actions.push_back(action.identifier);
            message.actions.push_back(action.title);
        }
    }
    message.urgency =
        request.interruptionLevel == InterruptionLevel::timeSensitive ? criticalUrgency : normalUrgency;
    message.soundName =
        request.sound == NotificationSound::critical ? "dialog-warning" : "message-new-instant";
    message.isSoundOurs = !capabilities.sound;
    return message;
}

} // namespace velmor
