// SPDX-License-Identifier: GPL-3.0-or-later
// What is where on the page, by measured pixels.
#include "Appearances.h"
#include "Images.h"

#include <support/ReportSamples.h>
#include <ui/SessionReportView.h>

#include <QImage>
#include <QPixmap>
#include <QPushButton>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <qcustomplot.h>
#include <string>
#include <vector>

namespace velmor {
namespace {

// Of a page whose title has one line: a row at the chart's top that no line crosses, and the chart's columns.
constexpr int chartTopRow = 230;
constexpr int chartFirstColumn = 60;
constexpr int chartLastColumn = 610;

QImage pictureOf(const Session& session, const ReferenceLevelSettings& settings = {},
                 Appearance appearance = Appearance::light)
{
    SessionReportView view(session, settings, test::sampleCircumstances());
    view.setPalette(test::paletteOf(appearance));
    return view.grab().toImage();
}

/// A session of so many equal readings in one zone.
Session sessionIn(std::optional<Zone> zone, int readings = 60)
{
    Session session = test::mixingSession(readings);
    for (SPLReading& reading : session.readings) {
        reading.dBA = 60;
        reading.dBC = 0;
        reading.zone = zone;
    }
    return session;
}

/// A colour at an opacity on what lies below it, white if nothing else.
QColor onPaper(const QColor& colour, double opacity, const QColor& below = Qt::white)
{
    const auto mix = [opacity](int above, int under) {
        return static_cast<int>(std::lround(under + (above - under) * opacity));
    };
    return {mix(colour.red(), below.red()), mix(colour.green(), below.green()),
            mix(colour.blue(), below.blue())};
}

bool isNear(const QColor& a, const QColor& b)
{
    return std::max({std::abs(a.red() - b.red()), std::abs(a.green() - b.green()),
                     std::abs(a.blue() - b.blue())}) <= 2;
}

/// The first row of a colour in a column; -1 where it is not.
int rowOf(const QImage& image, int column, const QColor& colour)
{
    for (int y = 0; y < image.height(); ++y) {
        if (isNear(image.pixelColor(column, y), colour))
            return y;
    }
    return -1;
}

/// Pixels of a colour in a row.
int countInRow(const QImage& image, int row, const QColor& colour)
{
    int count = 0;
    for (int x = 0; x < image.width(); ++x)
        count += isNear(image.pixelColor(x, row), colour) ? 1 : 0;
    return count;
}

TEST(SessionReportView, IsAsWideAsItsPage)
{
    EXPECT_EQ(pictureOf(test::mixingSession(60)).width(), 720);
}

TEST(SessionReportView, EachZoneIsABandOfItsColourAtAThird)
{
    const Shades& shades = shadesOf(Appearance::light);
    for (const auto& [zone, colour] :
         {std::pair(Zone::silent, shades.silent), std::pair(Zone::under, shades.under),
          std::pair(Zone::onTarget, shades.onTarget), std::pair(Zone::over, shades.over)}) {
        const QImage image = pictureOf(sessionIn(zone));
        EXPECT_TRUE(isNear(image.pixelColor(chartFirstColumn + 40, chartTopRow), onPaper(colour, 0.32)));
    }
}

TEST(SessionReportView, ReadingsWithoutAZoneAreGray)
{
    const QImage image = pictureOf(sessionIn(std::nullopt));
    const QColor gray = shadesOf(Appearance::light).silent;
    EXPECT_NEAR(gray.hsvSaturationF(), 0, 0.1);
    EXPECT_TRUE(isNear(image.pixelColor(chartFirstColumn + 40, chartTopRow), onPaper(gray, 0.32)));
}

TEST(SessionReportView, InGreyTheZonesKeepTheirOrder)
{
    for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
        const Shades& shades = shadesOf(appearance);
        std::vector<int> greys;
        for (const QColor& colour : {shades.under, shades.silent, shades.onTarget, shades.over})
            greys.push_back(qGray(mixed(colour, shades.page, 0.32).rgb()));
        for (std::size_t i = 1; i < greys.size(); ++i)
            EXPECT_GE(greys[i - 1] - greys[i], 8) << i;
    }
}

TEST(SessionReportView, OneMomentOverInEightHoursLeavesATrace)
{
    Session session = sessionIn(Zone::onTarget, 2880);
    const QImage without = pictureOf(session);
    session.readings[1500].zone = Zone::over;
    const QImage with = pictureOf(session);
    int differing = 0;
    for (int x = chartFirstColumn; x < chartLastColumn; ++x)
        differing += with.pixelColor(x, chartTopRow) != without.pixelColor(x, chartTopRow) ? 1 : 0;
    EXPECT_GE(differing, 1);
    EXPECT_LE(differing, 3);
}

TEST(SessionReportView, NoPageShowsBetweenTheBands)
{
    const QImage image = pictureOf(test::restlessSession());
    int lightest = 0;
    for (int x = chartFirstColumn; x < chartLastColumn; ++x)
        lightest = std::max(lightest, qGray(image.pixel(x, chartTopRow)));
    const Shades& shades = shadesOf(Appearance::light);
    EXPECT_LE(lightest, qGray(mixed(shades.under, shades.page, 0.32).rgb()) + 1);
}

TEST(SessionReportView, TheTargetIsADashedGreenRuleAtItsLevel)
{
    Session session = sessionIn(std::nullopt);
    const QImage image = pictureOf(session, {.target = 100});
    const QImage lower = pictureOf(session, {.target = 40});
    // Rows in which the two pages differ within the chart: those of the two rules.
    std::vector<int> rows;
    for (int y = 200; y < 420; ++y) {
        int differing = 0;
        for (int x = chartFirstColumn; x < chartLastColumn; ++x)
            differing += image.pixel(x, y) != lower.pixel(x, y) ? 1 : 0;
        if (differing > 100)
            rows.push_back(y);
    }
    ASSERT_FALSE(rows.empty());
    int dashes = 0;
    const int row = rows.front() + 1;
    bool wasGreen = false;
    for (int x = chartFirstColumn; x < chartLastColumn; ++x) {
        const QColor pixel = image.pixelColor(x, row);
        const bool isGreen = pixel.green() > pixel.red() + 30;
        dashes += isGreen && !wasGreen ? 1 : 0;
        wasGreen = isGreen;
    }
    // 4 on and 3 off.
    EXPECT_NEAR(dashes, (chartLastColumn - chartFirstColumn) / 7.0, 4);
    // 60 dB apart on a scale of 140.
    EXPECT_NEAR(rows.back() - rows.front(), 188 * 60 / 140.0, 4);
}

TEST(SessionReportView, TheStripIsInProportion)
{
    Session session = sessionIn(Zone::silent);
    session.timeUnderSec = 100;
    session.timeOnTargetSec = 700;
    session.timeOverSec = 200;
    const QImage image = pictureOf(session);
    const Shades& shades = shadesOf(Appearance::light);
    const int row = rowOf(image, 360, shades.green);
    ASSERT_GT(row, 0);
    const int middle = row + 4;
    // Of 664 points; two separators of 1.5 between them, and round ends.
    EXPECT_NEAR(countInRow(image, middle, onPaper(shades.blue, 0.55, onPaper(shades.gray, 0.15))), 66, 3);
    EXPECT_NEAR(countInRow(image, middle, shades.green), 465, 3);
    EXPECT_NEAR(countInRow(image, middle, shades.orange), 133, 3);
    EXPECT_TRUE(isNear(image.pixelColor(360, row + 8), shades.green));
    EXPECT_FALSE(isNear(image.pixelColor(360, row + 11), shades.green));
}

TEST(SessionReportView, AStripOfOneColourHasNoNotch)
{
    Session session = sessionIn(Zone::silent);
    session.timeUnderSec = session.timeOverSec = 0;
    session.timeOnTargetSec = 700;
    const QImage image = pictureOf(session);
    const QColor green = shadesOf(Appearance::light).green;
    const int row = rowOf(image, 360, green) + 4;
    EXPECT_GE(countInRow(image, row, green), 662);
}

TEST(SessionReportView, WithoutCLevelsThereIsNoOrangeInTheChart)
{
    Session session = test::withoutDiscipline(test::mixingSession(120));
    const auto orangePixels = [](const QImage& image) {
        int count = 0;
        for (int y = 200; y < 470; ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QColor pixel = image.pixelColor(x, y);
                count += pixel.red() > pixel.green() + 60 && pixel.green() > pixel.blue() + 40 ? 1 : 0;
            }
        }
        return count;
    };
    EXPECT_GT(orangePixels(pictureOf(session)), 100);
    for (SPLReading& reading : session.readings)
        reading.dBC = 0;
    EXPECT_EQ(orangePixels(pictureOf(session)), 0);
}

TEST(SessionReportView, WithoutDisciplineDataThePageIsShorter)
{
    EXPECT_LT(pictureOf(test::withoutDiscipline(test::mixingSession(60))).height(),
              pictureOf(test::mixingSession(60)).height() - 80);
}

TEST(SessionReportView, TellsAScreenReaderWhatIsOnIt)
{
    const SessionReportView view(test::withoutReadings(test::mixingSession(750)), {},
                                 test::sampleCircumstances());
    EXPECT_EQ(view.accessibleName(), "Session report of REAPER");
    const std::string description = view.accessibleDescription().toStdString();
    for (const char* part :
         {"Mar 4, 2025, 10:12 AM", "2h 5m", "No detailed time-series for this session.",
          "Monitoring discipline 79 ± 3 dBA: 67% on target", "Peak dBA: 94.6", "Dose: 12.4%"})
        EXPECT_NE(description.find(part), std::string::npos) << part;
}

TEST(SessionReportView, TheWebAddressCanBeReachedByKeyboard)
{
    const SessionReportView view(test::mixingSession(60), {}, test::sampleCircumstances());
    const auto* const link = view.findChild<QPushButton*>();
    ASSERT_NE(link, nullptr);
    EXPECT_EQ(link->accessibleName(), "velmor.example");
    EXPECT_EQ(link->focusPolicy(), Qt::TabFocus);
    EXPECT_GT(link->geometry().left(), 560);
    EXPECT_GT(link->geometry().top(), view.height() - 80);
}

TEST(SessionReportView, IsSharpAtEveryScale)
{
    SessionReportView view(test::mixingSession(60), {}, test::sampleCircumstances());
    view.setPalette(test::paletteOf(Appearance::light));
    for (const double scale : {1.5, 2.0}) {
        QImage seen(view.size() * scale, QImage::Format_RGB32);
        seen.setDevicePixelRatio(scale);
        view.render(&seen);
        // What is drawn for that many pixels is there, and not a smaller picture that was enlarged.
        QImage drawn(view.size() * scale, QImage::Format_RGB32);
        QCPPainter painter(&drawn);
        painter.scale(scale, scale);
        view.draw(painter, Appearance::light);
        painter.end();
        EXPECT_LT(test::difference(seen, drawn).worstTile, 6);
        const QImage enlarged =
            view.grab().toImage().scaled(seen.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        EXPECT_GT(test::difference(enlarged, drawn).worstTile, 15);
    }
}

} // namespace
} // namespace velmor
