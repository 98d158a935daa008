// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/BloomGlyph.h>

#include <gtest/gtest.h>

#include <QImage>

#include <cmath>
#include <utility>

namespace velmor {
namespace {

constexpr int scale = 10; ///< Pixels to a unit of the mark's grid of 22.

/// The mark in a colour on nothing.
template <typename Draw>
QImage drawn(int width, int height, Draw draw)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    draw(painter);
    painter.end();
    return image.convertToFormat(QImage::Format_ARGB32);
}

QImage mark(int arcCount)
{
    return drawn(22 * scale, 22 * scale, [&](QPainter& painter) {
        BloomGlyphDrawing::draw(painter, QSizeF(22 * scale, 22 * scale), arcCount, Qt::red);
    });
}

QImage markNS(int arcCount)
{
    return drawn(22 * scale, 22 * scale, [&](QPainter& painter) {
        BloomGlyphDrawing::drawNS(painter, QRectF(0, 0, 22 * scale, 22 * scale), arcCount, Qt::red);
    });
}

/// 0 to 1
double opacityAt(const QImage& image, double x, double y)
{
    return qAlpha(image.pixel(static_cast<int>(std::floor(x)), static_cast<int>(std::floor(y)))) / 255.0;
}

// On the grid of 22: the centre at 11 across, 6 above the lower edge; radii 3.5, 6 and 8.5; lines of 1.6.
constexpr double centreX = 11.0 * scale;
constexpr double centreY = 16.0 * scale;

double opacityAbove(const QImage& image, double gridUnits)
{
    return opacityAt(image, centreX, centreY - gridUnits * scale);
}

TEST(BloomGlyph, ArcsFollowTheLevelWithEachLimitInTheHigherBand)
{
    for (const auto& [level, arcs] :
         {std::pair(-10.0, 0), std::pair(0.0, 0), std::pair(34.9, 0), std::pair(34.999999, 0),
          std::pair(35.0, 1), std::pair(54.9, 1), std::pair(55.0, 2), std::pair(79.9, 2), std::pair(80.0, 3),
          std::pair(140.0, 3)})
        EXPECT_EQ(BloomGlyphThresholds::arcCount(level), arcs) << level;
}

TEST(BloomGlyph, TheDotIsThereWithoutAnyArc)
{
    for (const int arcs : {0, -3}) {
        const QImage image = mark(arcs);
        EXPECT_EQ(opacityAbove(image, 0), 1.0);
        // Its radius is 0.9.
        EXPECT_EQ(opacityAbove(image, 0.8), 1.0);
        EXPECT_EQ(opacityAbove(image, 1.05), 0.0);
        for (const double radius : {3.5, 6.0, 8.5})
            EXPECT_EQ(opacityAbove(image, radius), 0.0) << radius;
    }
}

TEST(BloomGlyph, ArcsComeFromTheInnermostOneWithTheirOpacities)
{
    const double radii[] = {3.5, 6.0, 8.5};
    const double opacities[] = {1.0, 0.75, 0.55};
    for (int count = 1; count <= 3; ++count) {
        const QImage image = mark(count);
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(opacityAbove(image, radii[i]), i < count ? opacities[i] : 0.0, 0.01) << count << i;
    }
}

TEST(BloomGlyph, LinesAreAsWideAsTheyShouldBe)
{
    const QImage image = mark(1);
    // From 2.7 to 4.3.
    EXPECT_EQ(opacityAbove(image, 2.6), 0.0);
    EXPECT_EQ(opacityAbove(image, 2.8), 1.0);
    EXPECT_EQ(opacityAbove(image, 4.2), 1.0);
    EXPECT_EQ(opacityAbove(image, 4.4), 0.0);
}

TEST(BloomGlyph, ArcsAreUpperHalfCirclesWithRoundEnds)
{
    const QImage image = mark(1);
    // The ends lie at the centre's height; a round cap of radius 0.8 stands below them.
    for (const double side : {-1.0, 1.0}) {
        const double x = centreX + side * 3.5 * scale;
        EXPECT_EQ(opacityAt(image, x, centreY - 1), 1.0);
        EXPECT_GT(opacityAt(image, x, centreY + 0.7 * scale), 0.9);
        EXPECT_EQ(opacityAt(image, x, centreY + 0.95 * scale), 0.0);
        // A flat end would reach this corner.
        EXPECT_EQ(opacityAt(image, x + side * 0.75 * scale, centreY + 0.7 * scale), 0.0);
    }
    EXPECT_EQ(opacityAt(image, centreX, centreY + 3.5 * scale), 0.0);
}

TEST(BloomGlyph, SevenArcsAreThree)
{
    EXPECT_EQ(mark(7), mark(3));
    EXPECT_EQ(markNS(7), markNS(3));
    EXPECT_STREQ(BloomGlyph::accessibilityLabel(7), "Velmor: high signal");
}

TEST(BloomGlyph, BothDrawingsAgreeOnASquare)
{
    for (int arcs = 0; arcs <= 3; ++arcs)
        EXPECT_EQ(mark(arcs), markNS(arcs)) << arcs;
}

TEST(BloomGlyph, OffTheSquareOnlyTheItemsDrawingCentresItsSquare)
{
    // 220 wide, 320 high: the square has 50 above and below it.
    const QImage view = drawn(
        220, 320, [](QPainter& painter) { BloomGlyphDrawing::draw(painter, QSizeF(220, 320), 0, Qt::red); });
    EXPECT_EQ(opacityAt(view, 110, 320 * 8.0 / 11.0), 1.0);
    EXPECT_EQ(opacityAt(view, 110, 210), 0.0);
    const QImage item = drawn(220, 320, [](QPainter& painter) {
        BloomGlyphDrawing::drawNS(painter, QRectF(0, 0, 220, 320), 0, Qt::red);
    });
    // 60 above the square's lower edge at 270.
    EXPECT_EQ(opacityAt(item, 110, 210), 1.0);
    EXPECT_EQ(opacityAt(item, 110, 320 * 8.0 / 11.0), 0.0);
}

TEST(BloomGlyph, AWideRectangleHasItsSquareInTheMiddle)
{
    const QImage item = drawn(420, 220, [](QPainter& painter) {
        BloomGlyphDrawing::drawNS(painter, QRectF(0, 0, 420, 220), 1, Qt::red);
    });
    EXPECT_EQ(opacityAt(item, 210, 160), 1.0);
    EXPECT_EQ(opacityAt(item, 210, 160 - 35), 1.0);
}

TEST(BloomGlyph, AFaintColourFadesItsArcsInProportion)
{
    const QImage image = drawn(22 * scale, 22 * scale, [&](QPainter& painter) {
        BloomGlyphDrawing::draw(painter, QSizeF(22 * scale, 22 * scale), 2, QColor(255, 0, 0, 128));
    });
    EXPECT_NEAR(opacityAbove(image, 3.5), 0.5, 0.01);
    EXPECT_NEAR(opacityAbove(image, 6.0), 0.375, 0.01);
}

TEST(BloomGlyph, TellsScreenReadersTheSignal)
{
    BloomGlyph glyph;
    for (const auto& [arcs, label] :
         {std::pair(3, "Velmor: high signal"), std::pair(2, "Velmor: medium signal"),
          std::pair(1, "Velmor: low signal"), std::pair(0, "Velmor: signal at rest"),
          std::pair(-1, "Velmor: signal at rest")}) {
        glyph.show(arcs, Tint::green);
        EXPECT_EQ(glyph.accessibleName().toStdString(), label);
    }
}

} // namespace
} // namespace velmor
