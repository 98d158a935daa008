// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Uuid.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace velmor {

/// What keeps a command from being carried out, in words for the user.
class VelmorIntentError : public std::runtime_error
{
public:
    enum class Case {
        invalidArgument,
        appNotReady,
        monitoringUnavailable,
        sessionAlreadyActive,
        sessionNotActive
    };

    /// Any case but invalidArgument, which has a message of its own.
    explicit VelmorIntentError(Case which);

    static VelmorIntentError invalidArgument(const std::string& message);

    Case which() const { return m_case; }

private:
    VelmorIntentError(Case which, const std::string& message);

    Case m_case;
};

/// How a result shows.
struct DisplayRepresentation
{
    std::string title;
    std::string subtitle; ///< Empty for none.

    /// In one sentence.
    std::string dialog() const { return subtitle.empty() ? title : title + ", " + subtitle; }

    bool operator==(const DisplayRepresentation&) const = default;
};

/// An SPL reading. Levels in dB.
struct VelmorSPLSnapshot
{
    double dba = 0;
    double dbc = 0;
    double peakDBA = 0;
    std::string id = uuidText(makeUuid());

    DisplayRepresentation displayRepresentation() const;
};

/// Today's dose, in percent.
struct VelmorDoseSnapshot
{
    double dosePercent = 0;
    double remainingPercent = 0;
    std::string doseLevel;
    std::int64_t peakCount135 = 0;
    std::int64_t peakCount137 = 0;
    std::int64_t peakCount140 = 0;
    std::int64_t peakCount115DBA = 0;
    std::string id = uuidText(makeUuid());

    DisplayRepresentation displayRepresentation() const;
};

/// How the last days went. Doses in percent.
struct VelmorMonitoringStats
{
    std::int64_t streakDays = 0; ///< Under 50 %.
    double todayDosePercent = 0;
    double weeklyAvgDosePercent = 0;
    std::int64_t weeklySessionCount = 0;
    std::int64_t weeklyWarningDayCount = 0;
    std::string id = uuidText(makeUuid());

    DisplayRepresentation displayRepresentation() const;
};

/// A session that was ended.
struct VelmorSessionSummary
{
    double finalDosePercent = 0;
    std::string daw;
    std::int64_t elapsedSeconds = 0;
    double peakDBA = 0;
    double peakDBC = 0;
    std::string id = uuidText(makeUuid());

    DisplayRepresentation displayRepresentation() const;
};

/// Whether monitoring is paused, and for how long.
struct VelmorPauseSnapshot
{
    bool paused = false;
    std::optional<std::int64_t> resumeInSeconds; ///< Absent for a pause without end.
    std::string id = uuidText(makeUuid());

    DisplayRepresentation displayRepresentation() const;
};

} // namespace velmor
