// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SettingsContent.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace velmor {

namespace {

constexpr int leastTotalRetention = 7;
constexpr int longestTotalRetention = 365;
constexpr int lowestThreshold = 30;
constexpr int highestThreshold = 140;

} // namespace

int wholeDecibels(double level)
{
    return static_cast<int>(std::nearbyint(level));
}

std::size_t pendingSessionDeleteCount(std::span<const Session> history, std::int64_t totalRetentionDays,
                                      Date now, const Calendar& calendar)
{
    const auto limit = calendar.addingDays(now, -totalRetentionDays);
    if (!limit)
        return 0;
    return static_cast<std::size_t>(
        std::ranges::count_if(history, [&](const Session& session) { return session.startDate < *limit; }));
}

std::optional<std::string> pendingDeletionWarning(std::size_t count, std::int64_t totalRetentionDays)
{
    if (count == 0)
        return std::nullopt;
    return fmt::format("{} sessions older than {} days will be deleted on next launch.", count,
                       totalRetentionDays);
}

StepRange totalRetentionRange(std::int64_t detailedRetentionDays)
{
    const auto low = std::max<std::int64_t>(detailedRetentionDays, leastTotalRetention);
    return {static_cast<int>(std::min<std::int64_t>(low, longestTotalRetention)), longestTotalRetention};
}

StepRange yellowRange(double orangeAt)
{
    return {lowestThreshold, std::max(lowestThreshold, wholeDecibels(orangeAt) - 1)};
}

StepRange orangeRange(double yellowAt, double redAt)
{
    const int low = wholeDecibels(yellowAt) + 1;
    return {low, std::max(low, wholeDecibels(redAt) - 1)};
}

StepRange redRange(double orangeAt)
{
    return {std::min(wholeDecibels(orangeAt) + 1, highestThreshold), highestThreshold};
}

} // namespace velmor
