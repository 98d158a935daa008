// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/FocusFollower.h>

#include <optional>
#include <string>
#include <utility>

namespace velmor {

FocusFollower::FocusFollower(AppState& hub, DoNotDisturb& doNotDisturb, VelmorSessionFocusFilter& filter)
    : m_hub(hub)
    , m_filter(filter)
    , m_changes(doNotDisturb.onChange([this](bool isOn) { follow(isOn); }))
{
    m_hub.settings.focusFilterEnabled.afterWriting = [this](bool isEnabled) {
        if (!isEnabled)
            forget();
    };
}

FocusFollower::~FocusFollower()
{
    m_hub.settings.focusFilterEnabled.afterWriting = nullptr;
}

void FocusFollower::follow(bool isOn)
{
    if (!m_hub.settings.focusFilterEnabled)
        return;
    const bool isWaited = m_filter.awaitsDeactivation();
    const bool isItsEnd = std::exchange(m_hasActivated, false) && isWaited;
    if (isOn ? isWaited : !isItsEnd)
        return;
    const std::string& daw = m_hub.settings.focusFilterDAW;
    m_filter.perform(daw.empty() ? std::nullopt : std::optional(daw));
    m_hasActivated = m_filter.awaitsDeactivation();
}

// A Focus that nobody follows any more has no end: what it found must not meet the next one.
void FocusFollower::forget()
{
    if (std::exchange(m_hasActivated, false))
        m_hub.consumeFocusPreEnableSessionState();
}

} // namespace velmor
