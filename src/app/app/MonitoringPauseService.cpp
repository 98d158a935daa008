// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/MonitoringPauseService.h>

#include <algorithm>
#include <cmath>

namespace velmor {

namespace {

constexpr double longestPauseSeconds = 86400.0;

} // namespace

void MonitoringPauseService::pause(std::optional<double> duration, Date now)
{
    isPaused = true;
    if (duration && std::isfinite(*duration) && *duration > 0)
        pauseUntil = now + nanosecondsFrom(std::min(*duration, longestPauseSeconds));
    else
        pauseUntil = std::nullopt;
}

void MonitoringPauseService::resume()
{
    isPaused = false;
    pauseUntil = std::nullopt;
}

PauseState MonitoringPauseService::state(Date now)
{
    if (isPaused && pauseUntil.get() && *pauseUntil.get() <= now)
        resume();
    return {isPaused, pauseUntil};
}

} // namespace velmor
