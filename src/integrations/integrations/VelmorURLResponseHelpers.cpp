// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/VelmorURLResponseHelpers.h>

#include <base/Text.h>

#include <fmt/format.h>

#include <algorithm>

namespace velmor::VelmorURLResponseHelpers {

namespace {

std::string decimal(double number)
{
    return fmt::format("{:.1f}", number);
}

std::string word(bool flag)
{
    return flag ? "true" : "false";
}

std::string wholeSeconds(Date from, Date to)
{
    return std::to_string(wholeSecondsBetween(from, to));
}

} // namespace

URLParameters splParams(std::optional<double> dba, std::optional<double> dbc, std::optional<double> peakDBA)
{
    URLParameters params;
    if (dba)
        params["dba"] = decimal(*dba);
    if (dbc)
        params["dbc"] = decimal(*dbc);
    if (peakDBA)
        params["peak_dba"] = decimal(*peakDBA);
    return params;
}

URLParameters doseParams(double today, DoseLevel level, std::int64_t peakCount135, std::int64_t peakCount137,
                         std::int64_t peakCount140, std::int64_t peakDBACount115)
{
    const double dose = std::max(0.0, today);
    return {
        {"dose_percent", decimal(dose)},
        {"remaining_percent", decimal(std::max(0.0, 100.0 - dose))},
        {"dose_level", levelString(level)},
        {"peak_count_135dbc", std::to_string(peakCount135)},
        {"peak_count_137dbc", std::to_string(peakCount137)},
        {"peak_count_140dbc", std::to_string(peakCount140)},
        {"peak_count_115dba", std::to_string(peakDBACount115)},
    };
}

std::string levelString(DoseLevel level)
{
    return std::string(rawValue(level));
}

URLParameters sessionParams(const std::optional<Session>& session, Date now)
{
    if (!session)
        return {{"active", word(false)}};
    URLParameters params = {
        {"active", word(true)},
        {"start_iso8601", isoText(session->startDate)},
        {"elapsed_seconds", wholeSeconds(session->startDate, now)},
        {"dba_mean", decimal(session->averageSPL)},
        {"dba_peak", decimal(session->peakSPL)},
        {"dbc_peak", decimal(session->peakDBC)},
        {"session_dose_percent", decimal(session->doseAccumulated)},
    };
    if (const auto daw = trimmed(session->dawName); !daw.empty())
        params["daw"] = daw;
    return params;
}

URLParameters pauseParams(const PauseState& pause, Date now)
{
    const bool isPaused = pause.isPaused && (!pause.pauseUntil || *pause.pauseUntil > now);
    URLParameters params = {{"paused", word(isPaused)}};
    if (isPaused && pause.pauseUntil) {
        params["pause_until"] = isoText(*pause.pauseUntil);
        params["pause_resume_in_seconds"] = wholeSeconds(now, *pause.pauseUntil);
    }
    return params;
}

URLParameters stateParams(const URLParameters& spl, const URLParameters& dose, const URLParameters& session,
                          const PauseState& pause, Date now)
{
    URLParameters params = spl;
    params.insert(dose.begin(), dose.end());
    params.insert(session.begin(), session.end());
    params.merge(pauseParams(pause, now));
    return params;
}

std::optional<Url> appendingParams(const Url& url, const URLParameters& params)
{
    auto items = url.queryItems();
    if (!items)
        return std::nullopt;
    for (const auto& [key, value] : params)
        items->push_back({key, value});
    return url.withQueryItems(*items);
}

std::optional<Url> successURL(const Url& base, const URLParameters& params)
{
    URLParameters all = params;
    all.emplace("result", "ok");
    return appendingParams(base, all);
}

std::optional<Url> errorURL(const Url& base, std::string_view code, std::string_view message)
{
    return appendingParams(base,
                           {{"error_code", std::string(code)}, {"error_message", std::string(message)}});
}

} // namespace velmor::VelmorURLResponseHelpers
