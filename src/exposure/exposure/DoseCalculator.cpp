// SPDX-License-Identifier: GPL-3.0-or-later
#include <exposure/DoseCalculator.h>

#include <base/Counts.h>
#include <exposure/DoseLimits.h>
#include <exposure/PeakLimits.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace velmor {

namespace {

constexpr double secondsPerHour = 3600.0;

/// From this gap between two measurements on, the time between them counts as not measured.
constexpr double longestGapSeconds = 60.0;

constexpr auto conservativeModeKey = "DoseCalculator.conservativeMode";
constexpr auto todayPeakDBCKey = "DoseCalculator.todayPeakDBC";

double hoursAllowedAt(double level)
{
    return criterionDurationHours / std::pow(2, (level - criterionLevelDBA) / exchangeRateDB);
}

void increment(Published<std::int64_t>& count)
{
    std::int64_t next = count;
    addCount(next, 1);
    count = next;
}

} // namespace

double allowedExposureTime(double dBA)
{
    if (dBA < thresholdLevelDBA)
        return std::numeric_limits<double>::infinity();
    return hoursAllowedAt(dBA);
}

DoseCalculator::DoseCalculator(MainLoop& loop, DefaultsStore& defaults, const Calendar& calendar)
    : m_loop(loop)
    , m_defaults(defaults)
    , m_calendar(calendar)
{}

void DoseCalculator::addMeasurement(double dBA, double dBC, double peakDBC, double peakDBA, Date at)
{
    trackPeak(peakDBC);
    trackInstantaneousPeak(peakDBA);

    const double effective = conservativeMode && !(dBA > dBC) ? dBC : dBA;
    if (effective < thresholdLevelDBA) {
        m_lastMeasurementTime = at;
        return;
    }

    if (m_lastMeasurementTime) {
        const double elapsed = secondsBetween(*m_lastMeasurementTime, at);
        if (elapsed <= 0 || elapsed >= longestGapSeconds) {
            m_lastMeasurementTime = at;
            return;
        }
        const double allowed = hoursAllowedAt(effective) * secondsPerHour;
        accumulatedDose += elapsed / allowed;
        persistDose();
    }
    m_lastMeasurementTime = at;

    const double percentage = accumulatedDose * 100;
    const DoseLevel level = doseLevelFrom(percentage);
    m_loop.post(m_lifetime.guarded([this, percentage, level, effective] {
        dosePercentage = percentage;
        doseLevel = level;
        updateProjection(effective);
        if (level != m_previousDoseLevel) {
            if (onThresholdCrossed)
                onThresholdCrossed(level);
            m_previousDoseLevel = level;
        }
    }));
}

void DoseCalculator::trackPeak(double peakDBC)
{
    if (!(peakDBC > 0))
        return;
    if (peakDBC > todayPeakDBC)
        todayPeakDBC = peakDBC;
    if (peakDBC >= limitPeakDBC) {
        increment(peakCount140);
        increment(peakCount137);
        increment(peakCount135);
    } else if (peakDBC >= upperActionPeakDBC) {
        increment(peakCount137);
        increment(peakCount135);
    } else if (peakDBC >= lowerActionPeakDBC) {
        increment(peakCount135);
    } else {
        return;
    }
    if (onPeakAlert)
        onPeakAlert(peakDBC);
}

void DoseCalculator::trackInstantaneousPeak(double peakDBA)
{
    if (!(peakDBA >= ceilingPeakDBA))
        return;
    increment(peakDBACount115);
    if (onInstantaneousPeakAlert)
        onInstantaneousPeakAlert(peakDBA);
}

// The dose that is used up already stands for the part of the working day that has passed.
void DoseCalculator::updateProjection(double currentDBA)
{
    if (currentDBA < thresholdLevelDBA)
        return;
    const double doseFractionPerHour = 1 / hoursAllowedAt(currentDBA);
    const double remainingHours =
        std::max(0.0, criterionDurationHours - accumulatedDose * criterionDurationHours);
    projectedDoseAtEndOfDay = (accumulatedDose + remainingHours * doseFractionPerHour) * 100;
}

void DoseCalculator::overrideDose(double percentage)
{
    const double fraction = percentage / 100;
    accumulatedDose = fraction;
    m_sessionStartDose = std::min(fraction, m_sessionStartDose);
    persistDose();
    publishQuietly(fraction * 100, doseLevelFrom(fraction * 100));
}

void DoseCalculator::reconcileWithSessions(double todayCompletedDose)
{
    const double fraction = todayCompletedDose / 100;
    if (accumulatedDose >= fraction)
        return;
    accumulatedDose = fraction;
    m_sessionStartDose = fraction;
    persistDose();
    publishQuietly(fraction * 100, doseLevelFrom(fraction * 100));
}

void DoseCalculator::reset()
{
    accumulatedDose = 0;
    m_lastMeasurementTime.reset();
    m_previousDoseLevel = DoseLevel::safe;
    m_sessionStartDose = 0;
    peakCount135 = 0;
    peakCount137 = 0;
    peakCount140 = 0;
    todayPeakDBC = 0;
    peakDBACount115 = 0;
    clearPersistedDose();
    m_loop.post(m_lifetime.guarded([this] {
        dosePercentage = 0;
        doseLevel = DoseLevel::safe;
        projectedDoseAtEndOfDay = 0;
    }));
}

void DoseCalculator::publishQuietly(double percentage, DoseLevel level)
{
    m_loop.post(m_lifetime.guarded([this, percentage, level] {
        dosePercentage = percentage;
        doseLevel = level;
        m_previousDoseLevel = level;
    }));
}

void DoseCalculator::persistConservativeMode()
{
    m_defaults.set(conservativeModeKey, conservativeMode);
}

void DoseCalculator::persistDose()
{
    m_defaults.set(DoseKeys::accumulatedDose, accumulatedDose);
    m_defaults.set(DoseKeys::doseDate, m_loop.now());
    m_defaults.set(DoseKeys::peakCount135, peakCount135.get());
    m_defaults.set(DoseKeys::peakCount137, peakCount137.get());
    m_defaults.set(DoseKeys::peakCount140, peakCount140.get());
    m_defaults.set(todayPeakDBCKey, todayPeakDBC.get());
    m_defaults.set(DoseKeys::peakDBACount115, peakDBACount115.get());
}

void DoseCalculator::clearPersistedDose()
{
    for (const auto key :
         {DoseKeys::accumulatedDose, DoseKeys::doseDate, DoseKeys::peakCount135, DoseKeys::peakCount137,
          DoseKeys::peakCount140, todayPeakDBCKey, DoseKeys::peakDBACount115})
        m_defaults.remove(key);
}

void DoseCalculator::restorePersistedDose()
{
    conservativeMode = m_defaults.get<bool>(conservativeModeKey).value_or(false);

    const auto doseDate = m_defaults.get<Date>(DoseKeys::doseDate);
    if (!doseDate || !m_calendar.isSameDay(*doseDate, m_loop.now())) {
        clearPersistedDose();
        return;
    }
    const double storedDose = m_defaults.get<double>(DoseKeys::accumulatedDose).value_or(0);
    if (!(storedDose > 0) || !std::isfinite(storedDose))
        return;
    accumulatedDose = storedDose;
    m_sessionStartDose = storedDose;
    peakCount135 = m_defaults.get<std::int64_t>(DoseKeys::peakCount135).value_or(0);
    peakCount137 = m_defaults.get<std::int64_t>(DoseKeys::peakCount137).value_or(0);
    peakCount140 = m_defaults.get<std::int64_t>(DoseKeys::peakCount140).value_or(0);
    todayPeakDBC = m_defaults.get<double>(todayPeakDBCKey).value_or(0);
    peakDBACount115 = m_defaults.get<std::int64_t>(DoseKeys::peakDBACount115).value_or(0);
    publishQuietly(accumulatedDose * 100, doseLevelFrom(accumulatedDose * 100));
}

} // namespace velmor
