// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/SessionManager.h>

#include <base/AtomicFile.h>
#include <base/Counts.h>
#include <base/Print.h>
#include <sessions/SessionFormat.h>

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmor {

namespace {

constexpr std::string_view sessionHeader =
    "Date,DAW,Start,End,Start ISO,Duration (min),Avg dBA,Peak dBA,Peak dBC,Leq dBA,L10 dBA,L50 dBA,L90 dBA,"
    "Target dBA,Tolerance dBA,Time under (s),Time on target (s),Time over (s),Time silent (s),On-target %,"
    "Impulses ≥135 dBC,Impulses ≥140 dBC,Peaks ≥115 dBA,Dose %";

constexpr std::string_view dayHeader =
    "Date,Sessions,Total dose %,Peak dBA,Peak dBC,Impulses ≥135 dBC,Impulses ≥140 dBC,Peaks ≥115 dBA";

constexpr std::string_view readingHeader = "Time,dBA,dBC,Day dose %,Zone";

/// Appends lines of comma-separated fields, a line break between them.
class CsvText
{
public:
    void reserve(std::size_t bytes) { m_text.reserve(bytes); }

    void line(std::string_view text)
    {
        beginRow();
        m_text += text;
    }

    /// A line whose fields come next.
    void beginRow()
    {
        if (std::exchange(m_hasLines, true))
            m_text += '\n';
        m_isFirstField = true;
    }

    void field(std::string_view text)
    {
        separate();
        m_text += text;
    }

    template <typename Value>
    void field(fmt::format_string<const Value&> format, const Value& value)
    {
        separate();
        fmt::format_to(std::back_inserter(m_text), format, value);
    }

    /// Stays empty where there is no value.
    template <typename Value>
    void field(fmt::format_string<const Value&> format, const std::optional<Value>& value)
    {
        if (value)
            field(format, *value);
        else
            field({});
    }

    std::string text() && { return std::move(m_text); }

private:
    void separate()
    {
        if (!std::exchange(m_isFirstField, false))
            m_text += ',';
    }

    std::string m_text;
    bool m_hasLines = false;
    bool m_isFirstField = true;
};

/// Absent for 0, which is no measurement.
std::optional<double> measured(double level)
{
    return level > 0 ? std::optional(level) : std::nullopt;
}

/// A day's totals.
struct DayRow
{
    std::int64_t sessions = 0;
    double dose = 0;
    double peakSPL = 0;
    double peakDBC = 0;
    std::int64_t peakCount135 = 0;
    std::int64_t peakCount140 = 0;
    std::int64_t peakDBACount115 = 0;

    void add(const Session& session)
    {
        ++sessions;
        dose += session.doseAccumulated;
        peakSPL = std::max(peakSPL, session.peakSPL);
        peakDBC = std::max(peakDBC, session.peakDBC);
        addCount(peakCount135, session.peakCount135);
        addCount(peakCount140, session.peakCount140);
        addCount(peakDBACount115, session.peakDBACount115);
    }
};

/// Those that have ended, in their order.
std::vector<const Session*> finished(std::span<const Session> sessions)
{
    std::vector<const Session*> result;
    for (const Session& session : sessions) {
        if (!session.isActive())
            result.push_back(&session);
    }
    return result;
}

/// Those that have ended, oldest first.
std::vector<const Session*> finishedByStart(std::span<const Session> sessions)
{
    std::vector<const Session*> result = finished(sessions);
    std::ranges::stable_sort(result, {}, &Session::startDate);
    return result;
}

void appendSession(CsvText& csv, const Session& session, const Calendar& calendar)
{
    const LocalTime start = calendar.localTime(session.startDate);
    csv.beginRow();
    csv.field(dayText(start));
    csv.field(SessionManager::csvEscape(session.dawName));
    csv.field(timeText(start));
    csv.field(timeText(calendar.localTime(*session.endDate)));
    csv.field(isoText(session.startDate));
    csv.field("{:.1f}", session.duration(*session.endDate) / 60.0);
    csv.field("{:.1f}", measured(session.averageSPL));
    csv.field("{:.1f}", measured(session.peakSPL));
    csv.field("{:.1f}", measured(session.peakDBC));
    const std::optional<SessionStatistics> statistics = session.statistics();
    for (const auto level :
         {&SessionStatistics::leq, &SessionStatistics::l10, &SessionStatistics::l50, &SessionStatistics::l90})
        csv.field("{:.1f}", statistics ? std::optional((*statistics).*level) : std::nullopt);
    for (const auto figure :
         {&Session::monitoringTarget, &Session::monitoringTolerance, &Session::timeUnderSec,
          &Session::timeOnTargetSec, &Session::timeOverSec, &Session::timeSilentSec})
        csv.field("{:.0f}",
                  session.hasMonitoringDisciplineData() ? std::optional(session.*figure) : std::nullopt);
    csv.field("{:.0f}", session.onTargetPercentage());
    csv.field("{}", session.peakCount135);
    csv.field("{}", session.peakCount140);
    csv.field("{}", session.peakDBACount115);
    csv.field("{:.2f}", session.doseAccumulated);
}

void appendDay(CsvText& csv, const LocalTime& day, const DayRow& row)
{
    csv.beginRow();
    csv.field(dayText(day));
    csv.field("{}", row.sessions);
    csv.field("{:.2f}", row.dose);
    csv.field("{:.1f}", measured(row.peakSPL));
    csv.field("{:.1f}", measured(row.peakDBC));
    csv.field("{}", row.peakCount135);
    csv.field("{}", row.peakCount140);
    csv.field("{}", row.peakDBACount115);
}

/// \param kind of the export, for the line about a failure.
void save(std::string text, SavedFileType type, std::string_view kind, const std::string& suggestedName,
          SavePanel& panel)
{
    panel.ask({.type = type, .suggestedName = suggestedName},
              [text = std::move(text), kind](const std::optional<std::filesystem::path>& place) {
                  if (!place)
                      return;
                  AtomicFile file(*place, AtomicFile::Readers::asUsual);
                  file.write(text);
                  if (!file.commit())
                      printLine("{} export failed: {}", kind, file.error().message());
              });
}

} // namespace

std::string SessionManager::csvEscape(std::string_view text)
{
    if (text.find_first_of(",\"\n\r") == std::string_view::npos)
        return std::string(text);
    std::string quoted = "\"";
    for (const char character : text) {
        if (character == '"')
            quoted += '"';
        quoted += character;
    }
    return quoted + '"';
}

std::string SessionManager::csvString(std::span<const Session> sessions) const
{
    const std::vector<const Session*> rows = finishedByStart(sessions);
    constexpr std::size_t usualBytesOfARow = 200;
    CsvText csv;
    csv.reserve(sessionHeader.size() + dayHeader.size() + usualBytesOfARow * rows.size());
    csv.line(sessionHeader);
    std::map<Date, DayRow> days;
    for (const Session* session : rows) {
        appendSession(csv, *session, m_calendar);
        days[m_calendar.startOfDay(session->startDate)].add(*session);
    }
    if (!days.empty()) {
        csv.line("");
        csv.line("Daily totals");
        csv.line(dayHeader);
    }
    for (const auto& [day, row] : days)
        appendDay(csv, m_calendar.localTime(day), row);
    return std::move(csv).text();
}

std::string SessionManager::timeSeriesString(std::span<const Session> sessions)
{
    CsvText csv;
    csv.line(readingHeader);
    for (const Session* session : finishedByStart(sessions)) {
        for (const SPLReading& reading : session->readings) {
            csv.beginRow();
            csv.field(isoText(reading.timestamp));
            csv.field("{:.2f}", reading.dBA);
            csv.field("{:.2f}", reading.dBC != 0 ? std::optional(reading.dBC) : std::nullopt);
            csv.field("{:.2f}", reading.dosePercentageAtTime);
            csv.field(reading.zone ? rawValue(*reading.zone) : std::string_view());
        }
    }
    return std::move(csv).text();
}

std::optional<std::string> SessionManager::jsonString(std::span<const Session> sessions)
{
    std::vector<Session> chosen;
    for (const Session* session : finished(sessions))
        chosen.push_back(*session);
    return encodedHistory(chosen);
}

void SessionManager::exportCSV(std::span<const Session> sessions, const std::string& suggestedName,
                               SavePanel& panel) const
{
    if (!sessions.empty())
        save(csvString(sessions), SavedFileType::commaSeparatedText, "CSV", suggestedName, panel);
}

void SessionManager::exportTimeSeries(std::span<const Session> sessions, const std::string& suggestedName,
                                      SavePanel& panel)
{
    if (!sessions.empty())
        save(timeSeriesString(sessions), SavedFileType::commaSeparatedText, "Time series", suggestedName,
             panel);
}

void SessionManager::exportJSON(std::span<const Session> sessions, const std::string& suggestedName,
                                SavePanel& panel)
{
    if (sessions.empty())
        return;
    std::optional<std::string> text = jsonString(sessions);
    if (text)
        save(*std::move(text), SavedFileType::json, "JSON", suggestedName, panel);
    else
        printLine("JSON export failed: a number is not finite");
}

} // namespace velmor
