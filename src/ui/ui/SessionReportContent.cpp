// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SessionReportContent.h>

#include <base/Text.h>

#include <QChar>
#include <QString>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <optional>
#include <string_view>

namespace velmor {

namespace {

constexpr auto absentValue = "—";

/// A chart that spans longer than people measure has no more.
constexpr std::size_t mostMarks = 1000;

/// A name as it can be shown: one line, in the direction of the page.
std::string visibleText(const std::string& text)
{
    constexpr std::u16string_view directions =
        u"\u061C\u200E\u200F\u202A\u202B\u202C\u202D\u202E\u2066\u2067\u2068"
        u"\u2069\u2028\u2029";
    QString shown = QString::fromStdString(text);
    for (QChar& character : shown) {
        if (character.category() == QChar::Other_Control ||
            directions.find(character.unicode()) != directions.npos)
            character = QLatin1Char(' ');
    }
    return shown.toStdString();
}

std::string levelText(std::optional<double> level)
{
    return level ? fmt::format("{:.1f}", *level) : absentValue;
}

std::chrono::seconds length(const ChartStride& stride)
{
    switch (stride.component) {
    case CalendarUnit::minute:
        return std::chrono::minutes(stride.count);
    case CalendarUnit::hour:
        return std::chrono::hours(stride.count);
    case CalendarUnit::day:
        break;
    }
    return std::chrono::hours(24 * stride.count);
}

std::string methodText(const CalibrationTrust& calibration)
{
    switch (calibration.method) {
    case CalibrationMethod::never:
        return "none, the offset is the program's default";
    case CalibrationMethod::slider:
        return "set by hand";
    case CalibrationMethod::calibrator:
        return calibration.calibratorLevel
                   ? fmt::format("acoustic calibrator, {:.1f} dB", *calibration.calibratorLevel)
                   : "acoustic calibrator";
    case CalibrationMethod::profile:
        return "saved profile";
    }
    return absentValue;
}

std::string ageText(const CalibrationTrust& calibration, Date now)
{
    const std::optional<std::int64_t> days = calibration.ageInDays(now);
    if (!days)
        return "date unknown";
    return *days == 0 ? "less than a day old" : fmt::format("{} day{} old", *days, *days == 1 ? "" : "s");
}

} // namespace

std::string reportTitle(const Session& session)
{
    const std::string name = visibleText(session.dawName);
    return trimmed(name).empty() ? "Manual session" : name;
}

std::string reportDate(Date date, const Calendar& calendar)
{
    return mediumDateText(calendar.localTime(date));
}

std::vector<LabelledValue> summaryItems(const Session& session,
                                        const ReferenceLevelSettings& referenceSettings)
{
    const std::optional<SessionStatistics> statistics = session.statistics();
    const auto statistic = [&statistics](double SessionStatistics::*level) {
        return levelText(statistics ? std::optional((*statistics).*level) : std::nullopt);
    };
    const std::optional<double> onTarget = session.onTargetPercentage();
    return {
        {"Avg dBA", levelText(session.averageSPL)},
        {"Peak dBA", levelText(session.peakSPL)},
        {"Peak dBC", levelText(session.peakDBC)},
        {"Dose", fmt::format("{:.1f}%", session.doseAccumulated)},
        {"Leq dBA", statistic(&SessionStatistics::leq)},
        {"L10 dBA", statistic(&SessionStatistics::l10)},
        {"L50 dBA", statistic(&SessionStatistics::l50)},
        {"L90 dBA", statistic(&SessionStatistics::l90)},
        {"Target", bandText(referenceSettings.target, referenceSettings.tolerance)},
        {"Peaks ≥ 135 dBC", fmt::format("{}", session.peakCount135)},
        {"Peaks ≥ 140 dBC", fmt::format("{}", session.peakCount140)},
        {"Peaks ≥ 115 dBA", fmt::format("{}", session.peakDBACount115)},
        {"On target", onTarget ? fmt::format("{:.0f}%", *onTarget) : absentValue},
    };
}

std::string bandText(double target, double tolerance)
{
    return fmt::format("{:.0f} ± {:.0f} dBA", target, tolerance);
}

std::string targetLabel(double target)
{
    return fmt::format("Target {} dBA", levelMark(target));
}

std::string levelMark(double level)
{
    return fmt::format("{:.0f}", std::trunc(level) + 0.0);
}

Score disciplineScore(const Session& session)
{
    const std::optional<double> share = session.onTargetPercentage();
    if (!share)
        return {absentValue, ScoreGrade::unknown};
    return {fmt::format("{:.0f}% on target", std::round(*share)), gradeOf(*share)};
}

DisciplineShares disciplineShares(const Session& session)
{
    constexpr double leastDivisor = 0.001;
    const double active = std::max(session.activeMonitoringTimeSec(), leastDivisor);
    return {session.timeUnderSec / active, session.timeOnTargetSec / active, session.timeOverSec / active};
}

std::string formatStripDuration(double seconds)
{
    // A history can hold any number, and one that no integer holds has no meaning here.
    constexpr double most = 1e15;
    const auto s = static_cast<std::int64_t>(std::round(std::clamp(seconds, -most, most)));
    if (s < 60)
        return fmt::format("{}s", s);
    if (s < 3600)
        return fmt::format("{}m", s / 60);
    const std::int64_t hours = s / 3600;
    const std::int64_t remainder = s % 3600;
    return remainder < 60 ? fmt::format("{}h", hours) : fmt::format("{}h {}m", hours, remainder / 60);
}

std::vector<ZoneRun> zoneRuns(std::span<const SPLReading> readings)
{
    std::vector<ZoneRun> runs;
    for (const SPLReading& reading : readings) {
        const Zone zone = reading.zone.value_or(Zone::silent);
        if (!runs.empty() && runs.back().zone == zone)
            continue;
        if (!runs.empty())
            runs.back().end = reading.timestamp;
        runs.push_back({zone, reading.timestamp, reading.timestamp});
    }
    if (!runs.empty())
        runs.back().end = readings.back().timestamp;
    return runs;
}

bool hasCLevels(std::span<const SPLReading> readings)
{
    return std::ranges::any_of(readings, [](const SPLReading& reading) { return reading.dBC > 0; });
}

ChartStride chartTimeStride(double duration)
{
    if (duration < 1800.0)
        return {CalendarUnit::minute, 5, MarkFormat::hourAndMinute};
    if (duration < 21600.0)
        return {CalendarUnit::minute, 30, MarkFormat::hourAndMinute};
    if (duration < 86400.0)
        return {CalendarUnit::hour, 1, MarkFormat::hourAndMinute};
    return {CalendarUnit::day, 1, MarkFormat::monthAndDay};
}

std::vector<Date> chartMarks(const ChartStride& stride, Date from, Date to, const Calendar& calendar)
{
    std::vector<Date> marks;
    for (std::optional<Date> day = calendar.startOfDay(from);
         day && *day <= to && marks.size() < mostMarks;) {
        const std::optional<Date> nextDay = calendar.nextMidnight(*day);
        for (Date mark = *day; mark <= to && (!nextDay || mark < *nextDay) && marks.size() < mostMarks;) {
            if (mark >= from)
                marks.push_back(mark);
            const std::chrono::seconds step = length(stride);
            if (stride.component == CalendarUnit::day ||
                secondsBetween(mark, to) < static_cast<double>(step.count()))
                break;
            mark += step;
        }
        day = nextDay;
    }
    return marks;
}

std::string markLabel(const ChartStride& stride, Date mark, const Calendar& calendar)
{
    const LocalTime time = calendar.localTime(mark);
    return stride.labelFormat == MarkFormat::monthAndDay
               ? fmt::format("{} {}", monthName(time.month), time.day)
               : hourAndMinuteText(time);
}

std::vector<bool> labelledMarks(const ChartStride& stride, std::span<const Date> marks, int step,
                                const Calendar& calendar)
{
    constexpr std::array steps = {1, 2, 3, 4, 6, 8, 12, 24};
    const auto* const found = std::ranges::lower_bound(steps, step);
    const auto every = found != steps.end() ? *found : step;
    const auto minutes =
        static_cast<int>(std::chrono::duration_cast<std::chrono::minutes>(length(stride)).count());
    std::vector<bool> labelled;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        const LocalTime time = calendar.localTime(marks[i]);
        const int ordinal = stride.component == CalendarUnit::day ? static_cast<int>(i)
                                                                  : (time.hour * 60 + time.minute) / minutes;
        labelled.push_back(ordinal % every == 0);
    }
    return labelled;
}

std::string calibrationText(const CalibrationTrust& calibration, Date now)
{
    std::vector<std::string> parts = {methodText(calibration)};
    const bool isCalibrated = calibration.method != CalibrationMethod::never;
    if (isCalibrated)
        parts.push_back(ageText(calibration, now));
    if (!calibration.concerns.empty())
        parts.push_back(fmt::format("{}", fmt::join(calibration.concerns, ", ")));
    else if (isCalibrated && calibration.date)
        parts.emplace_back("nothing changed since");
    return fmt::format("{}", fmt::join(parts, "; "));
}

} // namespace velmor
