// SPDX-License-Identifier: GPL-3.0-or-later
#include <discipline/MonitoringAlertDetector.h>

#include <algorithm>

namespace velmor {

namespace {

constexpr double snoozeSeconds = 1800.0;
constexpr double baselineAfterSeconds = 600.0;
constexpr double driftThresholdDB = 3.0;
constexpr double driftHoldSeconds = 300.0;

/// Of a stretch with a smaller share that isn't silent there is nothing to say.
constexpr double leastSoundingShare = 0.5;
constexpr double leastOffTargetShare = 0.9;

bool isBefore(Date now, const std::optional<Date>& end)
{
    return end && now < *end;
}

double share(std::ptrdiff_t part, std::ptrdiff_t whole)
{
    return static_cast<double>(part) / static_cast<double>(whole);
}

} // namespace

MonitoringAlertDetector::MonitoringAlertDetector(DefaultsStore& defaults,
                                                 std::optional<MonitoringAlertSettings> initialSettings)
    : settings(*this, initialSettings ? *initialSettings : MonitoringAlertSettingsStore(defaults).load())
    , m_store(defaults)
    , m_saving(settings.subscribe([this](const MonitoringAlertSettings& value) { m_store.save(value); }))
{}

void MonitoringAlertDetector::beginSession(Date at)
{
    m_sessionStart = at;
    m_driftBaselineDBA.reset();
    m_driftElevatedSince.reset();
    m_driftFiredThisSession = false;
    m_offTargetBuffer.clear();
    m_offTargetFiredThisSession = false;
}

void MonitoringAlertDetector::endSession()
{
    m_sessionStart.reset();
    m_driftBaselineDBA.reset();
    m_driftElevatedSince.reset();
    m_offTargetBuffer.clear();
}

void MonitoringAlertDetector::evaluate(Date now, double currentDBA, double target,
                                       std::optional<double> rolling30minLeq)
{
    if (!m_sessionStart)
        return;
    if (settings.get().driftAlertEnabled)
        evaluateDrift(now, rolling30minLeq);
    if (settings.get().offTargetAlertEnabled) {
        ingestForOffTarget(now, currentDBA, target);
        evaluateOffTarget(now, target);
    }
}

void MonitoringAlertDetector::evaluateDrift(Date now, std::optional<double> rolling30)
{
    if (m_driftFiredThisSession || isBefore(now, m_driftSnoozedUntil))
        return;
    if (!m_sessionStart)
        return;
    const double elapsed = secondsBetween(*m_sessionStart, now);
    if (!m_driftBaselineDBA) {
        if (elapsed >= baselineAfterSeconds && rolling30)
            m_driftBaselineDBA = rolling30;
        return;
    }
    if (!rolling30)
        return;
    if (*rolling30 - *m_driftBaselineDBA < driftThresholdDB) {
        m_driftElevatedSince.reset();
        return;
    }
    if (!m_driftElevatedSince)
        m_driftElevatedSince = now;
    if (secondsBetween(*m_driftElevatedSince, now) >= driftHoldSeconds) {
        m_driftFiredThisSession = true;
        m_driftElevatedSince.reset();
        if (onDriftAlert)
            onDriftAlert({*m_driftBaselineDBA, *rolling30});
    }
}

void MonitoringAlertDetector::ingestForOffTarget(Date now, double dBA, double target)
{
    m_offTargetBuffer.push_back({now, classifyLevel(dBA, target, settings.get().offTargetToleranceDB)});
    while (!m_offTargetBuffer.empty() &&
           secondsBetween(m_offTargetBuffer.front().moment, now) > settings.get().offTargetWindowSec)
        m_offTargetBuffer.pop_front();
}

void MonitoringAlertDetector::evaluateOffTarget(Date now, double target)
{
    if (m_offTargetFiredThisSession || isBefore(now, m_offTargetSnoozedUntil))
        return;
    // A drift alert's callback may have ended the session.
    if (!m_sessionStart || secondsBetween(*m_sessionStart, now) < settings.get().offTargetWindowSec)
        return;
    if (m_offTargetBuffer.empty())
        return;

    const auto countOf = [&](Zone zone) {
        return std::ranges::count(m_offTargetBuffer, zone, &Observation::zone);
    };
    const auto entries = std::ssize(m_offTargetBuffer);
    const auto nonSilent = entries - countOf(Zone::silent);
    if (nonSilent == 0 || share(nonSilent, entries) < leastSoundingShare)
        return;

    using Direction = OffTargetAlertContext::Direction;
    const auto under = countOf(Zone::under);
    const auto over = countOf(Zone::over);
    auto count = under + over;
    Direction direction = under >= over ? Direction::under : Direction::over;
    if (settings.get().offTargetDirection == OffTargetDirection::underOnly) {
        count = under;
        direction = Direction::under;
    } else if (settings.get().offTargetDirection == OffTargetDirection::overOnly) {
        count = over;
        direction = Direction::over;
    }
    if (share(count, nonSilent) < leastOffTargetShare)
        return;

    m_offTargetFiredThisSession = true;
    const double edge = direction == Direction::under ? -settings.get().offTargetToleranceDB
                                                      : settings.get().offTargetToleranceDB;
    if (onOffTargetAlert)
        onOffTargetAlert({direction, target, target + edge, settings.get().offTargetWindowSec});
}

void MonitoringAlertDetector::snoozeDrift(Date at)
{
    m_driftSnoozedUntil = at + nanosecondsFrom(snoozeSeconds);
}

void MonitoringAlertDetector::snoozeOffTarget(Date at)
{
    m_offTargetSnoozedUntil = at + nanosecondsFrom(snoozeSeconds);
}

} // namespace velmor
