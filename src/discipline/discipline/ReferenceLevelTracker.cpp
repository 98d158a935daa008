// SPDX-License-Identifier: GPL-3.0-or-later
#include <discipline/ReferenceLevelTracker.h>

namespace velmor {

std::optional<double> onTargetShare(double secondsOnTarget, double activeSeconds)
{
    if (activeSeconds < leastActiveSeconds)
        return std::nullopt;
    return secondsOnTarget / activeSeconds * 100.0;
}

ReferenceLevelTracker::ReferenceLevelTracker(DefaultsStore& defaults, double tickInterval,
                                             std::optional<ReferenceLevelSettings> initialSettings)
    : settings(*this, initialSettings ? *initialSettings : ReferenceLevelSettingsStore(defaults).load())
    , m_tickInterval(tickInterval)
    , m_store(defaults)
    , m_saving(settings.subscribe([this](const ReferenceLevelSettings& value) { m_store.save(value); }))
{}

void ReferenceLevelTracker::tick(double dBA)
{
    if (!settings.get().enabled) {
        currentZone = Zone::silent;
        currentDeviation = std::nullopt;
        return;
    }
    const Zone zone = classify(dBA);
    currentZone = zone;
    currentDeviation = zone == Zone::silent ? std::nullopt : std::optional(dBA - settings.get().target);
    switch (zone) {
    case Zone::silent:
        secondsSilent = secondsSilent + m_tickInterval;
        break;
    case Zone::under:
        secondsUnder = secondsUnder + m_tickInterval;
        break;
    case Zone::onTarget:
        secondsOnTarget = secondsOnTarget + m_tickInterval;
        break;
    case Zone::over:
        secondsOver = secondsOver + m_tickInterval;
        break;
    }
}

Zone ReferenceLevelTracker::classify(double dBA) const
{
    return classifyLevel(dBA, settings.get().target, settings.get().tolerance);
}

void ReferenceLevelTracker::beginSession()
{
    secondsSilent = 0;
    secondsUnder = 0;
    secondsOnTarget = 0;
    secondsOver = 0;
    currentZone = Zone::silent;
    currentDeviation = std::nullopt;
}

std::optional<ReferenceLevelTracker::SessionSummary> ReferenceLevelTracker::snapshotSummary() const
{
    const bool isEmpty = !(activeMonitoringTime() > 0) && !(secondsSilent > 0);
    if (isEmpty || !settings.get().enabled)
        return std::nullopt;
    return SessionSummary{settings.get().target, settings.get().tolerance, secondsSilent,
                          secondsUnder,          secondsOnTarget,          secondsOver};
}

} // namespace velmor
