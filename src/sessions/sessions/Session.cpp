// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/Session.h>

#include <base/Levels.h>
#include <discipline/ReferenceLevelTracker.h>

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace velmor {

std::optional<double> Session::onTargetPercentage() const
{
    return onTargetShare(timeOnTargetSec, activeMonitoringTimeSec());
}

std::optional<SessionStatistics> Session::statistics() const
{
    if (readings.size() < 2)
        return std::nullopt;
    std::vector<double> levels;
    levels.reserve(readings.size());
    double energySum = 0;
    for (const SPLReading& reading : readings) {
        levels.push_back(reading.dBA);
        energySum += energyOfLevel(reading.dBA);
    }
    std::ranges::sort(levels);
    const auto exceededFor = [&levels](double fraction) {
        return levels[static_cast<std::size_t>(percentileIndex(fraction, std::ssize(levels)))];
    };
    return SessionStatistics{energyMean(energySum, std::ssize(levels)), exceededFor(0.1), exceededFor(0.5),
                             exceededFor(0.9)};
}

std::string Session::durationFormatted(Date now) const
{
    const auto total = static_cast<std::int64_t>(duration(now));
    const std::int64_t minutes = total % 3600 / 60;
    const std::int64_t hours = total / 3600;
    return total < 3600 ? fmt::format("{}m", minutes) : fmt::format("{}h {}m", hours, minutes);
}

Session newSession(std::string dawName, Date now)
{
    Session session;
    session.id = makeUuid();
    session.startDate = now;
    session.dawName = std::move(dawName);
    return session;
}

} // namespace velmor
