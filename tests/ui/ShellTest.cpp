// SPDX-License-Identifier: GPL-3.0-or-later
#include "ReportDesktop.h"

#include <app/VelmorURLDispatcher.h>
#include <support/FakeSavePanel.h>
#include <support/NoShareServices.h>
#include <support/PopoverStates.h>
#include <ui/SessionReportWindowRoot.h>
#include <ui/SettingsView.h>
#include <ui/VelmorApp.h>

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QPlainTextEdit>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace velmor {
namespace {

using namespace velmor::test;

struct ChosenSchemes final : ColorSchemes
{
    std::optional<bool> windows;
    mutable int panelQuestions = 0;
    boost::signals2::signal<void()> changed;

    std::optional<bool> areWindowsDark() const override { return windows; }
    std::optional<bool> arePanelsDark() const override
    {
        ++panelQuestions;
        return windows;
    }
    Subscription onChange(const std::function<void()>& callback) override
    {
        return changed.connect(callback);
    }
};

struct ToldUpdater final : SoftwareUpdater
{
    boost::signals2::signal<void(const UpdateOutcome&)> outcome;

    void checkForUpdates() override {}
    Subscription onOutcome(const std::function<void(const UpdateOutcome&)>& callback) override
    {
        return outcome.connect(callback);
    }
};

class ShellTest : public testing::Test
{
protected:
    ShellTest()
    {
        posed.host.defaults.set("Velmor.welcomeShown", true);
        start();
    }
    ~ShellTest() override { QApplication::setPalette(QPalette()); }

    void start()
    {
        app.reset();
        app = std::make_unique<VelmorApp>(
            VelmorApp::Needs{*posed.hub, posed.host.defaults, posed.host.notifications, posed.host.workspace,
                             updater, schemes, shareServices, folder.path(), [this] { ++ends; }});
    }

    /// The visible windows with a title.
    static std::vector<QWidget*> windows(const char* title)
    {
        std::vector<QWidget*> found;
        for (QWidget* const window : QApplication::topLevelWidgets()) {
            if (window->isVisible() && window->windowTitle() == QString::fromLatin1(title))
                found.push_back(window);
        }
        return found;
    }

    TemporaryFolder folder;
    PosedHub posed;
    ToldUpdater updater;
    ChosenSchemes schemes;
    NoShareServices shareServices;
    int ends = 0;
    std::unique_ptr<VelmorApp> app;
};

TEST_F(ShellTest, ScenesHaveTheirTitlesAndSizesAndAreThereOnce)
{
    app->openHistory();
    app->openHistory();
    const auto history = windows("History");
    ASSERT_EQ(history.size(), 1U);
    EXPECT_EQ(history[0]->size(), QSize(760, 540));
    app->openSettings();
    app->openSettings();
    EXPECT_EQ(windows("Settings").size(), 1U);
    // What is closed is gone, and is made anew.
    const QPointer<QWidget> first = history[0];
    first->close();
    ASSERT_TRUE(waitFor([&] { return first.isNull(); }));
    app->openHistory();
    EXPECT_EQ(windows("History").size(), 1U);
}

TEST_F(ShellTest, EachSessionHasItsReportWindow)
{
    const Session one = sampleSession(posed.host.loop.now() - std::chrono::hours(2), 20, 1);
    const Session other = sampleSession(posed.host.loop.now() - std::chrono::hours(1), 20, 2);
    posed.history({other, one});
    // As the recap's action and the digest's command do.
    posed.hub->requestOpenReport(one);
    posed.hub->requestOpenReport(other);
    posed.hub->requestOpenReport(one);
    const auto reports = windows("Velmor session report");
    ASSERT_EQ(reports.size(), 2U);
    EXPECT_GE(reports[0]->width(), 760);
    EXPECT_EQ(reports[0]->height(), 720);
    EXPECT_FALSE(posed.hub->pendingReportSessionID.get());
}

TEST_F(ShellTest, AReportOfAPrunedSessionSaysSo)
{
    posed.hub->requestOpenReport(sampleSession(posed.host.loop.now(), 0, 7));
    const auto reports = windows("Velmor Session Report");
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0]->size(), QSize(760, 720));
    const auto labels = reports[0]->findChildren<QLabel*>();
    EXPECT_TRUE(std::ranges::any_of(labels, [](const QLabel* label) {
        return label->text() ==
               QStringLiteral("Session not found. It may have been pruned by the retention setting.");
    }));
}

TEST_F(ShellTest, UrlsOpenNoWindowAndOtherSchemesAreIgnored)
{
    const auto visible = [] {
        const QWidgetList all = QApplication::topLevelWidgets();
        return std::ranges::count_if(all, [](const QWidget* window) { return window->isVisible(); });
    };
    const auto before = visible();
    posed.host.urlEvents.open({"velmor://session/start?name=URL", "https://velmor.example/session/start"});
    posed.settle();
    ASSERT_TRUE(posed.hub->sessionManager.currentSession.get());
    posed.hub->endSession();
    posed.host.urlEvents.open({"other://session/start?name=URL"});
    posed.settle();
    EXPECT_FALSE(posed.hub->sessionManager.currentSession.get());
    EXPECT_EQ(visible(), before);
}

TEST_F(ShellTest, WithoutATrayActivationOpensTheDigestAsAWindow)
{
    app->activate();
    const auto digests = windows("Velmor");
    ASSERT_EQ(digests.size(), 1U);
    EXPECT_EQ(digests[0]->windowType(), Qt::Dialog);
    // Once more brings it to the front and closes nothing.
    app->activate();
    EXPECT_EQ(windows("Velmor").size(), 1U);
}

TEST_F(ShellTest, HowToGetATrayIsToldOnce)
{
    const auto hints = [this] {
        return std::ranges::count(posed.host.notifications.requests, "velmor.tray",
                                  &NotificationRequest::identifier);
    };
    ASSERT_TRUE(QTest::qWaitFor([&] { return hints() == 1; }, 15000));
    start();
    QTest::qWait(10500);
    EXPECT_EQ(hints(), 1);
}

TEST_F(ShellTest, TheFirstLaunchWelcomesAndTheSettingsOfferTheImport)
{
    EXPECT_TRUE(windows("Welcome to Velmor").empty());
    app->openSettings();
    auto* const settings = dynamic_cast<SettingsView*>(windows("Settings").at(0));
    ASSERT_TRUE(settings);
    settings->select(SettingsTab::general);
    for (QAbstractButton* const button : settings->findChildren<QAbstractButton*>()) {
        if (button->text() == QStringLiteral("Import data from Tovik…"))
            button->click();
    }
    EXPECT_EQ(windows("Welcome to Velmor").size(), 1U);
    // Dismissed or not: the next launch without the key welcomes again.
    posed.host.defaults.set("Velmor.welcomeShown", false);
    start();
    ASSERT_EQ(windows("Welcome to Velmor").size(), 1U);
    posed.host.defaults.set("conservativeDoseMode", true);
    windows("Welcome to Velmor")[0]->close();
    EXPECT_EQ(posed.host.defaults.get<bool>("Velmor.welcomeShown"), true);
    EXPECT_TRUE(posed.hub->settings.conservativeDoseMode);
}

TEST_F(ShellTest, AnImportIsPickedUp)
{
    posed.host.defaults.set("conservativeDoseMode", true);
    EXPECT_FALSE(posed.hub->settings.conservativeDoseMode);
    app->notifications.postImportCompleted();
    EXPECT_TRUE(posed.hub->settings.conservativeDoseMode);
}

TEST_F(ShellTest, TheDesktopsColoursAreFollowedBothWays)
{
    EXPECT_EQ(appearanceOf(QApplication::palette()), Appearance::light);
    schemes.windows = true;
    schemes.changed();
    EXPECT_EQ(appearanceOf(QApplication::palette()), Appearance::dark);
    schemes.windows = false;
    schemes.changed();
    EXPECT_EQ(appearanceOf(QApplication::palette()), Appearance::light);
    schemes.windows = true;
    schemes.changed();
    schemes.windows = {};
    schemes.changed();
    EXPECT_EQ(appearanceOf(QApplication::palette()), Appearance::light);
}

TEST_F(ShellTest, APaletteThatChangesByItselfIsFollowed)
{
    const int before = schemes.panelQuestions;
    QApplication::setPalette(paletteFor(Appearance::dark));
    EXPECT_TRUE(waitFor([&] { return schemes.panelQuestions > before; }));
}

TEST_F(ShellTest, TheOutcomeOfACheckIsShownAsPlainText)
{
    updater.outcome(AvailableUpdate{"2.0", "<b>Calmer</b>", "https://velmor.example/new"});
    auto found = windows("Velmor Updates");
    ASSERT_EQ(found.size(), 1U);
    const auto labels = found[0]->findChildren<QLabel*>();
    EXPECT_TRUE(std::ranges::any_of(labels, [](const QLabel* label) {
        return label->text() == QStringLiteral("Velmor 2.0 is available");
    }));
    for (const QLabel* const label : labels) {
        if (!label->text().isEmpty()) {
            EXPECT_EQ(label->textFormat(), Qt::PlainText);
        }
    }
    auto* const notes = found[0]->findChild<QPlainTextEdit*>();
    ASSERT_TRUE(notes);
    EXPECT_EQ(notes->toPlainText(), QStringLiteral("<b>Calmer</b>"));
    // The next one takes its place.
    updater.outcome(UpdateCheckFailure{"The update server did not answer in time."});
    found = windows("Velmor Updates");
    EXPECT_EQ(found.size(), 1U);
    EXPECT_TRUE(posed.host.workspace.opened.empty());
}

TEST_F(ShellTest, OnlyTheUserOpensTheDownloadPage)
{
    const auto press = [](const char* label) {
        for (QAbstractButton* const button :
             windows("Velmor Updates").at(0)->findChildren<QAbstractButton*>()) {
            if (button->text() == QString::fromLatin1(label))
                button->click();
        }
    };
    const AvailableUpdate update{"2.0", "Calmer", "https://velmor.example/new"};
    updater.outcome(update);
    press("Later");
    EXPECT_TRUE(windows("Velmor Updates").empty());
    EXPECT_TRUE(posed.host.workspace.opened.empty());
    updater.outcome(update);
    press("Open Download Page");
    EXPECT_TRUE(windows("Velmor Updates").empty());
    EXPECT_EQ(posed.host.workspace.opened, std::vector<std::string>{"https://velmor.example/new"});
}

} // namespace
} // namespace velmor
