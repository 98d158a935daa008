// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/SessionRetention.h>

#include <algorithm>
#include <utility>

namespace velmor {

namespace {

constexpr std::int64_t mostDays = 3650;

/// A raw series has a reading every 10 seconds, a thinned one every 10 times the stride. Halfway lies
/// the interval that tells them apart.
constexpr double thinnedSecondsPerStride = 5.0;

} // namespace

std::int64_t RetentionDays::read(const DefaultsStore& defaults) const
{
    const std::int64_t stored = defaults.get<std::int64_t>(key).value_or(0);
    return std::min(stored >= 1 ? stored : defaultDays, mostDays);
}

double SessionRetention::sampleIntervalSeconds(const std::vector<SPLReading>& readings)
{
    if (readings.size() < 2)
        return 0;
    return secondsBetween(readings[0].timestamp, readings[1].timestamp);
}

std::vector<SPLReading> SessionRetention::downsample(std::vector<SPLReading> readings, std::int64_t stride)
{
    if (stride < 2)
        return readings;
    std::vector<SPLReading> kept;
    const auto step = static_cast<std::size_t>(stride);
    kept.reserve((readings.size() + step - 1) / step);
    for (std::size_t i = 0; i < readings.size(); i += step)
        kept.push_back(readings[i]);
    return kept;
}

std::vector<Session> SessionRetention::process(std::vector<Session> sessions, std::int64_t detailedDays,
                                               std::int64_t totalDays, std::int64_t downsampleStride,
                                               Date now, const Calendar& calendar)
{
    const auto detailedCutoff = calendar.addingDays(now, -detailedDays);
    if (!detailedCutoff)
        return sessions;
    const auto totalCutoff = calendar.addingDays(now, -totalDays);
    if (!totalCutoff)
        return sessions;

    std::erase_if(sessions, [&](const Session& session) { return session.startDate < *totalCutoff; });
    for (Session& session : sessions) {
        if (session.startDate >= *detailedCutoff)
            continue;
        const double interval = sampleIntervalSeconds(session.readings);
        const bool isThinned =
            interval > 0 && interval >= static_cast<double>(downsampleStride) * thinnedSecondsPerStride;
        if (!isThinned)
            session.readings = downsample(std::move(session.readings), downsampleStride);
    }
    return sessions;
}

} // namespace velmor
