// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/Session.h>

#include <discipline/ReferenceLevelTracker.h>

#include <fmt/format.h>

#include <utility>

namespace velmor {

std::optional<double> Session::onTargetPercentage() const
{
    return onTargetShare(timeOnTargetSec, activeMonitoringTimeSec());
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
