// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SessionRowContent.h>

#include <ui/HistoryContent.h>
#include <ui/ScoreGrade.h>
#include <ui/SessionReportContent.h>

#include <fmt/format.h>

#include <cmath>

namespace velmor {

std::string timeRange(const Session& session, const Calendar& calendar, const LocaleDates& dates)
{
    std::string range = dates.shortTime(session.startDate, calendar);
    if (session.endDate)
        range += " – " + dates.shortTime(*session.endDate, calendar);
    return range;
}

std::vector<std::string> statsStrip(const Session& session)
{
    const std::optional<SessionStatistics> statistics = session.statistics();
    if (!statistics)
        return {};
    return {fmt::format("Avg {:.0f} dBA", statistics->leq), fmt::format("L10 {:.0f} dBA", statistics->l10),
            fmt::format("L50 {:.0f} dBA", statistics->l50), fmt::format("L90 {:.0f} dBA", statistics->l90)};
}

TintedText dayDoseText(double cumulativeDayDose)
{
    return {fmt::format("{:.1f}% day", cumulativeDayDose), doseColor(cumulativeDayDose)};
}

TintedText sessionDoseText(const Session& session)
{
    return {fmt::format("{:.1f}% session", session.doseAccumulated), Tint::secondary};
}

std::optional<TintedText> rowPeakText(double peakDBC)
{
    if (!(peakDBC > 0))
        return std::nullopt;
    return TintedText{fmt::format("{:.0f} dBC", peakDBC), peakColor(peakDBC)};
}

TintedText rowScore(const Session& session)
{
    const Score score = disciplineScore(session);
    return {score.text, tintOf(score.grade)};
}

std::vector<ZoneTime> disciplineTimes(const Session& session)
{
    std::vector<ZoneTime> times;
    const auto add = [&](Zone zone, double seconds, const char* label) {
        if (seconds > 0)
            times.push_back({zone, seconds, label + formatStripDuration(std::floor(seconds))});
    };
    add(Zone::onTarget, session.timeOnTargetSec, "on target ");
    add(Zone::under, session.timeUnderSec, "under ");
    add(Zone::over, session.timeOverSec, "over ");
    add(Zone::silent, session.timeSilentSec, "silent ");
    return times;
}

std::string rowName(const Session& session, const Calendar& calendar, const LocaleDates& dates)
{
    return fmt::format("{}, {}, {}", session.dawName, timeRange(session, calendar, dates),
                       session.durationFormatted(session.endDate.value_or(session.startDate)));
}

} // namespace velmor
