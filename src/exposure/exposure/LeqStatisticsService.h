// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Observable.h>
#include <exposure/ReadingRing.h>
#include <exposure/SortedWindow.h>
#include <exposure/WindowSum.h>

#include <cstdint>
#include <optional>

namespace velmor {

/// Rolling equivalent levels over one, ten and thirty minutes, and the levels that are exceeded for
/// 10, 50 and 90 % of the buffered time, at most thirty minutes. Counts readings, of which there are
/// `rateHz` a second; knows no clock. Main thread.
class LeqStatisticsService final : public ObservableObject
{
public:
    /// \param rateHz readings a second. One for which half an hour has no countable number of readings
    /// is a programming error.
    explicit LeqStatisticsService(double rateHz);

    Published<std::optional<double>> leq1min{*this, {}};  ///< dB; absent until the window is full.
    Published<std::optional<double>> leq10min{*this, {}}; ///< dB; likewise.
    Published<std::optional<double>> leq30min{*this, {}}; ///< dB; likewise.
    Published<std::optional<double>> l10{*this, {}};      ///< dB; absent for the first minute.
    Published<std::optional<double>> l50{*this, {}};      ///< dB; likewise.
    Published<std::optional<double>> l90{*this, {}};      ///< dB; likewise.

    /// Takes in the next level, in dB.
    void addReading(double level);

    /// Forgets all readings.
    void reset();

private:
    void updatePercentileLevels();

    std::int64_t m_minute;     ///< Readings in a minute.
    std::int64_t m_lnThrottle; ///< Readings from one update of the percentile levels to the next.
    std::int64_t m_maxSamples; ///< Readings in thirty minutes, the most that are kept.
    std::int64_t m_tickCount = 0;
    ReadingRing m_energies;
    ReadingRing m_levels;
    SortedWindow m_sortedLevels;
    std::int64_t m_tenMinutes;
    WindowSum m_minuteSum;
    WindowSum m_tenMinuteSum;
    WindowSum m_thirtyMinuteSum;
};

} // namespace velmor
