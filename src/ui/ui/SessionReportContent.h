// SPDX-License-Identifier: GPL-3.0-or-later
// What a session's report says, before anybody draws it.
#pragma once

#include <base/Calendar.h>
#include <base/Date.h>
#include <calibration/CalibrationTrust.h>
#include <discipline/ReferenceLevelSettings.h>
#include <sessions/Session.h>
#include <ui/ScoreGrade.h>

#include <span>
#include <string>
#include <vector>

namespace velmor {

/// What a report is made under, beside its session.
struct ReportCircumstances
{
    Date now;
    Calendar calendar = Calendar::current();
    CalibrationTrust calibration; ///< As it stands now: a session keeps none of its own.
};

/// The workstation's name, or what stands in for an empty one. What can't be seen in it, as control
/// characters and those that turn the direction of writing, is a space.
std::string reportTitle(const Session& session);

/// The same moment of all reports, whatever the user's language: as in Mar 1, 2026, 9:12 AM.
std::string reportDate(Date date, const Calendar& calendar);

struct LabelledValue
{
    std::string label;
    std::string value;

    bool operator==(const LabelledValue&) const = default;
};

/// The summary's items, in their order.
std::vector<LabelledValue> summaryItems(const Session& session,
                                        const ReferenceLevelSettings& referenceSettings);

/// As in 79 ± 3 dBA. Both in whole decibels.
std::string bandText(double target, double tolerance);

/// As in Target 79 dBA, the target cut off to a whole number.
std::string targetLabel(double target);

/// A value of the level axis, cut off to a whole number.
std::string levelMark(double level);

struct Score
{
    std::string text;
    ScoreGrade grade = ScoreGrade::unknown;
};

/// The share of the active time on target.
Score disciplineScore(const Session& session);

/// Shares of the active time, under, on and over the target, 0 to 1.
struct DisciplineShares
{
    double under = 0;
    double onTarget = 0;
    double over = 0;
};

DisciplineShares disciplineShares(const Session& session);

/// Seconds as in 59s, 42m, 2h, 2h 5m.
std::string formatStripDuration(double seconds);

/// A stretch of readings in one zone.
struct ZoneRun
{
    Zone zone = Zone::silent;
    Date start;
    Date end;

    bool operator==(const ZoneRun&) const = default;
};

/// The stretches of a series. A reading without a zone is silent; the last stretch ends with the last
/// reading.
std::vector<ZoneRun> zoneRuns(std::span<const SPLReading> readings);

/// Whether there is a C-weighted level to draw.
bool hasCLevels(std::span<const SPLReading> readings);

enum class CalendarUnit { minute, hour, day };

enum class MarkFormat {
    hourAndMinute, ///< As in 9:30 AM.
    monthAndDay    ///< As in Mar 1.
};

/// The marks of a chart's time axis.
struct ChartStride
{
    CalendarUnit component = CalendarUnit::minute;
    int count = 1;
    MarkFormat labelFormat = MarkFormat::hourAndMinute;

    bool operator==(const ChartStride&) const = default;
};

/// \param duration of the session, in seconds.
ChartStride chartTimeStride(double duration);

/// The marks within a span, both ends included: whole multiples of the stride from each local midnight on.
std::vector<Date> chartMarks(const ChartStride& stride, Date from, Date to, const Calendar& calendar);

/// What stands at a mark.
std::string markLabel(const ChartStride& stride, Date mark, const Calendar& calendar);

/// Which marks keep their label where only one in `step` has room, or in the next number that divides the
/// hours of a day: the same at every midnight.
std::vector<bool> labelledMarks(const ChartStride& stride, std::span<const Date> marks, int step,
                                const Calendar& calendar);

/// What the figures deserve to be trusted: how the input was calibrated, when, and what has changed since.
std::string calibrationText(const CalibrationTrust& calibration, Date now);

} // namespace velmor
