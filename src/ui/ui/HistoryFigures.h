// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/HistoryDays.h>

#include <QDate>

#include <cstdint>
#include <optional>
#include <vector>

namespace velmor {

/// What a span of days adds up to. Doses and shares in percent, levels in dB.
struct HistoryFigures
{
    int rangeDays = 1;
    double totalDose = 0;
    double avgDailyDose = 0;

    /// The weekly exposure level in dBA after ISO 9612: of the level that each day's dose stands for over 8
    /// hours with an exchange rate of 3 dB, over five working days however many are chosen. Absent for fewer
    /// than five days and where no day has a dose.
    std::optional<double> euWeeklyLevel;

    // Of finished sessions.
    std::optional<double> rangeOnTargetPercent; ///< Absent below 30 seconds of active time.
    std::optional<double> rangePeakSPL;         ///< dBA
    std::optional<double> rangePeakDBC;
    std::int64_t rangeImpulseCount135 = 0;

    bool operator==(const HistoryFigures&) const = default;
};

/// The dose of a day: the live one for the present day, and otherwise its finished sessions'.
struct DailyDoses
{
    const HistoryDays& days;
    QDate today;
    double todayDose = 0;

    double dose(QDate day) const { return day == today ? todayDose : days.dose(day); }
};

/// \param sessions those of the range.
HistoryFigures historyFigures(const DailyDoses& doses, const DayRange& range,
                              const std::vector<const Session*>& sessions);

} // namespace velmor
