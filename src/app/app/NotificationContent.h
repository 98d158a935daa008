// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Date.h>
#include <base/Uuid.h>
#include <discipline/MonitoringAlertDetector.h>
#include <exposure/DoseLevel.h>
#include <platform/NotificationCenter.h>

#include <optional>
#include <string>
#include <vector>

namespace velmor {

/// What the notifications look like and say. Pure functions; levels in dB, doses in percent.
namespace NotificationContent {

/// The kinds of notification with their buttons.
std::vector<NotificationCategory> categories();

inline constexpr auto snoozeAction = "SNOOZE_30";
inline constexpr auto shareReportAction = "SHARE_REPORT";
inline constexpr auto driftCategory = "MONITORING_DRIFT";
inline constexpr auto offTargetCategory = "MONITORING_OFFTARGET";

/// Under which a recap's user information holds the session's identifier.
inline constexpr auto sessionIDKey = "velmor.sessionID";

/// \param timeSensitive whether the user allows such notifications to be time-sensitive.
NotificationRequest doseThreshold(DoseLevel level, bool timeSensitive);

NotificationRequest impulsePeak(double peakDBC, bool timeSensitive, Date now);

NotificationRequest instantaneousPeak(double peakDBA, bool timeSensitive, Date now);

/// \param allowedHours that a day may have at this level.
/// \param accumulatedDose the day's so far, as a fraction.
NotificationRequest sustainedExposure(double spl, double allowedHours, double accumulatedDose,
                                      bool timeSensitive);

NotificationRequest drift(const DriftAlertContext& context, Date now);

NotificationRequest offTarget(const OffTargetAlertContext& context, Date now);

NotificationRequest sessionRecap(double sessionDose, double totalDose, const std::optional<Uuid>& sessionID,
                                 Date now);

NotificationRequest deviceDisconnected();

} // namespace NotificationContent

} // namespace velmor
