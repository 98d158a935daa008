// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/VelmorSessionFocusFilter.h>

#include <base/Text.h>
#include <integrations/VelmorIntentMath.h>

#include <fmt/format.h>

namespace velmor {

VelmorSessionFocusFilter::VelmorSessionFocusFilter(const VelmorIntentSupport& support, SystemLog& log)
    : m_support(support)
    , m_log(log)
{}

std::string VelmorSessionFocusFilter::displayRepresentation(const std::optional<std::string>& daw)
{
    return "Session: " + (daw && !trimmed(*daw).empty() ? *daw : "Manual");
}

void VelmorSessionFocusFilter::perform(const std::optional<std::string>& daw)
{
    log(fmt::format("perform() entered for daw={}", daw.value_or("nil")));
    const auto hub = m_support.appState();
    if (!hub) {
        log("appState not ready; skipping");
        return;
    }
    const auto isSessionRunning = [&hub] { return hub->sessionManager.currentSession.get().has_value(); };

    if (const auto captured = hub->consumeFocusPreEnableSessionState()) {
        log(fmt::format("Focus deactivation: consuming captured prior state (wasActive={})",
                        captured->wasActive));
        if (captured->wasActive) {
            log("session was already active pre-Focus; leaving it running");
        } else if (isSessionRunning()) {
            log("ending session started by Focus");
            hub->endSession();
        } else {
            log("session already ended by user; nothing to do");
        }
        return;
    }

    const std::string name = VelmorIntentMath::normaliseDAWName(daw);
    const bool wasActive = isSessionRunning();
    hub->captureFocusPreEnableSessionState(wasActive);
    log(fmt::format("Focus activation: captured wasActive={}", wasActive));
    if (!wasActive) {
        log(fmt::format("starting Velmor session for {}", name));
        hub->startSession(name);
    } else {
        log("session already running; leaving it as-is");
    }
}

bool VelmorSessionFocusFilter::awaitsDeactivation() const
{
    const auto hub = m_support.appState();
    return hub && hub->hasFocusPreEnableSessionState();
}

void VelmorSessionFocusFilter::log(std::string_view message)
{
    m_log.log("dev.brightfen.velmor.focus", "VelmorSessionFocusFilter", message);
}

} // namespace velmor
