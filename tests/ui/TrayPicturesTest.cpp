// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/TrayItem.h>
#include <ui/TrayPictures.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace velmor {
namespace {

using Mode = MenuBarDisplayMode;

/// Whether something is seen in a part of a picture's height, 0 at the top to 1.
bool isSeenBetween(const QImage& image, double from, double to)
{
    for (int y = static_cast<int>(from * image.height()); y < static_cast<int>(to * image.height()); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 120)
                return true;
        }
    }
    return false;
}

TEST(TrayForm, IsTheBestThatTheHostCanShow)
{
    EXPECT_EQ(trayFormFor("gnome-shell"), TrayForm::glyphAndLabel);
    EXPECT_EQ(trayFormFor("waybar"), TrayForm::wide);
    EXPECT_EQ(trayFormFor("panel-7-systray"), TrayForm::singleSquare);
    EXPECT_EQ(trayFormFor("lxqt-panel"), TrayForm::square);
    EXPECT_EQ(trayFormFor("kded5"), TrayForm::square);
    EXPECT_EQ(trayFormFor(""), TrayForm::square);
}

TEST(TrayPictures, EachHostIsGivenWhatItCanChooseFrom)
{
    const MenuBarLabel label = {.mode = Mode::iconAndDBA, .spl = 78.4, .isRunning = true};
    const auto sizes = [&](TrayForm form, double scale) {
        QList<QSize> found;
        for (const QImage& picture : trayPictures(label, form, Appearance::dark, scale))
            found.append(picture.size());
        return found;
    };
    const QList<QSize> squares = {{16, 16}, {20, 20}, {22, 22}, {24, 24}, {28, 28},
                                  {32, 32}, {33, 33}, {44, 44}, {48, 48}, {64, 64}};
    EXPECT_EQ(sizes(TrayForm::square, 1), squares);
    EXPECT_EQ(sizes(TrayForm::glyphAndLabel, 1), squares);
    // These take the largest: there is one.
    EXPECT_EQ(sizes(TrayForm::singleSquare, 1), QList<QSize>({{22, 22}}));
    EXPECT_EQ(sizes(TrayForm::singleSquare, 2), QList<QSize>({{44, 44}}));
    // Scaled down to the height of the tray, 22 mostly, or shown as it is on a screen of twice the scale.
    EXPECT_EQ(sizes(TrayForm::wide, 1), QList<QSize>({{85, 44}}));
    EXPECT_EQ(sizes(TrayForm::wide, 2), QList<QSize>({{170, 88}}));
}

TEST(TrayPictures, ASquareHasTheGlyphAboveTheNumber)
{
    const MenuBarLabel label = {
        .mode = Mode::iconAndDBA, .doseLevel = DoseLevel::danger, .spl = 78.4, .isRunning = true};
    for (const int side : {22, 24, 32, 44, 48, 64}) {
        const QImage picture = squareTrayPicture(label, side, Appearance::dark);
        EXPECT_TRUE(isSeenBetween(picture, 0, 0.4)) << side;
        EXPECT_TRUE(isSeenBetween(picture, 0.55, 1)) << side;
        // The glyph is red, the number white.
        for (int x = 0; x < side; ++x) {
            const QRgb pixel = picture.pixel(x, side * 3 / 4);
            if (qAlpha(pixel) > 200) {
                EXPECT_NEAR(qRed(pixel), qBlue(pixel), 12) << side;
            }
        }
    }
}

TEST(TrayPictures, DigitsOfASquareAreTallEnoughToRead)
{
    const MenuBarLabel label = {.mode = Mode::iconAndDBA, .spl = 78.4, .isRunning = true};
    const QImage picture = squareTrayPicture(label, 22, Appearance::dark);
    int lines = 0;
    for (int y = 11; y < 22; ++y) {
        bool isInked = false;
        for (int x = 0; x < 22; ++x)
            isInked = isInked || qAlpha(picture.pixel(x, y)) > 128;
        lines += isInked ? 1 : 0;
    }
    EXPECT_GE(lines, 9);
}

TEST(TrayPictures, ANumberThatIsWideStaysWithinItsSquare)
{
    const MenuBarLabel label = {
        .mode = Mode::iconAndDBA, .spl = 128.8, .isRunning = true, .showDecimal = true};
    const QImage picture = squareTrayPicture(label, 22, Appearance::dark);
    // All of its three digits: ink in the left, the middle and the right third.
    for (int third = 0; third < 3; ++third) {
        bool isInked = false;
        for (int x = third * 22 / 3; x < (third + 1) * 22 / 3; ++x) {
            for (int y = 11; y < 22; ++y)
                isInked = isInked || qAlpha(picture.pixel(x, y)) > 100;
        }
        EXPECT_TRUE(isInked) << third;
    }
}

TEST(TrayPictures, TheIconAloneFillsItsWidthInTheMiddle)
{
    const QImage picture = trayIconPicture({.isRunning = false}, 64, Appearance::dark);
    int top = 64;
    int bottom = 0;
    int left = 64;
    int right = 0;
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x) {
            if (qAlpha(picture.pixel(x, y)) < 100)
                continue;
            top = std::min(top, y);
            bottom = std::max(bottom, y);
            left = std::min(left, x);
            right = std::max(right, x);
        }
    }
    EXPECT_LE(left, 2);
    EXPECT_GE(right, 61);
    EXPECT_NEAR(top + bottom, 63, 4);
}

TEST(TrayPictures, PanelsOfBothKindsHaveTheirColours)
{
    const MenuBarLabel label = {.mode = Mode::dBA, .spl = 78.4, .isRunning = true};
    const auto brightest = [&](Appearance panel) {
        int value = -1;
        const QImage picture = squareTrayPicture(label, 48, panel);
        for (int x = 0; x < 48; ++x) {
            if (qAlpha(picture.pixel(x, 24)) > 250)
                value = std::max(value, qGray(picture.pixel(x, 24)));
        }
        return value;
    };
    EXPECT_GT(brightest(Appearance::dark), 200);
    EXPECT_LT(brightest(Appearance::light), 60);
    EXPECT_GE(brightest(Appearance::light), 0);
}

} // namespace
} // namespace velmor
