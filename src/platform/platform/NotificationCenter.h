// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace velmor {

/// How much a notification may intrude.
enum class InterruptionLevel {
    standard,      ///< The ordinary one.
    timeSensitive, ///< Shown also while the user doesn't want to be disturbed.
};

enum class NotificationSound {
    standard,
    critical, ///< Heard also where sounds are turned down.
};

/// A button on a notification.
struct NotificationAction
{
    enum class Kind { plain, destructive, foreground };

    std::string identifier;
    std::string title;
    Kind kind = Kind::plain;

    bool operator==(const NotificationAction&) const = default;
};

/// A kind of notification, with its buttons.
struct NotificationCategory
{
    std::string identifier;
    std::vector<NotificationAction> actions;

    bool operator==(const NotificationCategory&) const = default;
};

/// One notification, to be shown at once.
struct NotificationRequest
{
    std::string identifier; ///< Replaces an earlier one of the same identifier.
    std::string categoryIdentifier;
    std::string title;
    std::string subtitle; ///< Empty for none.
    std::string body;
    NotificationSound sound = NotificationSound::standard;
    InterruptionLevel interruptionLevel = InterruptionLevel::standard;
    std::map<std::string, std::string> userInfo; ///< Comes back with the response.

    bool operator==(const NotificationRequest&) const = default;
};

/// What the user did with a notification.
struct NotificationResponse
{
    std::string actionIdentifier; ///< One of the category's actions, or another one for a plain click.
    std::string categoryIdentifier;
    std::map<std::string, std::string> userInfo;
};

/// How a notification shows while the program itself is in front.
struct NotificationPresentation
{
    bool banner = false;
    bool sound = false;

    bool operator==(const NotificationPresentation&) const = default;
};

/// Who is asked and told about notifications. Called on the main thread.
class NotificationDelegate
{
public:
    virtual NotificationPresentation presentationInFront() const = 0;

    /// \param completion is called when the response has been dealt with.
    virtual void respond(const NotificationResponse& response, const std::function<void()>& completion) = 0;

protected:
    ~NotificationDelegate() = default;
};

/// The desktop's notifications. A user who refuses them sees nothing, and nobody is told of it. Main
/// thread.
class NotificationCenter
{
public:
    virtual ~NotificationCenter() = default;

    /// \param delegate outlives the centre or is taken back with nullptr.
    virtual void setDelegate(NotificationDelegate* delegate) = 0;

    /// Asks the user for the right to show alerts, to play sounds and to set badges.
    virtual void requestAuthorization() = 0;

    virtual void setCategories(std::vector<NotificationCategory> categories) = 0;

    virtual void add(const NotificationRequest& request) = 0;
};

} // namespace velmor
