// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/VelmorXCallbackReply.h>

namespace velmor {

namespace {

std::optional<Url> urlIn(const std::optional<std::string>& text)
{
    return text ? Url::fromText(*text) : std::nullopt;
}

} // namespace

VelmorXCallbackReply::VelmorXCallbackReply(Workspace& workspace, const std::optional<std::string>& success,
                                           const std::optional<std::string>& error)
    : m_workspace(workspace)
    , m_success(sanitizeCallback(urlIn(success)))
    , m_error(sanitizeCallback(urlIn(error)))
{}

const std::set<std::string, std::less<>>& VelmorXCallbackReply::deniedCallbackSchemes()
{
    static const std::set<std::string, std::less<>> schemes = {"file", "javascript", "data", "vbscript",
                                                               "about"};
    return schemes;
}

std::optional<Url> VelmorXCallbackReply::sanitizeCallback(const std::optional<Url>& url)
{
    const auto scheme = url ? url->scheme() : std::nullopt;
    return scheme && !deniedCallbackSchemes().contains(*scheme) ? url : std::nullopt;
}

void VelmorXCallbackReply::ok(const URLParameters& params) const
{
    if (m_success)
        open(VelmorURLResponseHelpers::successURL(*m_success, params));
}

void VelmorXCallbackReply::fail(std::string_view code, std::string_view message) const
{
    if (m_error)
        open(VelmorURLResponseHelpers::errorURL(*m_error, code, message));
}

void VelmorXCallbackReply::open(const std::optional<Url>& url) const
{
    if (url)
        m_workspace.open(url->text());
}

} // namespace velmor
