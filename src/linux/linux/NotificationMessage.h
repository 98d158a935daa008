// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/NotificationCenter.h>

#include <cstdint>
#include <string>
#include <vector>

namespace velmor {

/// What a notification server can do, as far as it matters here.
struct NotificationCapabilities
{
    bool actions = false;
    bool bodyMarkup = false;
    bool sound = false;

    bool operator==(const NotificationCapabilities&) const = default;
};

/// A notification as the server gets it.
struct NotificationMessage
{
    std::string summary;
    std::string body;
    std::vector<std::string> actions; ///< Key and label in turn.
    std::uint8_t urgency = 1;         ///< 1 normal, 2 critical: that one passes Do Not Disturb.
    std::string soundName;            ///< In the desktop's sound theme.
    bool isSoundOurs = false;         ///< The server doesn't play it.

    bool operator==(const NotificationMessage&) const = default;
};

/// \param category of the request; an empty one for a category that nobody has registered.
NotificationMessage notificationMessage(const NotificationRequest& request,
                                        const NotificationCategory& category,
                                        const NotificationCapabilities& capabilities);

} // namespace velmor
