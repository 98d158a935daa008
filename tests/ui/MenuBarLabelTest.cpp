// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/PopoverStates.h>
#include <ui/BloomGlyph.h>
#include <ui/IconResolver.h>
#include <ui/MenuBarLabel.h>

#include <gtest/gtest.h>

#include <QFontMetricsF>
#include <QRect>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace velmor {
namespace {

using namespace velmor::test;

using Mode = MenuBarDisplayMode;

MenuBarLabel running(Mode mode, double spl, double dBC = 0)
{
    return {.mode = mode, .spl = spl, .dBC = dBC, .isRunning = true};
}

/// The smallest rectangle around what is seen in a part of a picture.
QRect seen(const QImage& image, const QRect& part)
{
    int left = part.right() + 1;
    int top = part.bottom() + 1;
    int right = part.left() - 1;
    int bottom = part.top() - 1;
    for (int y = part.top(); y <= part.bottom(); ++y) {
        for (int x = part.left(); x <= part.right(); ++x) {
            if (qAlpha(image.pixel(x, y)) < 40)
                continue;
            left = std::min(left, x);
            top = std::min(top, y);
            right = std::max(right, x);
            bottom = std::max(bottom, y);
        }
    }
    return {QPoint(left, top), QPoint(right, bottom)};
}

/// The colour of the fullest pixel in a part.
QColor inkIn(const QImage& image, const QRect& part)
{
    QRgb fullest = 0;
    for (int y = part.top(); y <= part.bottom(); ++y) {
        for (int x = part.left(); x <= part.right(); ++x) {
            if (qAlpha(image.pixel(x, y)) > qAlpha(fullest))
                fullest = image.pixel(x, y);
        }
    }
    return QColor::fromRgb(fullest);
}

void expectClose(const QColor& colour, const QColor& wanted)
{
    EXPECT_NEAR(colour.red(), wanted.red(), 6) << wanted.name().toStdString();
    EXPECT_NEAR(colour.green(), wanted.green(), 6) << wanted.name().toStdString();
    EXPECT_NEAR(colour.blue(), wanted.blue(), 6) << wanted.name().toStdString();
}

TEST(MenuBarLabel, WidthsAreFixedForEachForm)
{
    for (const auto& [mode, plain, decimal] :
         {std::tuple(Mode::icon, 28.0, 28.0), std::tuple(Mode::dBA, 22.0, 38.0),
          std::tuple(Mode::dBC, 22.0, 38.0), std::tuple(Mode::iconAndDBA, 54.0, 70.0),
          std::tuple(Mode::iconAndDBC, 54.0, 70.0)}) {
        for (const double level : {0.0, 9.9, 78.4, 130.0}) {
            MenuBarLabel label = running(mode, level, level);
            EXPECT_EQ(label.totalWidth(), plain);
            EXPECT_EQ(label.image(1, Appearance::dark).size(), QSize(static_cast<int>(plain), 28));
            label.showDecimal = true;
            EXPECT_EQ(label.totalWidth(), decimal);
            EXPECT_EQ(label.image(2, Appearance::dark).size(), QSize(static_cast<int>(2 * decimal), 56));
        }
    }
}

TEST(MenuBarLabel, IconAndNumberAt78Point4StandAsTheyShould)
{
    const MenuBarLabel label = running(Mode::iconAndDBA, 78.4);
    EXPECT_EQ(label.formattedReading(), "78");
    constexpr int scale = 4;
    const QImage image = label.image(scale, Appearance::dark);
    EXPECT_EQ(image.size(), QSize(54 * scale, 28 * scale));

    // The glyph, two arcs: from the middle of its canvas 6 + 0.8 of 22 parts to each side.
    const QRect glyph = seen(image, QRect(0, 0, 28 * scale, 28 * scale));
    const double halfWidth = (0.2727272727 + 0.0363636364) * 28 * scale;
    EXPECT_NEAR(glyph.left(), 14 * scale - halfWidth, 1.5);
    EXPECT_NEAR(glyph.right(), 14 * scale + halfWidth, 1.5);
    EXPECT_NEAR(glyph.top(), 28 * scale * 0.7272727273 - halfWidth, 1.5);

    // The number ends at the picture's edge, but for the room that the last digit keeps behind it.
    const QFontMetricsF metrics(MenuBarLabel::numberFont());
    const double behind = metrics.rightBearing(QLatin1Char('8'));
    const QRect number = seen(image, QRect(28 * scale, 0, 26 * scale, 28 * scale));
    EXPECT_NEAR(number.right() + 1, (54 - behind) * scale, 2);
    const double x = 54 - metrics.horizontalAdvance(QStringLiteral("78"));
    EXPECT_NEAR(number.left(), (x + metrics.leftBearing(QLatin1Char('7'))) * scale, scale);
    // Its line stands in the middle of the height.
    const double baseline = (28 - metrics.height()) * 0.5 + metrics.ascent();
    EXPECT_NEAR(number.bottom() + 1, baseline * scale, 2);
    // Nothing between the two canvases.
    EXPECT_TRUE(seen(image, QRect(28 * scale, 0, 4 * scale, 28 * scale)).isEmpty());
}

TEST(MenuBarLabel, AStoppedMeasurementShowsADashAndAWholeGlyph)
{
    const MenuBarLabel label = {
        .mode = Mode::iconAndDBA, .doseLevel = DoseLevel::danger, .spl = 90, .colorEnabled = true};
    EXPECT_EQ(label.formattedReading(), "—");
    EXPECT_EQ(label.numberColor(), Tint::primary);
    EXPECT_EQ(label.glyphArcCount(), 3);
    EXPECT_EQ(label.glyphColor(), Tint::primary);
}

TEST(MenuBarLabel, AStoppedMeasurementWithTheClassicIconShowsADashBesideTheEar)
{
    const MenuBarLabel label = {
        .mode = Mode::iconAndDBA, .doseLevel = DoseLevel::caution, .useClassicEarIcon = true};
    EXPECT_EQ(label.formattedReading(), "—");
    EXPECT_EQ(label.numberColor(), Tint::primary);
    constexpr int scale = 2;
    const QImage image = label.image(scale, Appearance::dark);
    expectClose(inkIn(image, QRect(0, 0, 28 * scale, 28 * scale)),
                shadesOf(Appearance::dark).ink(Tint::yellow));
    expectClose(inkIn(image, QRect(30 * scale, 0, 24 * scale, 28 * scale)),
                shadesOf(Appearance::dark).ink(Tint::primary));
}

TEST(MenuBarLabel, TheEarShowsTheDoseAlone)
{
    for (const auto& [level, tint] :
         {std::pair(DoseLevel::safe, Tint::green), std::pair(DoseLevel::caution, Tint::yellow),
          std::pair(DoseLevel::warning, Tint::orange), std::pair(DoseLevel::danger, Tint::red)}) {
        MenuBarLabel label = {.mode = Mode::icon, .doseLevel = level, .useClassicEarIcon = true};
        const QImage stopped = label.image(2, Appearance::dark);
        label.isPaused = true;
        EXPECT_EQ(label.image(2, Appearance::dark), stopped);
        label.isRunning = true;
        label.spl = 99;
        EXPECT_EQ(label.image(2, Appearance::dark), stopped);
        expectClose(inkIn(stopped, stopped.rect()), shadesOf(Appearance::dark).ink(tint));
        const QRect ear = seen(stopped, stopped.rect());
        EXPECT_NEAR(ear.center().x(), 28, 2);
        EXPECT_NEAR(ear.center().y(), 28, 3);
    }
    EXPECT_STREQ(doseSign(DoseLevel::safe).symbol, "ear");
    EXPECT_STREQ(doseSign(DoseLevel::caution).symbol, "ear.fill");
    EXPECT_STREQ(doseSign(DoseLevel::warning).symbol, "ear.trianglebadge.exclamationmark");
    EXPECT_STREQ(doseSign(DoseLevel::danger).symbol, "exclamationmark.triangle.fill");
}

TEST(MenuBarLabel, APauseIsACompleteButFaintGlyphAlsoWhileStopped)
{
    MenuBarLabel label = {.mode = Mode::iconAndDBA, .isPaused = true};
    EXPECT_EQ(label.formattedReading(), "—");
    EXPECT_EQ(label.numberColor(), Tint::tertiary);
    EXPECT_EQ(label.glyphArcCount(), 3);
    EXPECT_EQ(label.glyphColor(), Tint::tertiary);
    label.isRunning = true;
    label.spl = 20;
    label.colorEnabled = true;
    EXPECT_EQ(label.glyphArcCount(), 3);
    EXPECT_EQ(label.glyphColor(), Tint::tertiary);
    EXPECT_EQ(label.numberColor(), Tint::tertiary);
    EXPECT_EQ(label.formattedReading(), "20");
}

TEST(MenuBarLabel, TheGlyphTellsTheLevelByItsArcsAndTheDoseByItsColour)
{
    for (const auto& [level, arcs] :
         {std::pair(34.9, 0), std::pair(35.0, 1), std::pair(79.9, 2), std::pair(80.0, 3)})
        EXPECT_EQ(running(Mode::icon, level).glyphArcCount(), arcs) << level;
    // Whatever number is shown.
    EXPECT_EQ(running(Mode::iconAndDBC, 40, 90).glyphArcCount(), 1);
    for (const auto& [dose, tint] :
         {std::pair(DoseLevel::safe, Tint::green), std::pair(DoseLevel::caution, Tint::yellow),
          std::pair(DoseLevel::warning, Tint::orange), std::pair(DoseLevel::danger, Tint::red)}) {
        MenuBarLabel label = running(Mode::iconAndDBC, 90, 10);
        label.doseLevel = dose;
        EXPECT_EQ(label.glyphColor(), tint);
        const QImage image = label.image(4, Appearance::light);
        expectClose(inkIn(image, QRect(0, 0, 112, 112)), shadesOf(Appearance::light).ink(tint));
    }
}

TEST(MenuBarLabel, LimitsOutOfOrderAreCheckedFromTheTop)
{
    MenuBarLabel label = running(Mode::dBA, 87);
    label.colorEnabled = true;
    label.yellowAt = 90;
    label.orangeAt = 85;
    label.redAt = 95;
    EXPECT_EQ(label.numberColor(), Tint::orange);
}

TEST(MenuBarLabel, TheNumbersColourFollowsTheNumberOnShow)
{
    for (const auto& [level, tint] :
         {std::pair(69.9, Tint::green), std::pair(70.0, Tint::yellow), std::pair(79.9, Tint::yellow),
          std::pair(80.0, Tint::orange), std::pair(94.9, Tint::orange), std::pair(95.0, Tint::red)}) {
        MenuBarLabel label = running(Mode::dBA, level, 120);
        EXPECT_EQ(label.numberColor(), Tint::primary) << level;
        label.colorEnabled = true;
        EXPECT_EQ(label.numberColor(), tint) << level;
        label.mode = Mode::iconAndDBC;
        EXPECT_EQ(label.numberColor(), Tint::red);
        label.mode = Mode::icon;
        EXPECT_EQ(label.numberColor(), Tint::primary);
    }
}

TEST(MenuBarLabel, TextsRoundHalvesAwayFromZero)
{
    MenuBarLabel label = running(Mode::dBA, 84.5, 61.25);
    EXPECT_EQ(label.formattedReading(), "85");
    label.spl = 83.5;
    EXPECT_EQ(label.formattedReading(), "84");
    label.spl = -0.4;
    EXPECT_EQ(label.formattedReading(), "0");
    label.spl = 84.5;
    label.showDecimal = true;
    EXPECT_EQ(label.formattedReading(), "84.5");
    label.mode = Mode::iconAndDBC;
    EXPECT_EQ(label.formattedReading(), "61.2");
    label.mode = Mode::icon;
    EXPECT_EQ(label.formattedReading(), "—");
}

TEST(MenuBarLabel, IsReadableOnPanelsOfBothKinds)
{
    // WCAG's contrast of texts that are large or bold.
    const auto luminance = [](const QColor& colour) {
        const auto linear = [](double part) {
            return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(double(colour.redF())) + 0.7152 * linear(double(colour.greenF())) +
               0.0722 * linear(double(colour.blueF()));
    };
    const auto contrast = [&](const QColor& a, const QColor& b) {
        const double one = luminance(a) + 0.05;
        const double other = luminance(b) + 0.05;
        return std::max(one, other) / std::min(one, other);
    };
    for (const auto& [appearance, panel] :
         {std::pair(Appearance::dark, QColor("#353535")), std::pair(Appearance::dark, QColor("#000000")),
          std::pair(Appearance::light, QColor("#ededed")), std::pair(Appearance::light, QColor("#ffffff"))}) {
        for (const Tint tint : {Tint::primary, Tint::green, Tint::yellow, Tint::orange, Tint::red})
            EXPECT_GE(contrast(shadesOf(appearance).ink(tint), panel), 3.0)
                << panel.name().toStdString() << static_cast<int>(tint);
        EXPECT_GE(contrast(shadesOf(appearance).ink(Tint::tertiary), panel), 2.5)
            << panel.name().toStdString();
    }
}

TEST(MenuBarLabel, TakesItsValuesFromTheHub)
{
    PosedHub posed;
    AppState& hub = *posed.hub;
    hub.settings.menuBarDisplayMode = Mode::iconAndDBC;
    hub.settings.menuBarShowDecimal = true;
    hub.settings.menuBarColorEnabled = true;
    hub.settings.menuBarColorYellowAt = 60;
    hub.settings.menuBarColorOrangeAt = 66;
    hub.settings.menuBarColorRedAt = 77;
    hub.settings.menuBarUseClassicEarIcon = true;
    posed.session("REAPER");
    posed.dose(10);
    setLevels(hub, 71.5, 75.25);
    hub.simulatedDoseLevel = DoseLevel::warning;
    hub.pauseService.pause({}, hub.now());
    const MenuBarLabel label = MenuBarLabel::of(hub);
    EXPECT_EQ(label.mode, Mode::iconAndDBC);
    EXPECT_EQ(label.doseLevel, DoseLevel::warning);
    EXPECT_EQ(label.spl, 71.5);
    EXPECT_EQ(label.dBC, 75.25);
    EXPECT_TRUE(label.isRunning);
    EXPECT_TRUE(label.showDecimal);
    EXPECT_TRUE(label.colorEnabled);
    EXPECT_EQ(label.yellowAt, 60);
    EXPECT_EQ(label.orangeAt, 66);
    EXPECT_EQ(label.redAt, 77);
    EXPECT_TRUE(label.useClassicEarIcon);
    EXPECT_TRUE(label.isPaused);
}

TEST(MenuBarLabel, LooksTheSameUntilSomethingOnShowChanges)
{
    const MenuBarLabel label = running(Mode::iconAndDBA, 78.4, 80);
    MenuBarLabel other = label;
    other.spl = 78.1;
    other.dBC = 99;
    EXPECT_TRUE(label.looksLike(other));
    other.spl = 78.6;
    EXPECT_FALSE(label.looksLike(other));
    other = label;
    other.doseLevel = DoseLevel::caution;
    EXPECT_FALSE(label.looksLike(other));
    other = label;
    other.isPaused = true;
    EXPECT_FALSE(label.looksLike(other));
}

} // namespace
} // namespace velmor
