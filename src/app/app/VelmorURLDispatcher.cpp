// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/VelmorURLDispatcher.h>

#include <app/AppState.h>
#include <base/Print.h>
#include <base/Text.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

#include <locale.h>

namespace velmor {

namespace {

namespace Helpers = VelmorURLResponseHelpers;

/// A number of seconds above 0. The whole text must be one, as the C locale has it.
std::optional<double> positiveSeconds(const std::string& text)
{
    using namespace std::string_view_literals;
    if (text.empty() || "\0\t\n\v\f\r "sv.find(text.front()) != std::string_view::npos)
        return std::nullopt;
    static const locale_t cLocale = ::newlocale(LC_ALL_MASK, "C", nullptr);
    char* end = nullptr;
    const double seconds = ::strtod_l(text.c_str(), &end, cLocale);
    const bool isWhole = end == text.c_str() + text.size();
    return isWhole && seconds > 0 && std::isfinite(seconds) ? std::optional(seconds) : std::nullopt;
}

/// How many bytes at the begin of the text are a control character, or part lines.
std::size_t controlLength(std::string_view text)
{
    const auto byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    if (byte(0) < 0x20 || byte(0) == 0x7F)
        return 1;
    if (byte(0) == 0xC2 && byte(1) >= 0x80 && byte(1) < 0xA0)
        return 2;
    const bool isSeparator = text.starts_with("\u2028") || text.starts_with("\u2029");
    return isSeparator ? 3 : 0;
}

/// What stands in a line of output keeps to that line, whatever a URL has encoded.
std::string inOneLine(std::string_view text)
{
    std::string line;
    while (!text.empty()) {
        const std::size_t control = controlLength(text);
        for (const char c : text.substr(0, control))
            line += fmt::format("%{:02X}", static_cast<unsigned char>(c));
        if (control == 0)
            line += text[0];
        text.remove_prefix(control > 0 ? control : 1);
    }
    return line;
}

void failAsUnavailable(const VelmorXCallbackReply& reply)
{
    reply.fail("monitoring_unavailable", "Velmor is shutting down");
}

} // namespace

VelmorURLDispatcher::VelmorURLDispatcher(MainLoop& loop, Workspace& workspace,
                                         std::weak_ptr<AppState> appState)
    : m_loop(loop)
    , m_workspace(workspace)
    , m_appState(std::move(appState))
{}

void VelmorURLDispatcher::dispatch(const Url& url)
{
    const auto hostAsGiven = url.host();
    if (!hostAsGiven) {
        printLine("URL missing host: {}", url.text());
        return;
    }
    const std::string host = lowerCase(*hostAsGiven);
    auto subcommand = url.firstPathComponent();
    if (subcommand)
        subcommand = lowerCase(*subcommand);
    const auto items = url.queryItems().value_or(std::vector<QueryItem>());
    const Query query = [&items](std::string_view name) {
        const auto item = std::ranges::find(items, name, &QueryItem::name);
        // Bytes that are no text are no value either.
        return item != items.end() && item->value && isText(*item->value) ? item->value : std::nullopt;
    };
    const VelmorXCallbackReply reply(m_workspace, query("x-success"), query("x-error"));
    printLine("URL: {}/{}", inOneLine(host), inOneLine(subcommand.value_or("")));

    if (host == "spl")
        handleRead(reply, "spl", &VelmorURLDispatcher::splParams);
    else if (host == "dose")
        handleRead(reply, "dose", &VelmorURLDispatcher::doseParams);
    else if (host == "session" && !subcommand)
        handleRead(reply, "session", &VelmorURLDispatcher::sessionParams);
    else if (host == "session" && subcommand == "start")
        handleSessionStart(query, reply);
    else if (host == "session" && subcommand == "end")
        handleSessionEnd(reply);
    else if (host == "state")
        handleRead(reply, "state", &VelmorURLDispatcher::stateParams);
    else if (host == "monitoring" && subcommand == "pause")
        handleMonitoringPause(query, reply);
    else if (host == "monitoring" && subcommand == "resume")
        handleMonitoringResume(reply);
    else
        replyUnknown(reply, host, subcommand);
}

void VelmorURLDispatcher::handleRead(const Reply& reply, std::string_view name,
                                     URLParameters (VelmorURLDispatcher::*params)())
{
    if (!reply.hasSuccess()) {
        printLine("{} called without x-success — read endpoint requires one.", name);
        return;
    }
    reply.ok((this->*params)());
}

void VelmorURLDispatcher::handleSessionStart(const Query& query, const Reply& reply)
{
    const auto hub = m_appState.lock();
    if (!hub) {
        failAsUnavailable(reply);
        return;
    }
    if (hub->sessionManager.currentSession.get()) {
        reply.fail("session_already_active", "A session is already running");
        return;
    }
    const std::string daw = query("daw").value_or("");
    const auto name = trimmed(daw);
    hub->startSession(name.empty() ? "Manual" : std::string(name));
    reply.ok(sessionParams());
}

// The caller gets the figures of the moment before the end.
void VelmorURLDispatcher::handleSessionEnd(const Reply& reply)
{
    const auto hub = m_appState.lock();
    if (!hub) {
        failAsUnavailable(reply);
        return;
    }
    if (!hub->sessionManager.currentSession.get()) {
        reply.fail("session_not_active", "No session is running");
        return;
    }
    const URLParameters params = sessionParams();
    hub->endSession();
    reply.ok(params);
}

void VelmorURLDispatcher::handleMonitoringPause(const Query& query, const Reply& reply)
{
    const auto hub = m_appState.lock();
    if (!hub) {
        failAsUnavailable(reply);
        return;
    }
    std::optional<double> duration;
    if (const auto text = query("duration")) {
        duration = positiveSeconds(*text);
        if (!duration) {
            reply.fail("invalid_argument", "duration must be a positive finite number of seconds");
            return;
        }
    }
    hub->pauseService.pause(duration, m_loop.now());
    reply.ok(Helpers::pauseParams(hub->pauseService.state(m_loop.now()), m_loop.now()));
}

void VelmorURLDispatcher::handleMonitoringResume(const Reply& reply)
{
    const auto hub = m_appState.lock();
    if (!hub) {
        failAsUnavailable(reply);
        return;
    }
    hub->pauseService.resume();
    reply.ok(Helpers::pauseParams(hub->pauseService.state(m_loop.now()), m_loop.now()));
}

void VelmorURLDispatcher::replyUnknown(const Reply& reply, const std::string& host,
                                       const std::optional<std::string>& subcommand)
{
    const std::string path = subcommand ? host + "/" + *subcommand : host;
    printLine("Unknown URL: velmor://{}", inOneLine(path));
    reply.fail("unknown_endpoint", "Unknown URL: velmor://" + path);
}

URLParameters VelmorURLDispatcher::splParams()
{
    const auto hub = m_appState.lock();
    if (!hub || !hub->audioService.isRunning)
        return {};
    return Helpers::splParams(hub->audioService.currentSPL.get(), hub->audioService.currentDBC.get(),
                              hub->audioService.peakDBA.get());
}

URLParameters VelmorURLDispatcher::doseParams()
{
    const auto hub = m_appState.lock();
    if (!hub)
        return {};
    const DoseCalculator& dose = hub->doseCalculator;
    return Helpers::doseParams(dose.dosePercentage, dose.doseLevel, dose.peakCount135, dose.peakCount137,
                               dose.peakCount140, dose.peakDBACount115);
}

URLParameters VelmorURLDispatcher::sessionParams()
{
    const auto hub = m_appState.lock();
    return hub ? Helpers::sessionParams(hub->sessionManager.currentSession, m_loop.now()) : URLParameters();
}

URLParameters VelmorURLDispatcher::stateParams()
{
    const auto hub = m_appState.lock();
    if (!hub)
        return {};
    const Date now = m_loop.now();
    return Helpers::stateParams(splParams(), doseParams(), sessionParams(), hub->pauseService.state(now),
                                now);
}

} // namespace velmor
