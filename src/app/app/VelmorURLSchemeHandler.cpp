// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/VelmorURLSchemeHandler.h>

#include <base/Print.h>

#include <string>
#include <utility>
#include <vector>

namespace velmor {

VelmorURLSchemeHandler::VelmorURLSchemeHandler(MainLoop& loop, std::weak_ptr<VelmorURLDispatcher> dispatcher)
    : m_loop(loop)
    , m_dispatcher(std::move(dispatcher))
{}

void VelmorURLSchemeHandler::registerWith(URLEvents& events)
{
    m_events = events.onOpen([this](const std::vector<std::string>& texts) {
        for (const std::string& text : texts)
            m_loop.post(m_lifetime.guarded([this, text] { handleGetURLEvent(text); }));
    });
    printLine("velmor:// URL scheme handler registered");
}

void VelmorURLSchemeHandler::handleGetURLEvent(std::string_view text)
{
    const auto url = Url::fromText(text);
    const auto dispatcher = m_dispatcher.lock();
    if (url && url->scheme() == "velmor" && dispatcher)
        dispatcher->dispatch(*url);
}

} // namespace velmor
