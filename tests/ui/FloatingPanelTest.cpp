// SPDX-License-Identifier: GPL-3.0-or-later
#include <platform/MemoryDefaultsStore.h>
#include <support/PopoverStates.h>
#include <ui/FloatingPanelWindow.h>
#include <ui/FloatingPanelWindowRegistry.h>
#include <ui/PanelSections.h>
#include <ui/TextLabel.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QScreen>
#include <QTest>

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace velmor {
namespace {

using namespace velmor::test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;
using testing::Not;

constexpr auto frameKey = "Window Frame VelmorFloatingPanel";

class FloatingPanelTest : public testing::Test
{
protected:
    /// Leaves all six switches off but those.
    void choose(bool dose, bool level, bool discipline, bool leq, bool activeSession, bool today)
    {
        AppSettings& settings = posed.hub->settings;
        settings.panelShowsDose = dose;
        settings.panelShowsCurrentSPL = level;
        settings.panelShowsDiscipline = discipline;
        settings.panelShowsLeq = leq;
        settings.panelShowsActiveSession = activeSession;
        settings.panelShowsToday = today;
        posed.settle();
    }

    void band(bool isEnabled)
    {
        ReferenceLevelSettings settings = posed.hub->referenceTracker.settings;
        settings.enabled = isEnabled;
        posed.hub->referenceTracker.settings = settings;
        posed.settle();
    }

    void open()
    {
        panels.show(*posed.hub);
        ASSERT_TRUE(QTest::qWaitFor([this] { return panel && panel->isVisible(); }));
        settle();
    }

    /// Until nothing grows any more.
    void settle()
    {
        posed.settle();
        QTest::qWait(450);
    }

    std::vector<std::string> texts() const
    {
        std::vector<std::string> found;
        for (const QWidget* const widget : panel->findChildren<QWidget*>()) {
            const auto* const label = dynamic_cast<const TextLabel*>(widget);
            if (label && label->isVisibleTo(panel) && !label->said().text.empty())
                found.push_back(label->said().text);
        }
        return found;
    }

    static constexpr auto hint = "Open Settings → Panel to choose what shows here.";

    PosedHub posed;
    MemoryDefaultsStore defaults;
    QPointer<FloatingPanelWindow> panel;
    FloatingPanelWindowRegistry panels{[this](AppState& hub) -> QWidget* {
        panel = new FloatingPanelWindow(hub, defaults);
        return panel;
    }};
};

TEST_F(FloatingPanelTest, WithAllSwitchesOffItOnlyTellsWhereTheyAre)
{
    choose(false, false, false, false, false, false);
    open();
    EXPECT_THAT(texts(), ElementsAre("All sections hidden", hint));
    EXPECT_FALSE(panelSections(*posed.hub).anySectionEnabled());
}

TEST_F(FloatingPanelTest, ARowThatComesWithinASectionMakesItHigher)
{
    choose(false, false, false, false, false, true);
    open();
    const int before = panel->height();
    EXPECT_EQ(before, panel->sizeHint().height());
    const QPoint place = panel->pos();
    posed.hub->settings.conservativeDoseMode = true;
    settle();
    EXPECT_GT(panel->height(), before);
    EXPECT_EQ(panel->height(), panel->sizeHint().height());
    EXPECT_EQ(panel->pos(), place);
}

TEST_F(FloatingPanelTest, AHeightOfTheUsersOwnStaysWhileRowsComeWithinASection)
{
    choose(false, false, false, false, false, true);
    open();
    const int before = panel->height();
    QTest::mousePress(panel, Qt::LeftButton, {}, {100, before - 2});
    QTest::mouseMove(panel, {100, before + 38});
    QTest::mouseRelease(panel, Qt::LeftButton, {}, {100, before + 38});
    EXPECT_EQ(panel->height(), before + 40);
    posed.hub->settings.conservativeDoseMode = true;
    settle();
    EXPECT_EQ(panel->height(), before + 40);
    // Another section is another panel.
    posed.hub->settings.panelShowsDose = true;
    settle();
    EXPECT_EQ(panel->height(), panel->sizeHint().height());
}

TEST_F(FloatingPanelTest, DisciplineAloneWithoutABandIsNothingToShow)
{
    choose(false, false, true, false, false, false);
    band(false);
    open();
    EXPECT_THAT(texts(), ElementsAre("All sections hidden", hint));
    band(true);
    settle();
    EXPECT_THAT(texts(), Contains("Monitoring Discipline"));
    EXPECT_THAT(texts(), Not(Contains(hint)));
}

TEST_F(FloatingPanelTest, ASessionThatStartsMakesItGrowDownward)
{
    choose(false, false, false, false, true, false);
    open();
    EXPECT_THAT(texts(), ElementsAre("All sections hidden", hint));
    const QRect before = panel->geometry();
    posed.session("REAPER");
    settle();
    EXPECT_THAT(texts(), IsSupersetOf({"Active Session", "REAPER"}));
    EXPECT_THAT(texts(), Not(Contains(hint)));
    EXPECT_EQ(panel->geometry().topLeft(), before.topLeft());
    EXPECT_EQ(panel->width(), before.width());
    EXPECT_GT(panel->height(), before.height());
    posed.hub->endSession();
    settle();
    EXPECT_EQ(panel->geometry(), before);
}

TEST_F(FloatingPanelTest, EachSwitchBringsItsSection)
{
    posed.session("REAPER");
    band(true);
    const char* const titles[] = {"Hearing Dose", "Current Level",  "Monitoring Discipline",
                                  "Leq / Ln",     "Active Session", "Today"};
    open();
    for (std::size_t i = 0; i < std::size(titles); ++i) {
        choose(i == 0, i == 1, i == 2, i == 3, i == 4, i == 5);
        settle();
        for (std::size_t other = 0; other < std::size(titles); ++other) {
            if (other == i)
                EXPECT_THAT(texts(), Contains(titles[other])) << titles[i];
            else
                EXPECT_THAT(texts(), Not(Contains(titles[other]))) << titles[i];
        }
    }
}

TEST_F(FloatingPanelTest, ItIsAsHighAsItsSectionsAndAsWideAlways)
{
    open();
    const int all = panel->height();
    EXPECT_EQ(panel->width(), 320);
    EXPECT_EQ(panel->minimumSize(), QSize(320, 1));
    EXPECT_EQ(panel->maximumWidth(), 320);
    EXPECT_GE(panel->maximumHeight(), 100'000);
    choose(true, false, false, false, false, false);
    settle();
    EXPECT_LT(panel->height(), all);
    posed.hub->pauseService.pause(1800.0, posed.hub->now());
    const int before = panel->height();
    settle();
    EXPECT_GT(panel->height(), before);
}

TEST_F(FloatingPanelTest, WithoutMeasuringThereIsNoLevel)
{
    choose(false, true, false, false, false, false);
    open();
    EXPECT_THAT(texts(), ElementsAre("Current Level", "—", "—"));
    posed.session("REAPER");
    setLevels(*posed.hub, 78.43, 82.1);
    settle();
    EXPECT_THAT(texts(), IsSupersetOf({"78.4 dBA", "82.1 dBC"}));
}

TEST_F(FloatingPanelTest, TheSignatureChangesWithEachThatBringsASection)
{
    band(false);
    choose(false, false, false, false, false, false);
    std::set<int> seen = {panelLayoutSignature(*posed.hub)};
    for (int i = 0; i < 6; ++i) {
        choose(i == 0, i == 1, i == 2, i == 3, i == 4, i == 5);
        EXPECT_TRUE(seen.insert(panelLayoutSignature(*posed.hub)).second) << i;
    }
    band(true);
    EXPECT_TRUE(seen.insert(panelLayoutSignature(*posed.hub)).second);
    posed.session("REAPER");
    EXPECT_TRUE(seen.insert(panelLayoutSignature(*posed.hub)).second);
    posed.hub->pauseService.pause(1800.0, posed.hub->now());
    EXPECT_TRUE(seen.insert(panelLayoutSignature(*posed.hub)).second);
    posed.dose(50);
    EXPECT_FALSE(seen.insert(panelLayoutSignature(*posed.hub)).second);
}

TEST_F(FloatingPanelTest, ClosingByWhateverRoadIsKnown)
{
    open();
    EXPECT_TRUE(panels.isOpen);
    panel->close();
    EXPECT_FALSE(panels.isOpen);
    open();
    EXPECT_TRUE(panels.isOpen);
    panels.toggle(*posed.hub);
    EXPECT_FALSE(panels.isOpen);
    open();
    QTest::mouseDClick(panel, Qt::LeftButton, {}, {40, 40});
    EXPECT_FALSE(panels.isOpen);
    EXPECT_EQ(FloatingPanelWindow::title, std::string("Velmor Measurements"));
}

TEST_F(FloatingPanelTest, AWindowThatTakesNoFocusMovesByItsBackground)
{
    open();
    EXPECT_TRUE(panel->windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus));
    EXPECT_TRUE(panel->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_EQ(panel->windowTitle(), QStringLiteral("Velmor Measurements"));
    EXPECT_EQ(panel->toolTip(), QStringLiteral("Double-click to close — or click the tray's pin again."));
    panel->move(100, 120);
    // On what is written as well.
    const QWidget* const label = panel->findChild<TextLabel*>();
    const QPoint grip = label->mapTo(panel.data(), QPoint(3, 3));
    QTest::mousePress(panel->findChild<TextLabel*>(), Qt::LeftButton, {}, QPoint(3, 3));
    QTest::mouseMove(panel, grip + QPoint(30, 45));
    QTest::mouseRelease(panel, Qt::LeftButton, {}, grip);
    EXPECT_EQ(panel->pos(), QPoint(130, 165));
}

TEST_F(FloatingPanelTest, ItComesBackWhereItWas)
{
    open();
    panel->move(111, 77);
    panel->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    open();
    EXPECT_EQ(panel->pos(), QPoint(111, 77));
    EXPECT_TRUE(defaults.get<std::string>(frameKey)->starts_with("111 77 320 "));
}

TEST_F(FloatingPanelTest, APlaceThatIsNoneIsNotTaken)
{
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    for (const char* const stored : {"", "1 2 3", "a b c d", "90000 90000 320 300", "10 10 -5 20",
                                     "10 10 320 300 1", "99999999999 1 1 1"}) {
        defaults.set(frameKey, stored);
        const FloatingPanelWindow window(*posed.hub, defaults);
        EXPECT_TRUE(screen.contains(window.geometry())) << stored;
    }
}

TEST(FloatingPanelPlace, IsTakenWhereTheUserFindsIt)
{
    const std::vector<QRect> screens = {QRect(0, 24, 1280, 776), QRect(1280, 0, 1920, 1080)};
    const auto place = [&](QRect frame) { return FloatingPanelWindow::placeOn(screens, frame); };
    EXPECT_EQ(place({100, 100, 320, 300}), QRect(100, 100, 320, 300));
    EXPECT_EQ(place({3100, 1000, 320, 300}), QRect(3100, 1000, 320, 300));
    // A screen is gone; under a panel; by a finger's breadth on the screen.
    EXPECT_FALSE(place({4000, 100, 320, 300}));
    EXPECT_FALSE(place({100, 2, 320, 300}));
    EXPECT_FALSE(place({3190, 100, 320, 300}));
    EXPECT_FALSE(place(QRect()));
}

} // namespace
} // namespace velmor
