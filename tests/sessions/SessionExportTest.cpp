// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/SessionFormat.h>
#include <sessions/SessionManager.h>
#include <support/CapturedOutput.h>
#include <support/FakeSavePanel.h>
#include <support/SampleSessions.h>
#include <support/SessionWorld.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace velmor {
namespace {

using test::moment;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string golden(const std::string& name)
{
    const std::filesystem::path file = std::filesystem::path(VELMOR_SESSIONS_GOLDEN) / name;
    if (!std::filesystem::exists(file))
        throw std::runtime_error(file.native() + " is missing");
    return test::contentOf(file);
}

const std::vector<Session>& writtenHistory()
{
    static const std::vector<Session> sessions = decodedHistory(golden("history.json"));
    return sessions;
}

/// A manager of a calendar's zone, without a history of its own.
class SessionExport : public testing::Test
{
protected:
    std::string csv(std::vector<Session> sessions, const char* zone = "UTC")
    {
        m_world.calendar = Calendar::inZone(zone).value();
        return m_world.manager(SessionStorage::nowhere())->csvString(sessions);
    }

    std::vector<std::string> lines(const std::vector<Session>& sessions, const char* zone = "UTC")
    {
        std::istringstream text(csv(sessions, zone));
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);)
            lines.push_back(line);
        return lines;
    }

    static std::vector<std::string> fields(const std::string& line)
    {
        std::vector<std::string> fields(1);
        for (const char character : line) {
            if (character == ',')
                fields.emplace_back();
            else
                fields.back() += character;
        }
        return fields;
    }

    static Session finished(const char* start, const char* end)
    {
        Session session = newSession("REAPER", moment(start));
        session.endDate = moment(end);
        return session;
    }

    test::SessionWorld m_world;
    test::FakeSavePanel m_panel;
};

TEST_F(SessionExport, AHistoryIsTheReviewedFileInThreeTimeZones)
{
    EXPECT_EQ(csv(writtenHistory(), "UTC"), golden("csv-utc.csv"));
    EXPECT_EQ(csv(writtenHistory(), "Europe/Berlin"), golden("csv-berlin.csv"));
    EXPECT_EQ(csv(writtenHistory(), "Asia/Kathmandu"), golden("csv-kathmandu.csv"));
}

TEST_F(SessionExport, TheTimeSeriesIsTheReviewedFile)
{
    EXPECT_EQ(SessionManager::timeSeriesString(writtenHistory()), golden("series.csv"));
}

TEST_F(SessionExport, WithoutFinishedSessionsThereIsTheHeaderAlone)
{
    const std::string header =
        "Date,DAW,Start,End,Start ISO,Duration (min),Avg dBA,Peak dBA,Peak dBC,Leq dBA,L10 dBA,L50 dBA,L90 "
        "dBA,Target dBA,Tolerance dBA,Time under (s),Time on target (s),Time over (s),Time silent (s),"
        "On-target %,Impulses ≥135 dBC,Impulses ≥140 dBC,Peaks ≥115 dBA,Dose %";
    EXPECT_EQ(csv({}), header);
    EXPECT_EQ(csv({newSession("REAPER", moment("2025-03-02T09:00:00Z"))}), header);
}

TEST_F(SessionExport, ASessionWithOneReadingHasFourEmptyColumns)
{
    Session session = finished("2025-03-02T09:00:00Z", "2025-03-02T09:10:00Z");
    session.readings.push_back({session.startDate, 80, 0, 0, {}});
    EXPECT_THAT(lines({session}).at(1), HasSubstr(",10.0,,,,,,,,"));
    session.readings.push_back({session.startDate, 80, 0, 0, {}});
    EXPECT_THAT(lines({session}).at(1), HasSubstr(",10.0,,,,80.0,80.0,80.0,80.0,"));
}

TEST_F(SessionExport, TextIsQuotedWhereItHasTo)
{
    EXPECT_EQ(SessionManager::csvEscape("Pro, \"X\""), "\"Pro, \"\"X\"\"\"");
    EXPECT_EQ(SessionManager::csvEscape("5\" nearfields"), "\"5\"\" nearfields\"");
    EXPECT_EQ(SessionManager::csvEscape("two\nlines"), "\"two\nlines\"");
    EXPECT_EQ(SessionManager::csvEscape("two\rlines"), "\"two\rlines\"");
    EXPECT_EQ(SessionManager::csvEscape("; \t='"), "; \t='");
    EXPECT_EQ(SessionManager::csvEscape(""), "");
}

TEST_F(SessionExport, AWorkstationWithACommaAndQuotesIsOneField)
{
    Session session = finished("2025-03-02T09:00:00Z", "2025-03-02T09:10:00Z");
    session.dawName = "Pro, \"X\"";
    EXPECT_THAT(lines({session}).at(1), StartsWith("2025-03-02,\"Pro, \"\"X\"\"\",09:00:00,"));
}

TEST_F(SessionExport, AnActiveSessionIsLeftOutOfBothTables)
{
    Session active = newSession("Running", moment("2025-03-02T12:00:00Z"));
    active.peakCount135 = 99;
    const Session session = finished("2025-03-02T09:00:00Z", "2025-03-02T09:10:00Z");
    EXPECT_EQ(csv({active, session}), csv({session}));
}

TEST_F(SessionExport, TwoSessionsOfALocalDayMakeOneRow)
{
    Session late = finished("2025-03-02T21:50:00Z", "2025-03-02T22:20:00Z"); // 22:50 to 23:20 in Berlin
    late.doseAccumulated = 1.5;
    late.peakSPL = 90.25;
    Session over = finished("2025-03-02T22:50:00Z", "2025-03-02T23:20:00Z"); // 23:50 to 00:20 in Berlin
    over.doseAccumulated = 2.25;
    over.peakDBC = 120;
    over.peakCount135 = 3;
    const auto rows = lines({over, late}, "Europe/Berlin");
    ASSERT_EQ(rows.size(), 7U);
    EXPECT_THAT(rows[1], StartsWith("2025-03-02,REAPER,22:50:00,23:20:00,2025-03-02T21:50:00Z,30.0,"));
    EXPECT_THAT(rows[2], StartsWith("2025-03-02,REAPER,23:50:00,00:20:00,2025-03-02T22:50:00Z,30.0,"));
    EXPECT_EQ(rows[3], "");
    EXPECT_EQ(rows[4], "Daily totals");
    EXPECT_EQ(rows[5],
              "Date,Sessions,Total dose %,Peak dBA,Peak dBC,Impulses ≥135 dBC,Impulses ≥140 dBC,Peaks "
              "≥115 dBA");
    EXPECT_EQ(rows[6], "2025-03-02,2,3.75,90.2,120.0,3,0,0");
}

TEST_F(SessionExport, WithoutDisciplineDataSixColumnsAreEmptyAndAShareMayStillBeThere)
{
    Session session = finished("2025-03-02T09:00:00Z", "2025-03-02T09:10:00Z");
    session.timeOnTargetSec = 30;
    session.timeOverSec = 10;
    const auto row = fields(lines({session}).at(1));
    ASSERT_EQ(row.size(), 24U);
    for (std::size_t i = 13; i < 19; ++i)
        EXPECT_EQ(row[i], "");
    EXPECT_EQ(row[19], "75");
}

TEST_F(SessionExport, AToleranceOfHalvesIsAWholeNumber)
{
    Session session = finished("2025-03-02T09:00:00Z", "2025-03-02T09:10:00Z");
    session.monitoringTarget = 79.4;
    session.monitoringTolerance = 2.5;
    session.timeOnTargetSec = 29.6;
    const auto row = fields(lines({session}).at(1));
    EXPECT_EQ(row[13], "79");
    EXPECT_EQ(row[14], "2");
    EXPECT_EQ(row[16], "30");
    EXPECT_EQ(row[19], "");
}

TEST_F(SessionExport, ADayWithoutPeaksHasEmptyColumnsAndIsThere)
{
    const auto rows = lines({finished("2025-03-02T09:00:00Z", "2025-03-02T09:10:00Z")});
    EXPECT_EQ(rows.back(), "2025-03-02,1,0.00,,,0,0,0");
    EXPECT_THAT(rows.at(1), EndsWith(",0,0,0,0.00"));
}

TEST_F(SessionExport, TheTextHasNoByteOrderMarkAndNoLastLineBreak)
{
    const std::string text = csv({finished("2025-03-02T09:00:00Z", "2025-03-02T09:10:00Z")});
    EXPECT_THAT(text, StartsWith("Date,"));
    EXPECT_THAT(text, Not(EndsWith("\n")));
    EXPECT_THAT(text, Not(HasSubstr("\r")));
}

TEST_F(SessionExport, NothingToExportShowsNoPanel)
{
    const auto sessions = m_world.manager(SessionStorage::nowhere());
    sessions->exportCSV({}, "x.csv", m_panel);
    SessionManager::exportTimeSeries({}, "x.csv", m_panel);
    SessionManager::exportJSON({}, "x.json", m_panel);
    EXPECT_TRUE(m_panel.requests.empty());
}

TEST_F(SessionExport, TheChosenFileGetsTheText)
{
    const auto sessions = m_world.manager(SessionStorage::nowhere());
    m_panel.place = m_world.folder / "chosen.csv";
    test::writeFile(*m_panel.place, "an older export");
    sessions->exportCSV(writtenHistory(), "Velmor Sessions 2025-03-02.csv", m_panel);
    ASSERT_EQ(m_panel.requests.size(), 1U);
    EXPECT_EQ(m_panel.requests[0].suggestedName, "Velmor Sessions 2025-03-02.csv");
    EXPECT_EQ(m_panel.requests[0].type, SavedFileType::commaSeparatedText);
    EXPECT_EQ(test::contentOf(*m_panel.place), golden("csv-utc.csv"));
    EXPECT_EQ(m_world.folder.names(), std::vector<std::string>{"chosen.csv"});
}

TEST_F(SessionExport, AnExportMayBeReadByWhomTheUserLets)
{
    const mode_t umask = ::umask(027);
    m_panel.place = m_world.folder / "chosen.csv";
    SessionManager::exportTimeSeries(writtenHistory(), "x.csv", m_panel);
    ::umask(umask);
    struct stat status = {};
    ASSERT_EQ(::stat(m_panel.place->c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640U);
}

TEST_F(SessionExport, TheTextIsMadeBeforeThePanelAndOutlivesItsSessions)
{
    m_panel.hesitates = true;
    {
        const std::vector<Session> sessions = writtenHistory();
        m_world.manager(SessionStorage::nowhere())->exportCSV(sessions, "x.csv", m_panel);
    }
    m_panel.late(m_world.folder / "late.csv");
    EXPECT_EQ(test::contentOf(m_world.folder / "late.csv"), golden("csv-utc.csv"));
}

TEST_F(SessionExport, ADayOfWhichNoNumberHoldsTheCountsKeepsWhatThereIs)
{
    Session session = finished("2025-03-02T09:00:00Z", "2025-03-02T09:10:00Z");
    session.peakCount135 = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(lines({session, session}).back(), "2025-03-02,2,0.00,,,9223372036854775807,0,0");
}

TEST_F(SessionExport, ADayBelongsTogetherWhereItsMidnightIsSkippedOrComesTwice)
{
    // In Cairo April 25th begins at 1:00; in Havana the clocks go from 1:00 back to midnight on November 3rd;
    // in São Paulo from midnight back to 23:00 of February 17th.
    const struct
    {
        const char* zone;
        const char* first;
        const char* second;
        const char* day;
    } cases[] = {
        {"Africa/Cairo", "2025-04-24T22:00:00Z", "2025-04-25T20:59:59Z", "2025-04-25,2,0.00,,,0,0,0"},
        {"America/Havana", "2024-11-03T04:00:00Z", "2024-11-04T04:59:59Z", "2024-11-03,2,0.00,,,0,0,0"},
        {"America/Sao_Paulo", "2018-02-17T02:00:00Z", "2018-02-18T02:59:59Z", "2018-02-17,2,0.00,,,0,0,0"}};
    for (const auto& found : cases)
        EXPECT_EQ(
            lines({finished(found.first, found.first), finished(found.second, found.second)}, found.zone)
                .back(),
            found.day)
            << found.zone;
}

TEST_F(SessionExport, FiguresThatNoSpreadsheetHoldsAreTextsAndNoCrash)
{
    Session session = finished("2025-03-02T09:00:00Z", "2025-03-02T09:10:00Z");
    session.readings = {{session.startDate, 1e308, 0, 0, {}}, {session.startDate, -1e308, 0, 0, {}}};
    session.doseAccumulated = 1e308;
    EXPECT_THAT(lines({session}).at(1), HasSubstr(",inf,"));
}

TEST_F(SessionExport, CancellingWritesNothing)
{
    m_world.manager(SessionStorage::nowhere())->exportCSV(writtenHistory(), "x.csv", m_panel);
    EXPECT_EQ(m_panel.requests.size(), 1U);
    EXPECT_TRUE(m_world.folder.names().empty());
}

TEST_F(SessionExport, AFailureIsPrinted)
{
    m_panel.place = m_world.folder / "no such folder" / "x.csv";
    test::CapturedOutput output;
    m_world.manager(SessionStorage::nowhere())->exportCSV(writtenHistory(), "x.csv", m_panel);
    EXPECT_EQ(output.text(), "[Velmor] CSV export failed: No such file or directory\n");
}

TEST_F(SessionExport, TheJsonFormIsTheHistorysWithoutTheActiveSession)
{
    m_panel.place = m_world.folder / "chosen.json";
    SessionManager::exportJSON(writtenHistory(), "x.json", m_panel);
    EXPECT_EQ(m_panel.requests.at(0).type, SavedFileType::json);
    std::vector<Session> expected = writtenHistory();
    std::erase_if(expected, [](const Session& session) { return session.isActive(); });
    EXPECT_EQ(expected.size() + 1, writtenHistory().size());
    EXPECT_EQ(decodedHistory(test::contentOf(*m_panel.place)), expected);
}

TEST_F(SessionExport, ANumberThatIsNoneStopsTheJsonBeforeThePanel)
{
    Session session = finished("2025-03-02T09:00:00Z", "2025-03-02T09:10:00Z");
    session.averageSPL = std::numeric_limits<double>::quiet_NaN();
    test::CapturedOutput output;
    SessionManager::exportJSON(std::vector{session}, "x.json", m_panel);
    EXPECT_EQ(output.text(), "[Velmor] JSON export failed: a number is not finite\n");
    EXPECT_TRUE(m_panel.requests.empty());
}

} // namespace
} // namespace velmor
