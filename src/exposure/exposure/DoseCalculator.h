// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Calendar.h>
#include <base/Date.h>
#include <base/Lifetime.h>
#include <base/MainLoop.h>
#include <base/Observable.h>
#include <exposure/DoseLevel.h>
#include <platform/DefaultsStore.h>

#include <cstdint>
#include <functional>
#include <optional>

namespace velmor {

/// Allowed time at a steady level: 8 hours at 85 dBA, halved for every 3 dB above it (NIOSH 98-126,
/// REL). Below 80 dBA the time is unlimited: infinity.
/// \param dBA A-weighted level, dB re 20 µPa. \return hours.
double allowedExposureTime(double dBA);

/// Where the day's dose is kept in the defaults store. What is there counts on the day of `doseDate` alone.
namespace DoseKeys {
inline constexpr auto accumulatedDose = "DoseCalculator.accumulatedDose"; ///< 1 is the allowed dose.
inline constexpr auto doseDate = "DoseCalculator.doseDate";
inline constexpr auto peakCount135 = "DoseCalculator.peakCount135";
inline constexpr auto peakCount137 = "DoseCalculator.peakCount137";
inline constexpr auto peakCount140 = "DoseCalculator.peakCount140";
inline constexpr auto peakDBACount115 = "DoseCalculator.peakDBACount115";
} // namespace DoseKeys

/// The day's noise exposure: the dose on the NIOSH model (100 % = 8 hours at 85 dBA, 3 dB exchange
/// rate, nothing counted below 80 dB), its band, the counts of impulse peaks against the limits of
/// EU Directive 2003/10/EC, and a projection to the end of an 8-hour working day. Writes itself to
/// the defaults store with every step, so that a restart loses next to nothing.
///
/// Main thread. The published dose and band follow `accumulatedDose` one turn of the loop later; the
/// counts are immediate.
class DoseCalculator final : public ObservableObject
{
public:
    /// \param calendar says which moments are today.
    DoseCalculator(MainLoop& loop, DefaultsStore& defaults, const Calendar& calendar);

    Published<double> dosePercentage{*this, 0}; ///< Today's dose, 100 is the allowed one.
    Published<DoseLevel> doseLevel{*this, DoseLevel::safe};
    Published<double> projectedDoseAtEndOfDay{*this, 0}; ///< Percent.

    /// Measurements with a C-weighted peak at or above 135, 137 and 140 dBC. The counts are nested: a
    /// peak of 141 dBC is in all three.
    Published<std::int64_t> peakCount135{*this, 0};
    Published<std::int64_t> peakCount137{*this, 0};
    Published<std::int64_t> peakCount140{*this, 0};
    Published<double> todayPeakDBC{*this, 0};          ///< The day's highest C-weighted peak, dBC.
    Published<std::int64_t> peakDBACount115{*this, 0}; ///< Measurements with a peak at or above 115 dBA.

    /// The band has changed, in either direction, through a measurement.
    std::function<void(DoseLevel)> onThresholdCrossed;

    /// A measurement had a peak at or above 135 dBC; takes the peak.
    std::function<void(double peakDBC)> onPeakAlert;

    /// A measurement had a peak at or above 115 dBA; takes the peak.
    std::function<void(double peakDBA)> onInstantaneousPeakAlert;

    /// The dose as a fraction: 1 is the allowed one.
    double accumulatedDose = 0;

    /// Counts the higher of dBA and dBC instead of dBA. Setting it writes nothing by itself.
    bool conservativeMode = false;

    /// Takes in the levels at a moment. The time since the measurement before counts as spent at this
    /// level, unless it is 60 seconds or more, or the clock has not moved forward.
    void addMeasurement(double dBA, double dBC, double peakDBC, double peakDBA, Date at);

    /// Sets the dose, in percent, without announcing a crossing.
    void overrideDose(double percentage);

    /// Raises the dose to what the day's finished sessions sum up to, in percent; never lowers it.
    void reconcileWithSessions(double todayCompletedDose);

    /// Begins the day anew.
    void reset();

    /// Takes up the stored dose if it is of today: at the start, and after an import.
    void restorePersistedDose();

    /// Writes the day to the defaults store. Measuring does so by itself, but for peaks of what is too quiet
    /// to count.
    void persistDose();

    /// Writes `conservativeMode` to the defaults store.
    void persistConservativeMode();

    /// From here on sessionDose() counts.
    void markSessionStart() { m_sessionStartDose = accumulatedDose; }

    /// Dose of the present session in percent.
    double sessionDose() const { return (accumulatedDose - m_sessionStartDose) * 100; }

private:
    void trackPeak(double peakDBC);
    void trackInstantaneousPeak(double peakDBA);
    void updateProjection(double currentDBA);
    void clearPersistedDose();
    void publishQuietly(double percentage, DoseLevel level);

    MainLoop& m_loop;
    DefaultsStore& m_defaults;
    const Calendar& m_calendar;
    std::optional<Date> m_lastMeasurementTime;
    DoseLevel m_previousDoseLevel = DoseLevel::safe; ///< Band of the last announced crossing.
    double m_sessionStartDose = 0;                   ///< Fraction.
    Lifetime m_lifetime;
};

} // namespace velmor
