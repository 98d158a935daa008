// SPDX-License-Identifier: GPL-3.0-or-later
#include <exposure/LeqStatisticsService.h>

#include <base/Levels.h>
#include <base/Print.h>

#include <algorithm>
#include <cmath>

namespace velmor {

namespace {

/// How many readings there are in so many seconds, but at least one.
std::int64_t readingsIn(double seconds, double rateHz)
{
    constexpr double tooMany = 9223372036854775808.0; // 2^63
    const double readings = std::trunc(rateHz * seconds);
    if (!(readings >= -tooMany && readings < tooMany))
        stopOnProgrammingError("a rate without a countable number of readings");
    return std::max<std::int64_t>(static_cast<std::int64_t>(readings), 1);
}

std::optional<double> level(std::optional<double> energySum, std::int64_t count)
{
    return energySum ? std::optional(energyMean(*energySum, count)) : std::nullopt;
}

} // namespace

LeqStatisticsService::LeqStatisticsService(double rateHz)
    : m_minute(readingsIn(60.0, rateHz))
    , m_lnThrottle(readingsIn(1.0, rateHz))
    , m_maxSamples(readingsIn(1800.0, rateHz))
    , m_energies(static_cast<std::size_t>(m_maxSamples))
    , m_levels(static_cast<std::size_t>(m_maxSamples))
    , m_sortedLevels(static_cast<std::size_t>(m_maxSamples),
                     static_cast<std::size_t>(std::max(m_minute, m_lnThrottle)))
    , m_tenMinutes(readingsIn(600.0, rateHz))
    , m_minuteSum(static_cast<std::size_t>(m_minute))
    , m_tenMinuteSum(static_cast<std::size_t>(m_tenMinutes))
    , m_thirtyMinuteSum(static_cast<std::size_t>(m_maxSamples))
{}

void LeqStatisticsService::addReading(double reading)
{
    if (m_levels.isFull())
        m_sortedLevels.remove(m_levels.oldest());
    m_sortedLevels.add(reading);
    m_levels.add(reading);
    m_energies.add(energyOfLevel(reading));
    ++m_tickCount;

    // All is computed before anything is announced: an observer may call back.
    const auto minuteLevel = level(m_minuteSum.add(m_energies), m_minute);
    const auto tenMinuteLevel = level(m_tenMinuteSum.add(m_energies), m_tenMinutes);
    const auto thirtyMinuteLevel = level(m_thirtyMinuteSum.add(m_energies), m_maxSamples);
    leq1min = minuteLevel;
    leq10min = tenMinuteLevel;
    leq30min = thirtyMinuteLevel;
    if (m_tickCount % m_lnThrottle == 0)
        updatePercentileLevels();
}

void LeqStatisticsService::updatePercentileLevels()
{
    const auto count = static_cast<std::int64_t>(m_levels.size());
    if (count < m_minute) {
        l10 = std::nullopt;
        l50 = std::nullopt;
        l90 = std::nullopt;
        return;
    }
    const auto exceededFor = [&](double fraction) {
        return m_sortedLevels[static_cast<std::size_t>(percentileIndex(fraction, count))];
    };
    const double exceededForTenth = exceededFor(0.1);
    const double exceededForHalf = exceededFor(0.5);
    const double exceededForNineTenths = exceededFor(0.9);
    l10 = exceededForTenth;
    l50 = exceededForHalf;
    l90 = exceededForNineTenths;
}

void LeqStatisticsService::reset()
{
    m_energies.clear();
    m_levels.clear();
    m_sortedLevels.clear();
    m_tickCount = 0;
    for (WindowSum* sum : {&m_minuteSum, &m_tenMinuteSum, &m_thirtyMinuteSum})
        sum->reset();
    for (auto* result : {&leq1min, &leq10min, &leq30min, &l10, &l50, &l90})
        *result = std::nullopt;
}

} // namespace velmor
