// SPDX-License-Identifier: GPL-3.0-or-later
// What the tools that people read a PDF with make of a report's.
#include "Appearances.h"
#include "Images.h"

#include <support/ReportSamples.h>
#include <support/RunProgram.h>
#include <support/TemporaryFolder.h>
#include <ui/SessionReportPdf.h>
#include <ui/SessionReportView.h>

#include <QPixmap>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace velmor {
namespace {

using testing::HasSubstr;
using testing::Not;

class ReportPdf : public testing::Test
{
protected:
    void write(const Session& session, const ReferenceLevelSettings& settings = {})
    {
        test::writeFile(m_file, sessionReportPdf(session, settings, m_circumstances));
    }

    /// What a tool prints about the file.
    std::string by(std::vector<std::string> command) const
    {
        command.push_back(m_file);
        if (command.front() == "pdftotext")
            command.push_back("-");
        const auto outcome = test::run(command);
        EXPECT_EQ(outcome.status, 0) << command.front() << ": " << outcome.error;
        return outcome.output;
    }

    test::TemporaryFolder m_folder;
    std::filesystem::path m_file = m_folder / "report.pdf";
    ReportCircumstances m_circumstances = test::sampleCircumstances();
};

TEST_F(ReportPdf, IsSoundAndOnePageOfTheReportsOwnSize)
{
    write(test::mixingSession(750));
    EXPECT_THAT(by({"qpdf", "--check"}), HasSubstr("No syntax or stream encoding errors found"));
    const SessionReportView view(test::mixingSession(750), {}, m_circumstances);
    const std::string information = by({"pdfinfo"});
    EXPECT_THAT(information, HasSubstr("Pages:           1\n"));
    EXPECT_THAT(information, HasSubstr("Page size:       720 x " + std::to_string(view.height()) + " pts"));
}

TEST_F(ReportPdf, TellsWhatItIsAndWhatItsFiguresDeserve)
{
    write(test::mixingSession(750));
    const std::string information = by({"pdfinfo", "-isodates"});
    EXPECT_THAT(information,
                HasSubstr("Title:           Velmor session report (REAPER, Mar 4, 2025, 10:12 AM)\n"));
    EXPECT_THAT(information, HasSubstr("Author:          Velmor " VELMOR_VERSION "\n"));
    EXPECT_THAT(information, HasSubstr("CreationDate:    2025-03-05T08:30:00Z\n"));
    EXPECT_THAT(information,
                HasSubstr("Keywords:        calibration: acoustic calibrator, 94.0 dB; 3 days old; "
                          "nothing changed since\n"));
}

TEST_F(ReportPdf, HoldsEveryFigureAsText)
{
    const Session session = test::mixingSession(750);
    const ReferenceLevelSettings settings{.target = 83, .tolerance = 2};
    write(session, settings);
    const std::string text = by({"pdftotext", "-layout"});
    for (const char* part : {"Velmor",
                             "Session report",
                             "REAPER",
                             "Mar 4, 2025, 10:12 AM",
                             "2h 5m",
                             "SPL over time",
                             "Target 83 dBA",
                             "dBA",
                             "dBC",
                             "Silent",
                             "Under",
                             "On target",
                             "Over",
                             "Monitoring discipline",
                             "79 ± 3 dBA",
                             "67% on target",
                             "under 22m",
                             "on target 1h 11m",
                             "over 13m",
                             "silent 17m",
                             "Summary",
                             "94.6",
                             "118.2",
                             "12.4%",
                             "83 ± 2 dBA",
                             "Generated Mar 5, 2025, 9:30 AM",
                             "velmor.example",
                             "Calibration: acoustic calibrator, 94.0 dB; 3 days old; nothing changed since"})
        EXPECT_THAT(text, HasSubstr(part));
    for (const LabelledValue& item : summaryItems(session, settings)) {
        EXPECT_THAT(text, HasSubstr(item.label));
        EXPECT_THAT(text, HasSubstr(item.value));
    }
    for (const char* mark : {"10:30 AM", "11:00 AM", "12:00 PM", "140", "120", "100", "80", "60", "40", "20"})
        EXPECT_THAT(text, HasSubstr(mark));
}

TEST_F(ReportPdf, LeavesOutWhatASessionDoesNotHave)
{
    Session session = test::withoutDiscipline(test::mixingSession(12));
    for (SPLReading& reading : session.readings)
        reading.dBC = 0;
    session.dawName.clear();
    write(session);
    const std::string text = by({"pdftotext", "-layout"});
    EXPECT_THAT(text, HasSubstr("Manual session"));
    EXPECT_THAT(text, Not(HasSubstr("Monitoring discipline")));
    // In the summary's labels only: "Peak dBC" and the two counts.
    EXPECT_EQ(text.find("dBC"), text.find("Peak dBC") + 5);
    write(test::withoutReadings(session));
    EXPECT_THAT(by({"pdftotext", "-layout"}), HasSubstr("No detailed time-series for this session."));
}

TEST_F(ReportPdf, DrawsTheTargetAlsoWhereDisciplineIsNotEnabled)
{
    write(test::mixingSession(60), {.enabled = false, .target = 85.9});
    EXPECT_THAT(by({"pdftotext"}), HasSubstr("Target 85 dBA"));
}

TEST_F(ReportPdf, HasItsFontsWithIt)
{
    write(test::mixingSession(750));
    std::istringstream lines(by({"pdffonts"}));
    std::string line;
    std::getline(lines, line);
    const std::size_t embedded = line.find("emb");
    std::getline(lines, line);
    int fonts = 0;
    while (std::getline(lines, line)) {
        ++fonts;
        EXPECT_EQ(line.substr(embedded, 3), "yes") << line;
    }
    EXPECT_GT(fonts, 0);
}

TEST_F(ReportPdf, IsDrawnInVectorsAndLinksToTheWebsite)
{
    write(test::mixingSession(750));
    EXPECT_THAT(by({"pdfimages", "-list"}), Not(HasSubstr("image")));
    EXPECT_THAT(by({"pdfinfo", "-url"}), HasSubstr("https://velmor.example"));
}

TEST_F(ReportPdf, LooksOnPaperAsOnTheScreen)
{
    for (const Session& session : {test::mixingSession(750), test::restlessSession()}) {
        write(session);
        const auto outcome =
            test::run({"pdftoppm", "-r", "72", "-png", "-singlefile", m_file, m_folder / "page"});
        ASSERT_EQ(outcome.status, 0) << outcome.error;
        SessionReportView view(session, {}, m_circumstances);
        view.setPalette(test::paletteOf(Appearance::light));
        const QImage screen = view.grab().toImage();
        const QImage paper(QString::fromStdString((m_folder / "page.png").native()));
        ASSERT_EQ(paper.size(), screen.size());
        // Two programs draw the same edges; what is compared is the page seen from a little farther away.
        const QSize half = screen.size() / 2;
        const auto seen = [&half](const QImage& image) {
            return image.convertToFormat(QImage::Format_RGB888)
                .scaled(half, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        };
        const test::Difference found = test::difference(seen(screen), seen(paper));
        // Where a zone lasts less than a pixel, the two mix the shades of the bands in their own ways.
        EXPECT_LT(found.whole, 3);
        EXPECT_LT(found.worstTile, 30);
    }
}

TEST_F(ReportPdf, IsTheSameFileForTheSameReport)
{
    const Session session = test::mixingSession(60);
    EXPECT_EQ(sessionReportPdf(session, {}, m_circumstances), sessionReportPdf(session, {}, m_circumstances));
}

TEST_F(ReportPdf, OfEightHoursIsBelow300Kilobytes)
{
    write(test::mixingSession(2880));
    EXPECT_LT(std::filesystem::file_size(m_file), 300'000U);
}

TEST_F(ReportPdf, TakesAnySession)
{
    Session session = test::mixingSession(3);
    session.readings[1].timestamp = test::moment("1677-09-22T00:00:00Z");
    session.readings[0].dBA = -1.7e308;
    session.readings[2].dBA = 1.7e308;
    session.readings[1].dBC = 1.7e308;
    session.monitoringTarget = 1e300;
    session.timeUnderSec = 1e300;
    session.timeOnTargetSec = -1e300;
    session.averageSPL = 1e300;
    session.endDate = session.startDate - std::chrono::hours(5);
    session.dawName = "\x01\n\xff <b>&amp;</b> \xe2\x80\xae";
    const ReferenceLevelSettings settings{.target = 1e300, .tolerance = 1e300};
    write(session, settings);
    EXPECT_THAT(by({"qpdf", "--check"}), HasSubstr("No syntax or stream encoding errors found"));
    // What is drawn is made of numbers.
    const auto outcome =
        test::run({"qpdf", "--qdf", "--object-streams=disable", m_file, m_folder / "plain.pdf"});
    ASSERT_EQ(outcome.status, 0) << outcome.error;
    const std::string page = test::contentOf(m_folder / "plain.pdf");
    EXPECT_THAT(page, Not(HasSubstr("inf ")));
    EXPECT_THAT(page, Not(HasSubstr("nan ")));
    EXPECT_FALSE(SessionReportView(session, settings, m_circumstances).grab().isNull());
}

TEST_F(ReportPdf, ANameWithoutEndIsCutOff)
{
    write(test::withName(test::mixingSession(3), std::string(1'000'000, 'x')));
    const SessionReportView ordinary(test::mixingSession(3), {}, m_circumstances);
    const SessionReportView view(test::withName(test::mixingSession(3), std::string(1'000'000, 'x')), {},
                                 m_circumstances);
    EXPECT_LT(view.height(), ordinary.height() + 200);
    EXPECT_THAT(by({"pdftotext"}), HasSubstr("…"));
}

} // namespace
} // namespace velmor
