// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/PopoverStates.h>
#include <support/TemporaryFolder.h>
#include <ui/VelmorAppDelegate.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QFileDialog>
#include <QPointer>
#include <QPushButton>
#include <QTest>

#include <memory>
#include <string>
#include <vector>

namespace velmor {
namespace {

using namespace velmor::test;

class VelmorAppDelegateTest : public testing::Test
{
protected:
    VelmorAppDelegateTest() { start(); }

    /// The program begins, with what the store has.
    void start()
    {
        delegate.reset();
        delegate = std::make_unique<VelmorAppDelegate>(*posed.hub, posed.host.defaults, notifications);
    }

    bool isWelcomeShown() const
    {
        return posed.host.defaults.get<bool>("Velmor.welcomeShown").value_or(false);
    }

    static std::vector<QPointer<QWidget>> windows()
    {
        std::vector<QPointer<QWidget>> all;
        for (QWidget* const window : QApplication::topLevelWidgets()) {
            if (dynamic_cast<WelcomeView*>(window) && window->isVisible())
                all.emplace_back(window);
        }
        return all;
    }

    /// Presses a button of the only window there is.
    static void press(const char* label)
    {
        ASSERT_EQ(windows().size(), 1U);
        for (QPushButton* const button : windows()[0]->findChildren<QPushButton*>()) {
            if (button->text() == QString::fromUtf8(label))
                return QTest::mouseClick(button, Qt::LeftButton);
        }
        FAIL() << "no button " << label;
    }

    static void letGo() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }

    PosedHub posed;
    InternalNotifications notifications;
    int imports = 0;
    // Told last: the key is set by then, and the window has gone.
    Subscription importCompleted = notifications.onImportCompleted([this] {
        ++imports;
        EXPECT_TRUE(isWelcomeShown());
        EXPECT_TRUE(windows().empty());
    });
    std::unique_ptr<VelmorAppDelegate> delegate;
};

TEST_F(VelmorAppDelegateTest, TheFirstLaunchOpensTheWelcomeOnce)
{
    delegate->applicationDidFinishLaunching();
    ASSERT_EQ(windows().size(), 1U);
    const QPointer<QWidget> window = windows()[0];
    EXPECT_TRUE(window->windowFlags() & Qt::WindowStaysOnTopHint);
    const QRect screen = window->screen()->availableGeometry();
    EXPECT_LE((window->geometry().center() - screen.center()).manhattanLength(), 8);
    EXPECT_FALSE(isWelcomeShown());
    press("I'm new — fresh start");
    EXPECT_TRUE(isWelcomeShown());
    EXPECT_EQ(imports, 1);
    EXPECT_TRUE(windows().empty());
    letGo();
    EXPECT_TRUE(window.isNull());
    // The next start.
    start();
    delegate->applicationDidFinishLaunching();
    EXPECT_TRUE(windows().empty());
}

TEST_F(VelmorAppDelegateTest, ClosingTheWindowIsTheSame)
{
    delegate->applicationDidFinishLaunching();
    const QPointer<QWidget> window = windows().at(0);
    window->close();
    EXPECT_TRUE(isWelcomeShown());
    EXPECT_EQ(imports, 1);
    letGo();
    EXPECT_TRUE(window.isNull());
    delegate->showWelcomeWindow();
    EXPECT_EQ(windows().size(), 1U);
}

TEST_F(VelmorAppDelegateTest, DoneIsTheSame)
{
    delegate->applicationDidFinishLaunching();
    const TemporaryFolder folder;
    writeFile(folder / "export.json", R"({"schemaVersion":1})");
    press("Import from Tovik…");
    auto* const panel = windows().at(0)->findChild<QFileDialog*>();
    ASSERT_TRUE(panel);
    emit panel->fileSelected(QString::fromStdString((folder / "export.json").native()));
    panel->reject();
    EXPECT_EQ(imports, 0);
    press("Done");
    EXPECT_EQ(imports, 1);
    EXPECT_TRUE(windows().empty());
}

TEST_F(VelmorAppDelegateTest, AWindowThatIsDismissedAndClosesTellsOnce)
{
    WelcomeWindowController controller(*posed.hub, posed.host.defaults);
    int dismissals = 0;
    controller.onDismiss = [&] { ++dismissals; };
    controller.present();
    const QPointer<QWidget> window = windows().at(0);
    press("I'm new — fresh start");
    EXPECT_EQ(dismissals, 1);
    // The button has closed it.
    EXPECT_FALSE(controller.isVisible());
    window->show();
    window->close();
    EXPECT_EQ(dismissals, 1);
}

TEST_F(VelmorAppDelegateTest, EndingTheProgramDismissesNothing)
{
    delegate->applicationDidFinishLaunching();
    const QPointer<QWidget> window = windows().at(0);
    delegate.reset();
    EXPECT_TRUE(window.isNull());
    EXPECT_FALSE(isWelcomeShown());
    EXPECT_EQ(imports, 0);
}

// A session manager has all windows closed before it ends the program.
TEST_F(VelmorAppDelegateTest, TheEndOfTheDesktopsSessionDismissesNothing)
{
    delegate->applicationDidFinishLaunching();
    QEvent quit(QEvent::Quit);
    QCoreApplication::sendEvent(qApp, &quit);
    EXPECT_TRUE(windows().empty());
    EXPECT_FALSE(isWelcomeShown());
    EXPECT_EQ(imports, 0);
}

TEST_F(VelmorAppDelegateTest, AVisibleWindowComesToTheFrontAndNoSecondOne)
{
    delegate->applicationDidFinishLaunching();
    const QPointer<QWidget> window = windows().at(0);
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    QWidget other;
    other.show();
    other.activateWindow();
    window->showMinimized();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    delegate->showWelcomeWindow();
    EXPECT_FALSE(window->isMinimized());
    EXPECT_TRUE(QTest::qWaitForWindowActive(window));
    notifications.postShowImporter();
    EXPECT_EQ(windows().size(), 1U);
    EXPECT_EQ(windows()[0], window);
}

TEST_F(VelmorAppDelegateTest, TheImporterOpensItWhetherOrNotTheFlagIsSet)
{
    posed.host.defaults.set("Velmor.welcomeShown", true);
    delegate->applicationDidFinishLaunching();
    EXPECT_TRUE(windows().empty());
    notifications.postShowImporter();
    EXPECT_EQ(windows().size(), 1U);
    press("I'm new — fresh start");
    EXPECT_TRUE(windows().empty());
    notifications.postShowImporter();
    ASSERT_EQ(windows().size(), 1U);
    // Without the flag, where the window has been put away.
    posed.host.defaults.set("Velmor.welcomeShown", false);
    windows()[0]->hide();
    notifications.postShowImporter();
    EXPECT_EQ(windows().size(), 1U);
    EXPECT_FALSE(isWelcomeShown());
}

TEST_F(VelmorAppDelegateTest, TheProgramsIconIsThatOfItsWindows)
{
    delegate->applicationDidFinishLaunching();
    EXPECT_FALSE(QApplication::windowIcon().isNull());
}

} // namespace
} // namespace velmor
