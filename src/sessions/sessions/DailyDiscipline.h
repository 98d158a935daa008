// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <discipline/ReferenceLevelTracker.h>
#include <sessions/Session.h>

#include <span>

namespace velmor {

/// The time in each zone over finished sessions and, where there is one, the live tracker. Sessions
/// without a target or without active time contribute nothing, not even their silence; nor does a
/// tracker that is not enabled or has no active time.
ReferenceLevelTracker::DailySummary aggregateDay(std::span<const Session> completedSessions,
                                                 const ReferenceLevelTracker* live);

} // namespace velmor
