// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/PopoverStates.h>
#include <ui/MenuBarView.h>
#include <ui/Popover.h>

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QElapsedTimer>
#include <QMenu>
#include <QPaintEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace velmor {
namespace {

using namespace velmor::test;

struct FakeUpdater final : SoftwareUpdater
{
    int checks = 0;

    void checkForUpdates() override { ++checks; }
    Subscription onOutcome(const std::function<void(const UpdateOutcome&)>&) override { return {}; }
};

class MenuBarViewTest : public testing::Test
{
protected:
    MenuBarViewTest() { makeView(); }

    void makeView()
    {
        view.reset();
        view = std::make_unique<MenuBarView>(
            *posed.hub, checkForUpdates, panels,
            SceneActions{.openSettings = [this] { opened.emplace_back("settings"); },
                         .openHistory = [this] { opened.emplace_back("history"); },
                         .openReport = [this](const Uuid& id) { reports.push_back(id); },
                         .terminate = [this] { opened.emplace_back("end"); }},
            [this] { ++leaves; });
    }

    /// What can be read in the view, in the order of its children.
    std::vector<std::string> texts() const
    {
        std::vector<std::string> found;
        for (const QWidget* const widget : view->findChildren<QWidget*>()) {
            if (!isShown(*widget) || widget->accessibleName().isEmpty())
                continue;
            found.push_back(widget->accessibleName().toStdString());
        }
        for (const QAbstractButton* const button : view->findChildren<QAbstractButton*>()) {
            if (isShown(*button))
                found.push_back(button->text().toStdString());
        }
        return found;
    }

    bool shows(const std::string& text) const
    {
        const auto all = texts();
        return std::ranges::find(all, text) != all.end();
    }

    QAbstractButton* button(const std::string& text) const
    {
        for (QAbstractButton* const found : view->findChildren<QAbstractButton*>()) {
            if (found->text().toStdString() == text && isShown(*found))
                return found;
        }
        return nullptr;
    }

    void press(const std::string& text)
    {
        QAbstractButton* const found = button(text);
        ASSERT_TRUE(found) << text;
        found->click();
        posed.settle();
    }

    bool isShown(const QWidget& widget) const { return widget.isVisibleTo(view.get()); }

    /// Lets the view follow the hub.
    void pass(int milliseconds = 150)
    {
        posed.settle();
        QTest::qWait(milliseconds);
    }

    PosedHub posed;
    FakeUpdater updater;
    CheckForUpdatesViewModel checkForUpdates{updater};
    FloatingPanelWindowRegistry panels{[](AppState&) { return new QWidget; }};
    std::vector<std::string> opened;
    std::vector<Uuid> reports;
    int leaves = 0;
    std::unique_ptr<MenuBarView> view;
};

TEST_F(MenuBarViewTest, WithoutAMeasurementThereAreTheDoseAndTheCommands)
{
    for (const char* const title :
         {"Current Level", "Monitoring Discipline", "Statistics", "Active Session", "Today"})
        EXPECT_FALSE(shows(title)) << title;
    for (const char* const text : {"Hearing Dose", "0.0%", "Safe", "Start Session", "Pause Monitoring",
                                   "Reset Dose", "Settings", "History", "Updates", "Quit"})
        EXPECT_TRUE(shows(text)) << text;
    EXPECT_FALSE(shows("Share Last Session…"));
    EXPECT_TRUE(shows("Velmor: high signal"));
}

TEST_F(MenuBarViewTest, ASessionOpensItsSectionsAndItsEndClosesThem)
{
    posed.session("REAPER");
    setLevels(*posed.hub, 78.44, 90.5);
    view->refresh();
    for (const char* const text :
         {"Current Level", "78.4 dBA", "90.5 dBC", "LF gap +12", "Monitoring Discipline", "79 ±3 dBA",
          "warming up", "silent", "Statistics", "Leq 1m: —", "L90: —", "Active Session", "REAPER",
          "Avg: 0.0 dBA", "Session dose: 0.0%", "End Session"})
        EXPECT_TRUE(shows(text)) << text;
    EXPECT_FALSE(shows("Start Session"));
    posed.hub->endSession();
    view->refresh();
    EXPECT_FALSE(shows("Current Level"));
    EXPECT_FALSE(shows("Active Session"));
    EXPECT_TRUE(shows("1 session"));
    EXPECT_TRUE(shows("Share Last Session…"));
}

TEST_F(MenuBarViewTest, OneSessionADayAndTwo)
{
    posed.history({sampleSession(posed.host.loop.now() - std::chrono::hours(1), 60)});
    view->refresh();
    EXPECT_TRUE(shows("1 session"));
    posed.history({sampleSession(posed.host.loop.now() - std::chrono::hours(1), 60),
                   sampleSession(posed.host.loop.now() - std::chrono::hours(2), 60, 2)});
    view->refresh();
    EXPECT_TRUE(shows("2 sessions"));
    EXPECT_TRUE(shows("0h 20m"));
}

TEST_F(MenuBarViewTest, AnOverExposedDayFillsTheBar)
{
    posed.dose(250);
    view->refresh();
    EXPECT_TRUE(shows("250.0%"));
    EXPECT_TRUE(shows("Over-exposed"));
    view->resize(view->size());
    const QImage image = view->grab().toImage();
    const QColor red = shadesOf(appearanceOf(view->palette())).red;
    // The bar's line from end to end.
    bool isFull = false;
    for (int y = 0; y < 120 && !isFull; ++y)
        isFull = image.pixelColor(24, y) == red && image.pixelColor(view->width - 24, y) == red;
    EXPECT_TRUE(isFull);
}

TEST_F(MenuBarViewTest, TheEarTakesThePlaceOfTheGlyph)
{
    posed.hub->settings.menuBarUseClassicEarIcon = true;
    view->refresh();
    EXPECT_FALSE(shows("Velmor: high signal"));
    EXPECT_TRUE(shows("Dose 0.0%, Safe"));
}

TEST_F(MenuBarViewTest, TheSessionCommandStartsAndEnds)
{
    press("Start Session");
    ASSERT_TRUE(posed.hub->sessionManager.currentSession.get());
    EXPECT_EQ(posed.hub->sessionManager.currentSession.get()->dawName, "Manual Session");
    press("End Session");
    EXPECT_FALSE(posed.hub->sessionManager.currentSession.get());
    EXPECT_TRUE(button("Start Session"));
    EXPECT_EQ(leaves, 0);
}

TEST_F(MenuBarViewTest, ThePauseOffersItsDurations)
{
    view->show();
    press("Pause Monitoring");
    auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_TRUE(menu);
    EXPECT_EQ(menu->actions().size(), 5);
    const Date before = posed.hub->now();
    menu->actions()[1]->trigger();
    menu->close();
    EXPECT_TRUE(posed.hub->pauseService.isPaused);
    EXPECT_EQ(posed.hub->pauseService.pauseUntil.get(), before + std::chrono::minutes(30));
    EXPECT_TRUE(shows("Monitoring paused. Resumes 09:30."));
    press("Resume Monitoring");
    EXPECT_FALSE(posed.hub->pauseService.isPaused);
    EXPECT_FALSE(shows("Monitoring paused. Resumes 09:30."));
}

TEST_F(MenuBarViewTest, SharingAsksForTheReportOfTheNewestSession)
{
    // Oldest first, as an import leaves them.
    posed.history({sampleSession(posed.host.loop.now() - std::chrono::hours(2), 60, 9),
                   sampleSession(posed.host.loop.now() - std::chrono::hours(1), 60, 8)});
    view->refresh();
    const Uuid newest = posed.hub->sessionManager.sessionHistory.get().back().id;
    press("Share Last Session…");
    EXPECT_EQ(reports, std::vector<Uuid>{newest});
    EXPECT_FALSE(posed.hub->pendingReportSessionID.get());
    EXPECT_EQ(leaves, 1);
}

TEST_F(MenuBarViewTest, WhateverAsksForAReportOpensItsWindowOnce)
{
    const Uuid id = sampleSession(posed.host.loop.now(), 0, 4).id;
    posed.hub->pendingReportSessionID = id;
    EXPECT_EQ(reports, std::vector<Uuid>{id});
    EXPECT_FALSE(posed.hub->pendingReportSessionID.get());
    // One that was asked for before the view was there.
    view.reset();
    posed.hub->pendingReportSessionID = id;
    makeView();
    QCoreApplication::processEvents();
    EXPECT_EQ(reports, (std::vector<Uuid>{id, id}));
}

TEST_F(MenuBarViewTest, TheDoseIsResetOnlyAfterTheQuestion)
{
    posed.dose(45);
    view->refresh();
    press("Reset Dose");
    EXPECT_TRUE(shows("Reset dose to 0%?"));
    press("Cancel");
    EXPECT_EQ(posed.hub->doseCalculator.dosePercentage, 45);
    EXPECT_FALSE(shows("Reset dose to 0%?"));
    press("Reset Dose");
    press("Reset");
    EXPECT_EQ(posed.hub->doseCalculator.dosePercentage, 0);
    EXPECT_FALSE(shows("Reset dose to 0%?"));
    view->refresh();
    EXPECT_TRUE(shows("0.0%"));
}

TEST_F(MenuBarViewTest, EscapeCancelsTheQuestionFirst)
{
    press("Reset Dose");
    EXPECT_TRUE(view->cancelQuestion());
    EXPECT_FALSE(view->cancelQuestion());
}

TEST_F(MenuBarViewTest, OtherCommandsLeadElsewhere)
{
    press("Settings");
    press("History");
    press("Quit");
    EXPECT_EQ(opened, (std::vector<std::string>{"settings", "history", "end"}));
    EXPECT_EQ(leaves, 3);
}

TEST_F(MenuBarViewTest, UpdatesAreEnabledByTheModel)
{
    EXPECT_FALSE(button("Updates")->isEnabled());
    updater.canCheckForUpdates = true;
    view->refresh();
    ASSERT_TRUE(button("Updates")->isEnabled());
    press("Updates");
    EXPECT_EQ(updater.checks, 1);
}

TEST_F(MenuBarViewTest, ThePinTellsWhetherThePanelIsOpen)
{
    auto* const pin = button("Panel");
    ASSERT_TRUE(pin);
    EXPECT_EQ(pin->toolTip().toStdString(),
              "Open the measurement panel as a floating window so it stays visible while you work.");
    press("Panel");
    view->refresh();
    EXPECT_TRUE(panels.isOpen);
    EXPECT_EQ(pin->toolTip().toStdString(), "Close the floating measurement panel.");
    press("Panel");
    view->refresh();
    EXPECT_FALSE(panels.isOpen);
}

TEST_F(MenuBarViewTest, EverythingThatCanBePressedIsReachedByTheKeyboardInItsOrder)
{
    posed.history({sampleSession(posed.host.loop.now() - std::chrono::hours(1), 60)});
    updater.canCheckForUpdates = true;
    view->refresh();
    view->show();
    QApplication::setActiveWindow(view.get());
    std::vector<std::string> order;
    view->setFocus();
    for (int i = 0; i < 9; ++i) {
        QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : view.get(), Qt::Key_Tab);
        const auto* const focused = qobject_cast<QAbstractButton*>(QApplication::focusWidget());
        order.push_back(focused ? focused->text().toStdString() : "");
    }
    EXPECT_EQ(order,
              (std::vector<std::string>{"Start Session", "Pause Monitoring", "Share Last Session…",
                                        "Reset Dose", "Panel", "Settings", "History", "Updates", "Quit"}));
}

TEST_F(MenuBarViewTest, FollowsTheHubOnlyWhileItIsShown)
{
    view->show();
    pass();
    posed.dose(33);
    pass();
    EXPECT_TRUE(shows("33.0%"));
    view->hide();
    posed.dose(44);
    pass();
    EXPECT_FALSE(shows("44.0%"));
    view->show();
    EXPECT_TRUE(shows("44.0%"));
}

TEST_F(MenuBarViewTest, RefreshesTenTimesASecondAtMost)
{
    view->show();
    pass();
    std::set<std::string> seen;
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; clock.elapsed() < 1000; ++i) {
        posed.hub->doseCalculator.overrideDose(i * 0.1);
        pass(5);
        for (const std::string& text : texts()) {
            if (text.ends_with("%"))
                seen.insert(text);
        }
    }
    EXPECT_GE(seen.size(), 4U);
    EXPECT_LE(seen.size(), static_cast<std::size_t>(clock.elapsed() / 100 + 2));
}

TEST_F(MenuBarViewTest, AnImpulseOfOneBlockIsSeen)
{
    posed.session("REAPER");
    view->show();
    pass();
    const int height = view->height();
    EXPECT_FALSE(shows("Peak: 137 dBC"));
    posed.hub->audioService.peakDBC = 136.6;
    posed.hub->audioService.peakAlert = true;
    posed.hub->audioService.peakDBC = 80;
    posed.hub->audioService.peakAlert = false;
    EXPECT_TRUE(shows("Peak: 137 dBC"));
    pass(100);
    EXPECT_TRUE(shows("Peak: 137 dBC"));
    EXPECT_EQ(view->height(), height);
    pass(500);
    EXPECT_FALSE(shows("Peak: 137 dBC"));
}

TEST_F(MenuBarViewTest, AButtonDoesNothingThatItDoesNotSay)
{
    // A workstation starts while "Start Session" is on the button.
    posed.hub->startSession("REAPER");
    press("Start Session");
    ASSERT_TRUE(posed.hub->sessionManager.currentSession.get());
    EXPECT_EQ(posed.hub->sessionManager.currentSession.get()->dawName, "REAPER");
    EXPECT_TRUE(button("End Session"));
}

TEST_F(MenuBarViewTest, NothingMovesWhileItIsHeldStill)
{
    posed.session("REAPER");
    view->show();
    pass();
    const QSize size = view->size();
    const int commands = button("End Session")->mapTo(view.get(), QPoint()).y();
    view->hold(true);
    // What comes waits, and what goes leaves its place empty.
    posed.hub->pauseService.pause({}, posed.hub->now());
    posed.hub->endSession();
    pass();
    EXPECT_EQ(view->size(), size);
    EXPECT_FALSE(shows("Monitoring paused."));
    EXPECT_FALSE(shows("Active Session"));
    EXPECT_EQ(button("Start Session")->mapTo(view.get(), QPoint()).y(), commands);
    view->hold(false);
    pass();
    EXPECT_TRUE(shows("Monitoring paused."));
    EXPECT_LT(view->height(), size.height());
}

TEST_F(MenuBarViewTest, TheUsersOwnCommandTakesEffectAtOnce)
{
    view->show();
    pass();
    const int height = view->height();
    view->hold(true);
    press("Start Session");
    EXPECT_TRUE(shows("Active Session"));
    EXPECT_GT(view->height(), height);
}

TEST_F(MenuBarViewTest, TheHeightIsThatOfWhatIsSaid)
{
    for (const PopoverState& state : popoverStates()) {
        PosedHub one;
        state.pose(one);
        one.settle();
        MenuBarView digest(*one.hub, checkForUpdates, panels, {});
        digest.grab();
        const QWidgetList widgets = digest.findChildren<QWidget*>();
        for (const QWidget* const widget : widgets) {
            if (!widget->isVisibleTo(&digest))
                continue;
            const QRect place(widget->mapTo(&digest, QPoint()), widget->size());
            EXPECT_TRUE(digest.rect().contains(place)) << state.name;
        }
    }
}

TEST(PopoverPlace, IsBesideTheClickAndOnTheFreePartOfTheScreen)
{
    const QRect free(0, 24, 1280, 776);
    const QSize size(346, 600);
    // A panel above, the item in the corner.
    EXPECT_EQ(Popover::placeAt({1266, 12}, size, free), QRect(1280 - 346, 24, 346, 600));
    // In the middle of it.
    EXPECT_EQ(Popover::placeAt({640, 12}, size, free), QRect(640 - 173, 24, 346, 600));
    // A panel below.
    const QRect upper(0, 0, 1280, 760);
    EXPECT_EQ(Popover::placeAt({1236, 778}, size, upper), QRect(1280 - 346, 160, 346, 600));
    // On the left.
    EXPECT_EQ(Popover::placeAt({0, 400}, size, free).left(), 0);
    // A screen that is too small.
    EXPECT_EQ(Popover::placeAt({600, 12}, QSize(346, 900), free).height(), 776);
}

TEST(PopoverWindow, OnALowScreenTheQuestionIsAskedWhereItIsSeen)
{
    PosedHub posed;
    popoverStates()[2].pose(posed);
    FakeUpdater updater;
    CheckForUpdatesViewModel model(updater);
    FloatingPanelWindowRegistry panels([](AppState&) { return new QWidget; });
    auto* const view = new MenuBarView(*posed.hub, model, panels, {});
    QScrollArea low;
    low.setWidget(view);
    low.resize(MenuBarView::width + 40, 300);
    low.show();
    low.verticalScrollBar()->setValue(low.verticalScrollBar()->maximum());
    for (QAbstractButton* const button : view->findChildren<QAbstractButton*>()) {
        if (button->text() == QStringLiteral("Reset Dose"))
            button->click();
    }
    const QWidget* const cancel = view->window()->focusWidget();
    ASSERT_TRUE(cancel);
    QTest::qWait(50);
    const QRect seen(0, 0, low.viewport()->width(), low.viewport()->height());
    const QPoint place = cancel->mapTo(&low, cancel->rect().center());
    EXPECT_TRUE(seen.contains(place)) << place.y();
    EXPECT_NEAR(place.y(), 150, 40);
}

TEST(PopoverWindow, EscapeClosesIt)
{
    PosedHub posed;
    FakeUpdater updater;
    CheckForUpdatesViewModel model(updater);
    FloatingPanelWindowRegistry panels([](AppState&) { return new QWidget; });
    auto* const view = new MenuBarView(*posed.hub, model, panels, {});
    Popover popover(view);
    popover.toggle(QPoint(400, 10));
    EXPECT_TRUE(popover.isVisible());
    QTest::keyClick(&popover, Qt::Key_Escape);
    EXPECT_FALSE(popover.isVisible());
    QTest::qWait(300);
    popover.toggle(QPoint(400, 10));
    EXPECT_TRUE(popover.isVisible());
    popover.toggle(QPoint(400, 10));
    EXPECT_FALSE(popover.isVisible());
    // The click that has closed it does not open it again.
    popover.toggle(QPoint(400, 10));
    EXPECT_FALSE(popover.isVisible());
}

} // namespace
} // namespace velmor
