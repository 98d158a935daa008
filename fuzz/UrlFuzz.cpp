// SPDX-License-Identifier: GPL-3.0-or-later
// A URL, on its way from the desktop through the hub: nothing is opened but what may be, as text that no
// shell and no line of output can trip over, and nothing but the session and the pause changes.
#include <app/AppState.h>
#include <app/VelmorURLSchemeHandler.h>
#include <base/Print.h>
#include <base/Text.h>
#include <support/HubHost.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using namespace velmor;

void require(bool holds)
{
    if (!holds)
        std::abort();
}

void check(const std::string& opened)
{
    const std::string scheme = lowerCase(opened.substr(0, opened.find(':')));
    for (const char* denied : {"file", "javascript", "data", "vbscript", "about", ""})
        require(scheme != denied);
    require(std::ranges::all_of(
        opened, [](char c) { return c > ' ' && c < 0x7F && c != '"' && c != '`' && c != '\\'; }));
    require(opened.find("result=ok") != std::string::npos || opened.find("error_code=") != std::string::npos);
    // What goes out can be taken apart again.
    const auto url = Url::fromText(opened);
    require(url && url->queryItems() && url->scheme() == scheme);
}

} // namespace

/// A hub that is made once; each input leaves it as it was.
struct Program
{
    test::HubHost host;
    AppState hub{host.host()};
};

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    setPrintedLines(PrintedLines::nowhere);
    static Program program;
    AppState& hub = program.hub;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    // Once with no session running and once with one, whatever the first has done.
    hub.urlHandler->handleGetURLEvent(text);
    hub.urlHandler->handleGetURLEvent(text);
    // As the parameter of an endpoint, so that every input comes to the reply.
    const std::string asCallback =
        "velmor://state?x-success=" + std::string(text) + "&x-error=" + std::string(text);
    hub.urlHandler->handleGetURLEvent(asCallback);
    hub.urlHandler->handleGetURLEvent("velmor://monitoring/pause?duration=" + std::string(text));
    for (const std::string& opened : program.host.workspace.opened)
        check(opened);
    const auto& pauseUntil = hub.pauseService.pauseUntil.get();
    require(!pauseUntil || (hub.pauseService.isPaused && *pauseUntil > program.host.loop.now()));

    program.host.workspace.opened.clear();
    if (hub.sessionManager.currentSession.get())
        hub.endSession();
    hub.pauseService.resume();
    program.host.loop.runPosted();
    hub.sessionManager.sessionHistory = {};
    program.host.notifications.requests.clear();
    program.host.notifications.calls.clear();
    program.host.audio.engines.clear();
    return 0;
}
