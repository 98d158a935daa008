// SPDX-License-Identifier: GPL-3.0-or-later
// What the settings window works out, before anybody draws it.
#pragma once

#include <base/Calendar.h>
#include <base/Date.h>
#include <sessions/Session.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace velmor {

/// How many sessions a limit of so many days costs at the next launch.
std::size_t pendingSessionDeleteCount(std::span<const Session> history, std::int64_t totalRetentionDays,
                                      Date now, const Calendar& calendar);

/// What is said of them; absent for none.
std::optional<std::string> pendingDeletionWarning(std::size_t count, std::int64_t totalRetentionDays);

struct StepRange
{
    int low = 0;
    int high = 0;

    bool operator==(const StepRange&) const = default;
};

/// How long sessions can be kept, in days: no shorter than their readings.
StepRange totalRetentionRange(std::int64_t detailedRetentionDays);

/// A threshold as it is shown, dB.
int wholeDecibels(double level);

/// Where the tray's number can take its colours, in dB: in their order.
StepRange yellowRange(double orangeAt);
StepRange orangeRange(double yellowAt, double redAt);
StepRange redRange(double orangeAt);

} // namespace velmor
