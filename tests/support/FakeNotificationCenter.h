// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/NotificationCenter.h>

#include <string>
#include <utility>
#include <vector>

namespace velmor::test {

/// Records what it is given.
struct FakeNotificationCenter final : NotificationCenter
{
    std::vector<std::string> calls;
    NotificationDelegate* delegate = nullptr;
    std::vector<NotificationCategory> categories;
    std::vector<NotificationRequest> requests;

    void setDelegate(NotificationDelegate* theDelegate) override
    {
        calls.emplace_back("setDelegate");
        delegate = theDelegate;
    }
    void requestAuthorization() override { calls.emplace_back("requestAuthorization"); }
    void setCategories(std::vector<NotificationCategory> theCategories) override
    {
        calls.emplace_back("setCategories");
        categories = std::move(theCategories);
    }
    void add(const NotificationRequest& request) override { requests.push_back(request); }

    /// The user chooses an action. \return whether the completion was called.
    bool respond(const NotificationRequest& request, const std::string& action) const
    {
        bool isComplete = false;
        delegate->respond({action, request.categoryIdentifier, request.userInfo}, [&] { isComplete = true; });
        return isComplete;
    }

    std::vector<std::string> identifiers() const
    {
        std::vector<std::string> identifiers;
        for (const NotificationRequest& request : requests)
            identifiers.push_back(request.identifier);
        return identifiers;
    }
};

} // namespace velmor::test
