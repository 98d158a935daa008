// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/VelmorIntentSupport.h>
#include <app/VelmorIntents.h>
#include <platform/SystemLog.h>

#include <optional>
#include <string>
#include <string_view>

namespace velmor {

/// Starts a session when a Focus turns on and ends it when the Focus turns off. Main thread.
class VelmorSessionFocusFilter
{
public:
    static constexpr std::string_view title = "Start a Mixing Session";
    static constexpr IntentParameter dawParameter = {
        "DAW",
        "Optional label for the session started by this Focus (e.g. 'Logic Pro'). Defaults to 'Manual' when "
        "blank.",
        "Start an Velmor session for {daw} when this Focus activates"};

    VelmorSessionFocusFilter(const VelmorIntentSupport& support, SystemLog& log);

    /// How the filter shows.
    static std::string displayRepresentation(const std::optional<std::string>& daw);

    /// To be called for both directions of a change: the first call remembers whether a session was running,
    /// and starts one if not; the next one uses that up, and ends the session unless it was there before.
    void perform(const std::optional<std::string>& daw);

    /// Whether the next call is the end of a Focus.
    bool awaitsDeactivation() const;

private:
    void log(std::string_view message);

    const VelmorIntentSupport& m_support;
    SystemLog& m_log;
};

} // namespace velmor
