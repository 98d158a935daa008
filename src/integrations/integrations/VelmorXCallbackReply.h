// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <integrations/Url.h>
#include <integrations/VelmorURLResponseHelpers.h>
#include <platform/Workspace.h>

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace velmor {

/// The answer to one URL, which goes to the return URLs that came with it. Main thread.
class VelmorXCallbackReply
{
public:
    /// \param success,error as they came, decoded. One that is no URL, has no scheme, or a denied one, counts
    /// as none.
    VelmorXCallbackReply(Workspace& workspace, const std::optional<std::string>& success,
                         const std::optional<std::string>& error);

    /// Schemes that would open a local file or run a script with what is measured in its query.
    static const std::set<std::string, std::less<>>& deniedCallbackSchemes();

    /// The URL if it may be opened.
    static std::optional<Url> sanitizeCallback(const std::optional<Url>& url);

    bool hasSuccess() const { return m_success.has_value(); }

    /// Opens the return URL for success, if there is one, with the parameters and the result.
    void ok(const URLParameters& params) const;

    /// Opens the return URL for errors, if there is one.
    void fail(std::string_view code, std::string_view message) const;

private:
    void open(const std::optional<Url>& url) const;

    Workspace& m_workspace;
    std::optional<Url> m_success;
    std::optional<Url> m_error;
};

} // namespace velmor
