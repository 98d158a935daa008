// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/MainLoop.h>
#include <integrations/Url.h>
#include <integrations/VelmorURLResponseHelpers.h>
#include <integrations/VelmorXCallbackReply.h>
#include <platform/Workspace.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace velmor {

class AppState;

/// Does what a velmor:// URL asks for, and answers through the return URLs in its query. Keeps nothing from
/// one URL to the next. Main thread.
class VelmorURLDispatcher
{
public:
    VelmorURLDispatcher(MainLoop& loop, Workspace& workspace, std::weak_ptr<AppState> appState);

    /// The one entry point. The scheme has been looked at. A URL without a host is only printed.
    void dispatch(const Url& url);

private:
    /// The value of a parameter: of the first one of that name, and nothing if that has none.
    using Query = std::function<std::optional<std::string>(std::string_view name)>;
    using Reply = VelmorXCallbackReply;

    void handleRead(const Reply& reply, std::string_view name,
                    URLParameters (VelmorURLDispatcher::*params)());
    void handleSessionStart(const Query& query, const Reply& reply);
    void handleSessionEnd(const Reply& reply);
    void handleMonitoringPause(const Query& query, const Reply& reply);
    void handleMonitoringResume(const Reply& reply);
    void replyUnknown(const Reply& reply, const std::string& host,
                      const std::optional<std::string>& subcommand);

    URLParameters splParams();
    URLParameters doseParams();
    URLParameters sessionParams();
    URLParameters stateParams();

    MainLoop& m_loop;
    Workspace& m_workspace;
    std::weak_ptr<AppState> m_appState;
};

} // namespace velmor
