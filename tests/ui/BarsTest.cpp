// SPDX-License-Identifier: GPL-3.0-or-later
// The bars, strips and grounds of the digest, measured in pixels.
#include <app/AppState.h>
#include <support/PopoverStates.h>
#include <ui/FillBar.h>
#include <ui/MenuBarView.h>
#include <ui/PauseBanner.h>
#include <ui/ZoneStrip.h>

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QImage>
#include <QTest>

#include <cmath>
#include <memory>
#include <string>

namespace velmor {
namespace {

using namespace velmor::test;

constexpr int width = 200;

/// On white, so that a colour's part in a mixture can be told.
QImage drawn(QWidget& view, int height)
{
    view.resize(width, height);
    QImage image(view.size(), QImage::Format_RGB32);
    image.fill(Qt::white);
    view.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}

void expectColour(const QColor& colour, const QColor& wanted)
{
    EXPECT_NEAR(colour.red(), wanted.red(), 2);
    EXPECT_NEAR(colour.green(), wanted.green(), 2);
    EXPECT_NEAR(colour.blue(), wanted.blue(), 2);
}

/// What a colour of an opacity is on white.
QColor onWhite(const QColor& colour, double opacity)
{
    const auto part = [&](int value) {
        return static_cast<int>(std::lround(value * opacity + 255 * (1 - opacity)));
    };
    return {part(colour.red()), part(colour.green()), part(colour.blue())};
}

/// The first column from the left that isn't of the colour of the one before, from a place on.
int edgeAfter(const QImage& image, int x)
{
    const int y = image.height() / 2;
    const QRgb colour = image.pixel(x, y);
    while (x < image.width() && image.pixel(x, y) == colour)
        ++x;
    return x;
}

TEST(FillBar, IsFilledInProportionOnATrackOfGray)
{
    FillBar bar;
    bar.show(0.4, Tint::orange);
    const QImage image = drawn(bar, bar.height());
    const Shades& shades = shadesOf(appearanceOf(bar.palette()));
    EXPECT_NEAR(edgeAfter(image, 10), 80, 1);
    expectColour(image.pixelColor(40, 3), shades.orange);
    expectColour(image.pixelColor(150, 3), onWhite(shades.gray, 0.2));
}

TEST(FillBar, MovesToANewFillInThreeTenthsOfASecond)
{
    EXPECT_EQ(FillBar::animationMilliseconds, 300);
    FillBar bar;
    bar.show(0.2, Tint::green);
    bar.resize(width, bar.height());
    bar.setVisible(true);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&bar));
    const auto shown = [&] { return edgeAfter(bar.grab().toImage(), 10); };
    EXPECT_NEAR(shown(), 40, 1);
    // On a busy machine it may be at its end before it is looked at: then once more.
    int underWay = 0;
    for (int attempt = 0; attempt < 10 && (underWay <= 41 || underWay >= 179); ++attempt) {
        bar.show(0.2, Tint::green);
        QTest::qWait(400);
        bar.show(0.9, Tint::green);
        QTest::qWait(100);
        underWay = shown();
    }
    EXPECT_GT(underWay, 41);
    EXPECT_LT(underWay, 179);
    // A new end while it moves: it goes on from where it is.
    bar.show(0.1, Tint::green);
    EXPECT_NEAR(shown(), underWay, 2);
    QTest::qWait(600);
    EXPECT_NEAR(shown(), 20, 1);
}

TEST(ZoneStrip, HasUnderThenOnTargetThenOverOnATrackOfGray)
{
    ZoneStrip strip;
    strip.show({0.25, 0.5, 0.125});
    const QImage image = drawn(strip, strip.height());
    const Shades& shades = shadesOf(appearanceOf(strip.palette()));
    EXPECT_NEAR(edgeAfter(image, 10), 50, 1);
    EXPECT_NEAR(edgeAfter(image, 55), 150, 1);
    EXPECT_NEAR(edgeAfter(image, 155), 175, 1);
    expectColour(image.pixelColor(25, 3), shades.blue);
    expectColour(image.pixelColor(100, 3), shades.green);
    expectColour(image.pixelColor(160, 3), shades.orange);
    expectColour(image.pixelColor(185, 3), onWhite(shades.gray, 0.15));
}

TEST(PauseBanner, StandsOnAFaintOrange)
{
    PauseBanner banner;
    const QImage image = drawn(banner, 40);
    expectColour(image.pixelColor(width / 2, 4),
                 onWhite(shadesOf(appearanceOf(banner.palette())).orange, 0.12));
}

struct NoUpdater final : SoftwareUpdater
{
    void checkForUpdates() override {}
    Subscription onOutcome(const std::function<void(const UpdateOutcome&)>&) override { return {}; }
};

class DigestTest : public testing::Test
{
protected:
    void pose(std::size_t state)
    {
        popoverStates()[state].pose(posed);
        posed.settle();
        view = std::make_unique<MenuBarView>(*posed.hub, model, panels, SceneActions{});
        view->show();
        view->refresh();
    }

    /// How far down the first view that says so stands; -1 for none that is seen.
    int topOf(const std::string& said) const
    {
        for (const QWidget* const widget : view->findChildren<QWidget*>()) {
            const auto* const button = qobject_cast<const QAbstractButton*>(widget);
            const QString name = button ? button->text() : widget->accessibleName();
            if (name.toStdString() == said && widget->isVisibleTo(view.get()))
                return widget->mapTo(view.get(), QPoint()).y();
        }
        return -1;
    }

    PosedHub posed;
    NoUpdater updater;
    CheckForUpdatesViewModel model{updater};
    FloatingPanelWindowRegistry panels{[](AppState&) { return new QWidget; }};
    std::unique_ptr<MenuBarView> view;
};

TEST_F(DigestTest, SectionsAndWhatIsInThemStandInTheirOrder)
{
    pose(2);
    posed.history({sampleSession(posed.host.loop.now() - std::chrono::hours(1), 60, 2)});
    posed.hub->pauseService.pause({}, posed.hub->now());
    posed.settle();
    view->refresh();
    int last = -1;
    for (const char* const said : {"Monitoring paused.",
                                   "Hearing Dose",
                                   "84.2%",
                                   "Current Level",
                                   "96.4 dBA",
                                   "Peak: 141 dBC",
                                   "Monitoring Discipline",
                                   "79 ±3 dBA",
                                   "Statistics",
                                   "Leq 1m",
                                   "L10",
                                   "Active Session",
                                   "Manual Session",
                                   "Avg: 95.8 dBA",
                                   "Session dose: 84.2%",
                                   "Peaks at or above 135 dBC: 5",
                                   "Today",
                                   "1 session",
                                   "On target today",
                                   "Today peak: 141 dBC",
                                   "≥115 dBA today: 3",
                                   "Conservative dose mode active",
                                   "End Session",
                                   "Share Last Session…",
                                   "Panel"}) {
        const int top = topOf(said);
        EXPECT_GT(top, last) << said;
        last = top;
    }
}

TEST_F(DigestTest, CountsAreSeenOnlyWhereThereIsSomethingToCount)
{
    pose(2);
    const char* const counts[] = {"Peaks at or above 135 dBC: 5", "Peaks at or above 140 dBC: 2",
                                  "Peaks at or above 115 dBA: 3", "Peaks at or above 135 dBC today: 5",
                                  "Peaks at or above 140 dBC today: 2"};
    for (const char* const count : counts)
        EXPECT_GE(topOf(count), 0) << count;
    posed.changeSession([](Session& session) {
        session.peakCount135 = 0;
        session.peakCount140 = 0;
        session.peakDBACount115 = 0;
    });
    posed.hub->doseCalculator.peakCount135 = 0;
    posed.hub->doseCalculator.peakCount140 = 0;
    posed.hub->doseCalculator.peakDBACount115 = 0;
    posed.hub->settings.conservativeDoseMode = false;
    const int height = view->height();
    view->refresh();
    for (const char* const count : counts)
        EXPECT_EQ(topOf(count), -1) << count;
    EXPECT_EQ(topOf("≥115 dBA today: 3"), -1);
    EXPECT_EQ(topOf("Conservative dose mode active"), -1);
    QCoreApplication::processEvents();
    EXPECT_LT(view->height(), height);
}

TEST_F(DigestTest, TheOpenPanelsPinHasTheAccentAndTheAnswerThatDestroysIsRed)
{
    pose(1);
    const Shades& shades = shadesOf(appearanceOf(view->palette()));
    const auto button = [&](const char* text) -> QAbstractButton* {
        for (QAbstractButton* const found : view->findChildren<QAbstractButton*>()) {
            if (found->text() == QString::fromLatin1(text))
                return found;
        }
        return nullptr;
    };
    const auto has = [](QAbstractButton& drawn, const QColor& colour) {
        const QImage image = drawn.grab().toImage();
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (image.pixelColor(x, y) == colour)
                    return true;
            }
        }
        return false;
    };
    QAbstractButton* const pin = button("Panel");
    ASSERT_TRUE(pin);
    EXPECT_FALSE(has(*pin, shades.ink(Tint::accent)));
    pin->click();
    view->refresh();
    EXPECT_TRUE(has(*pin, shades.ink(Tint::accent)));
    button("Reset Dose")->click();
    EXPECT_TRUE(has(*button("Reset"), QColor("#c62f25")));
    EXPECT_EQ(button("Reset")->accessibleDescription().toStdString(), "Reset dose to 0%?");
}

TEST_F(DigestTest, TheRingOfTheKeyboardComesBackAfterTheQuestion)
{
    pose(1);
    ASSERT_TRUE(QTest::qWaitForWindowActive(view.get()));
    QAbstractButton* reset = nullptr;
    for (QAbstractButton* const found : view->findChildren<QAbstractButton*>()) {
        if (found->text() == QStringLiteral("Reset Dose"))
            reset = found;
    }
    ASSERT_TRUE(reset);
    reset->setFocus(Qt::TabFocusReason);
    const QImage ringed = reset->grab().toImage();
    reset->click();
    QTest::keyClick(view->window()->focusWidget(), Qt::Key_Return);
    ASSERT_TRUE(reset->hasFocus());
    EXPECT_EQ(reset->grab().toImage(), ringed);
    // By the mouse there is none.
    reset->clearFocus();
    reset->setFocus(Qt::MouseFocusReason);
    EXPECT_NE(reset->grab().toImage(), ringed);
}

} // namespace
} // namespace velmor
