// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/CapturedOutput.h>
#include <support/NoShareServices.h>
#include <support/PopoverStates.h>
#include <support/SampleSessions.h>
#include <support/TemporaryFolder.h>
#include <ui/SessionRowContent.h>
#include <ui/SessionRowView.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QImage>
#include <QLayout>
#include <QMenu>
#include <QPainter>
#include <QTest>

#include <memory>
#include <string>
#include <vector>

namespace velmor {
namespace {

using namespace velmor::test;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<SPLReading> readings(const std::vector<double>& levels, std::optional<Zone> zone = {})
{
    std::vector<SPLReading> result;
    Date time = moment("2026-06-20T09:00:00Z");
    for (const double level : levels) {
        time = time + std::chrono::seconds(10);
        result.push_back({time, level, 0, level + 4, zone});
    }
    return result;
}

QImage drawn(MiniSPLChart& chart, std::span<const SPLReading> readings)
{
    chart.show(readings);
    chart.resize(200, chart.height());
    return chart.grab().toImage();
}

int pixelsOf(const QImage& image, const QColor& colour, int tolerance = 12)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            count += std::abs(pixel.red() - colour.red()) <= tolerance &&
                     std::abs(pixel.green() - colour.green()) <= tolerance &&
                     std::abs(pixel.blue() - colour.blue()) <= tolerance;
        }
    }
    return count;
}

TEST(MiniSPLChart, OneReadingShowsNoLine)
{
    MiniSPLChart chart;
    const auto one = readings({80});
    const QColor red = shadesOf(appearanceOf(chart.palette())).red;
    EXPECT_EQ(pixelsOf(drawn(chart, one), red), 0);
    EXPECT_EQ(chart.height(), 6);
    EXPECT_FALSE(MiniSPLChart::hasChart(one));
    drawn(chart, {});
    EXPECT_EQ(chart.height(), 6);
    const auto two = readings({80, 81});
    EXPECT_GT(pixelsOf(drawn(chart, two), red), 0);
    EXPECT_EQ(chart.height(), 44);
}

TEST(MiniSPLChart, AClockThatWasSetBackLeavesTheChartWhole)
{
    MiniSPLChart chart;
    auto some = readings({80, 90, 70, 75}, Zone::onTarget);
    for (std::size_t i = 2; i < some.size(); ++i)
        some[i].timestamp = some[i].timestamp - std::chrono::hours(1);
    // The peak is the latest: at the right edge.
    const QImage image = drawn(chart, some);
    const QColor red = shadesOf(appearanceOf(chart.palette())).red;
    EXPECT_GT(pixelsOf(image.copy(150, 0, 50, image.height()), red), 0);
}

TEST(MiniSPLChart, ALineOfMoreReadingsThanPixelsStandsWhereItsLevelsAre)
{
    std::vector<double> ramp;
    for (int i = 0; i < 5000; ++i)
        ramp.push_back(60 + 40 * i / 4999.0);
    MiniSPLChart chart;
    const auto many = readings(ramp);
    const QImage image = drawn(chart, many);
    for (const int x : {20, 100, 180}) {
        const QColor ground = image.pixelColor(x, 0);
        double weight = 0;
        double height = 0;
        for (int y = 0; y < image.height(); ++y) {
            const double ink = std::abs(image.pixelColor(x, y).lightnessF() - ground.lightnessF());
            weight += ink;
            height += ink * (y + 0.5);
        }
        // From 56 to 104 dBA over 44 pixels.
        const double level = 60 + 40 * (x + 0.5) / 200;
        EXPECT_NEAR(height / weight, (104 - level) / 48 * 44, 0.3) << x;
    }
}

TEST(MiniSPLChart, EqualReadingsHaveTwoDecibelsAroundThem)
{
    EXPECT_EQ(MiniSPLChart::chartDomain(readings({80, 80, 80})), (MiniSPLChart::Domain{78, 82}));
}

TEST(MiniSPLChart, ATenthOfTheDifferenceIsAroundTheReadings)
{
    EXPECT_EQ(MiniSPLChart::chartDomain(readings({70, 100, 85})), (MiniSPLChart::Domain{67, 103}));
}

TEST(MiniSPLChart, RunsEndWhereTheNextBegins)
{
    auto levels = readings({80, 81, 70, 90, 91, 60});
    const std::optional<Zone> zones[] = {Zone::onTarget, Zone::onTarget, {}, Zone::over, Zone::over, {}};
    for (std::size_t i = 0; i < levels.size(); ++i)
        levels[i].zone = zones[i];
    EXPECT_THAT(MiniSPLChart::zoneRuns(levels),
                ElementsAre(MiniSPLChart::ZoneRun{Zone::onTarget, levels[0].timestamp, levels[3].timestamp},
                            MiniSPLChart::ZoneRun{Zone::over, levels[3].timestamp, levels[5].timestamp}));
}

TEST(MiniSPLChart, WithoutZonesThereIsNoGroundAndTheLineStillShows)
{
    MiniSPLChart chart;
    const auto plain = readings({70, 90, 75, 80});
    EXPECT_THAT(MiniSPLChart::zoneRuns(plain), IsEmpty());
    const Shades& shades = shadesOf(appearanceOf(chart.palette()));
    const QColor page = chart.palette().color(QPalette::Window);
    const QImage image = drawn(chart, plain);
    EXPECT_GT(pixelsOf(image, mixed(shades.text, page, 0.85), 40), 100);
    EXPECT_GT(pixelsOf(image, shades.red), 5);
    EXPECT_GT(pixelsOf(image, page, 3), image.width() * image.height() / 2);
}

TEST(MiniSPLChart, ZonesHaveTheirColours)
{
    MiniSPLChart chart;
    const Shades& shades = shadesOf(appearanceOf(chart.palette()));
    const QColor page = chart.palette().color(QPalette::Window);
    for (const Zone zone : {Zone::onTarget, Zone::under, Zone::over, Zone::silent}) {
        const auto levels = readings({80, 81, 80, 81}, zone);
        const QImage image = drawn(chart, levels);
        EXPECT_GT(pixelsOf(image, mixed(shades.zone(zone), page, 0.42), 3),
                  image.width() * image.height() / 2)
            << static_cast<int>(zone);
    }
}

TEST(SessionRowContent, TimesHaveTheirOwnShortForm)
{
    Session session = newSession("REAPER", moment("2026-06-20T09:12:00Z"));
    const auto texts = [&](double onTarget, double under, double over, double silent) {
        session.timeOnTargetSec = onTarget;
        session.timeUnderSec = under;
        session.timeOverSec = over;
        session.timeSilentSec = silent;
        std::vector<std::string> found;
        for (const ZoneTime& time : disciplineTimes(session))
            found.push_back(time.text);
        return found;
    };
    EXPECT_THAT(texts(59, 60, 3600, 3660),
                ElementsAre("on target 59s", "under 1m", "over 1h", "silent 1h 1m"));
    EXPECT_THAT(texts(0, 59.9, 0, 0), ElementsAre("under 59s"));
}

TEST(SessionRowContent, TheShareNeedsHalfAMinute)
{
    Session session = newSession("REAPER", moment("2026-06-20T09:12:00Z"));
    session.timeOnTargetSec = 20;
    session.timeUnderSec = 9.9;
    EXPECT_EQ(rowScore(session).tint, Tint::secondary);
    session.timeUnderSec = 10;
    EXPECT_EQ(rowScore(session), (TintedText{"67% on target", Tint::yellow}));
    session.timeOnTargetSec = 70;
    session.timeUnderSec = 30;
    EXPECT_EQ(rowScore(session), (TintedText{"70% on target", Tint::green}));
    session.timeOnTargetSec = 39;
    session.timeUnderSec = 61;
    EXPECT_EQ(rowScore(session), (TintedText{"39% on target", Tint::orange}));
}

TEST(SessionRowContent, FiguresHaveTheirTexts)
{
    const Calendar utc = Calendar::inZone("UTC").value();
    const LocaleDates dates(QLocale(QLocale::English, QLocale::UnitedStates));
    Session session = newSession("REAPER", moment("2026-06-20T09:12:00Z"));
    EXPECT_EQ(timeRange(session, utc, dates), "9:12 AM");
    session.endDate = moment("2026-06-20T14:05:30Z");
    EXPECT_EQ(timeRange(session, utc, dates), "9:12 AM – 2:05 PM");
    EXPECT_EQ(dayDoseText(39.96), (TintedText{"40.0% day", Tint::green}));
    EXPECT_EQ(dayDoseText(90), (TintedText{"90.0% day", Tint::red}));
    session.doseAccumulated = 12.34;
    EXPECT_EQ(sessionDoseText(session), (TintedText{"12.3% session", Tint::secondary}));
    EXPECT_FALSE(rowPeakText(0));
    EXPECT_EQ(rowPeakText(134.4), (TintedText{"134 dBC", Tint::secondary}));
    EXPECT_EQ(rowPeakText(135), (TintedText{"135 dBC", Tint::orange}));
    EXPECT_EQ(rowPeakText(140), (TintedText{"140 dBC", Tint::red}));
    EXPECT_THAT(statsStrip(session), IsEmpty());
    session.readings = readings({80, 80, 80});
    EXPECT_THAT(statsStrip(session), ElementsAre("Avg 80 dBA", "L10 80 dBA", "L50 80 dBA", "L90 80 dBA"));
}

class SessionRowTest : public testing::Test
{
protected:
    std::vector<std::string> menu()
    {
        row.popUpMenu(QPoint(10, 10));
        std::vector<std::string> labels;
        for (const QAction* const action : row.findChildren<QMenu*>().back()->actions()) {
            if (!action->isSeparator())
                labels.push_back(action->text().toStdString());
        }
        return labels;
    }

    void choose(const char* label)
    {
        menu();
        QMenu* const menu = row.findChildren<QMenu*>().back();
        for (QAction* const action : menu->actions()) {
            if (action->text() == QString::fromUtf8(label))
                action->trigger();
        }
        menu->close();
    }

    TemporaryFolder folder;
    PosedHub posed;
    NoShareServices shareServices;
    SessionReportSharing sharing{*posed.hub, shareServices, folder.path()};
    LocaleDates dates{QLocale(QLocale::English, QLocale::UnitedStates)};
    std::vector<Uuid> asked;
    SessionRowView row{{.hub = *posed.hub,
                        .sharing = sharing,
                        .dates = dates,
                        .askToDelete = [this](const Session& session) { asked.push_back(session.id); },
                        .dawIcon = [](const std::string&) { return QIcon(); }}};
};

TEST_F(SessionRowTest, IsAsHighAsWhatItShows)
{
    const Date start = moment("2026-06-20T09:00:00Z");
    const SessionRowView::Heights heights;
    for (const int count : {0, 1, 2, 400}) {
        for (const bool isMonitored : {false, true}) {
            Session session = sampleSession(start, count);
            if (!isMonitored)
                session.monitoringTarget = 0;
            row.show(session, 20);
            EXPECT_EQ(row.layout()->sizeHint().height(), heights.of(session)) << count << isMonitored;
        }
    }
}

TEST_F(SessionRowTest, MarksAreThereForWhatHasHappenedAlone)
{
    Session session = sampleSession(moment("2026-06-20T09:00:00Z"), 10);
    session.peakCount135 = 4;
    session.peakCount140 = 0;
    session.peakDBACount115 = 1;
    row.show(session, 20);
    std::vector<std::string> seen;
    for (const QWidget* const widget : row.findChildren<QWidget*>()) {
        if (dynamic_cast<const CountLabel*>(widget) && widget->isVisibleTo(&row))
            seen.push_back(widget->accessibleName().toStdString());
    }
    EXPECT_THAT(seen, ElementsAre("Peaks at or above 135 dBC: 4", "Peaks at or above 115 dBA: 1"));
}

TEST_F(SessionRowTest, TheMenuHasItsFourCommands)
{
    const Session session = sampleSession(moment("2026-06-20T09:00:00Z"), 10);
    posed.history({session});
    row.show(posed.hub->sessionManager.sessionHistory.get()[0], 20);
    EXPECT_THAT(menu(), ElementsAre("Open Report", "Save Report…", "Share Report…", "Delete Session"));
    choose("Open Report");
    EXPECT_EQ(posed.hub->pendingReportSessionID.get(), session.id);
    choose("Delete Session");
    EXPECT_THAT(asked, ElementsAre(session.id));
    setPrintedLines(PrintedLines::onStandardOutput);
    CapturedOutput output;
    choose("Save Report…");
    EXPECT_EQ(output.text(), "[Velmor] Save: no window to anchor save panel from\n");
    setPrintedLines(PrintedLines::nowhere);
}

TEST_F(SessionRowTest, ACommandForASessionThatIsGoneDoesNothing)
{
    const Session session = sampleSession(moment("2026-06-20T09:00:00Z"), 10);
    posed.history({session});
    row.show(posed.hub->sessionManager.sessionHistory.get()[0], 20);
    row.popUpMenu(QPoint(10, 10));
    QMenu* const menu = row.findChildren<QMenu*>().back();
    row.forget();
    posed.history({});
    for (QAction* const action : menu->actions()) {
        if (action->text() == QStringLiteral("Delete Session"))
            action->trigger();
    }
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(SessionRowTest, KeysOpenTheReportAndAskToDelete)
{
    const Session session = sampleSession(moment("2026-06-20T09:00:00Z"), 10);
    posed.history({session});
    row.show(posed.hub->sessionManager.sessionHistory.get()[0], 20);
    QTest::keyClick(&row, Qt::Key_Return);
    EXPECT_EQ(posed.hub->pendingReportSessionID.get(), session.id);
    QTest::keyClick(&row, Qt::Key_Delete);
    EXPECT_THAT(asked, ElementsAre(session.id));
    EXPECT_FALSE(row.accessibleName().isEmpty());
}

} // namespace
} // namespace velmor
