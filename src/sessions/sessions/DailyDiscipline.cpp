// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/DailyDiscipline.h>

namespace velmor {

ReferenceLevelTracker::DailySummary aggregateDay(std::span<const Session> completedSessions,
                                                 const ReferenceLevelTracker* live)
{
    ReferenceLevelTracker::DailySummary day;
    for (const Session& session : completedSessions) {
        if (!session.hasMonitoringDisciplineData())
            continue;
        day.secondsSilent += session.timeSilentSec;
        day.secondsUnder += session.timeUnderSec;
        day.secondsOnTarget += session.timeOnTargetSec;
        day.secondsOver += session.timeOverSec;
        day.distinctTargets.insert(session.monitoringTarget);
    }
    if (live && live->settings.get().enabled && live->activeMonitoringTime() > 0) {
        day.secondsSilent += live->secondsSilent;
        day.secondsUnder += live->secondsUnder;
        day.secondsOnTarget += live->secondsOnTarget;
        day.secondsOver += live->secondsOver;
        day.distinctTargets.insert(live->settings.get().target);
    }
    return day;
}

} // namespace velmor
