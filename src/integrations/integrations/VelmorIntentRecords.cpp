// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/VelmorIntentRecords.h>

#include <fmt/format.h>

namespace velmor {

namespace {

constexpr std::int64_t secondsPerMinute = 60;

const char* description(VelmorIntentError::Case which)
{
    switch (which) {
    case VelmorIntentError::Case::appNotReady:
        return "Velmor hasn't finished launching yet. Try again in a moment.";
    case VelmorIntentError::Case::monitoringUnavailable:
        return "Velmor's audio engine isn't running. Open Velmor and check the input device in Settings.";
    case VelmorIntentError::Case::sessionAlreadyActive:
        return "A session is already running. End it first, or use the active session.";
    case VelmorIntentError::Case::sessionNotActive:
        return "No session is running. Start one from Velmor's menu or from the Start Mixing Session intent.";
    case VelmorIntentError::Case::invalidArgument:
        break;
    }
    return "";
}

} // namespace

VelmorIntentError::VelmorIntentError(Case which)
    : VelmorIntentError(which, description(which))
{}

VelmorIntentError::VelmorIntentError(Case which, const std::string& message)
    : std::runtime_error(message)
    , m_case(which)
{}

VelmorIntentError VelmorIntentError::invalidArgument(const std::string& message)
{
    return {Case::invalidArgument, message};
}

DisplayRepresentation VelmorSPLSnapshot::displayRepresentation() const
{
    return {fmt::format("{:.1f} dBA", dba), fmt::format("{:.1f} dBC, peak {:.1f} dBA", dbc, peakDBA)};
}

DisplayRepresentation VelmorDoseSnapshot::displayRepresentation() const
{
    return {fmt::format("{:.1f}% ({})", dosePercent, doseLevel),
            fmt::format("{:.1f}% remaining today", remainingPercent)};
}

DisplayRepresentation VelmorMonitoringStats::displayRepresentation() const
{
    return {fmt::format("Streak: {} day{}", streakDays, streakDays == 1 ? "" : "s"),
            fmt::format("Today {:.1f}%, weekly avg {:.1f}%", todayDosePercent, weeklyAvgDosePercent)};
}

DisplayRepresentation VelmorSessionSummary::displayRepresentation() const
{
    return {fmt::format("Session ended ({})", daw),
            fmt::format("{:.1f}% dose over {} min", finalDosePercent, elapsedSeconds / secondsPerMinute)};
}

DisplayRepresentation VelmorPauseSnapshot::displayRepresentation() const
{
    if (!paused)
        return {"Monitoring", ""};
    if (!resumeInSeconds)
        return {"Paused (indefinite)", ""};
    return {fmt::format("Paused for {} min", *resumeInSeconds / secondsPerMinute), ""};
}

} // namespace velmor
