// SPDX-License-Identifier: GPL-3.0-or-later
#include <platform/MemoryDefaultsStore.h>
#include <ui/VelmorAppDelegate.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>

#include <memory>
#include <utility>
#include <vector>

namespace velmor {
namespace {

class VelmorAppDelegateTest : public testing::Test
{
protected:
    VelmorAppDelegateTest() { start(); }

    /// The program begins, with what the store has.
    void start()
    {
        delegate.reset();
        delegate = std::make_unique<VelmorAppDelegate>(defaults, notifications,
                                                       [this](std::function<void()> onDismiss) {
                                                           windows.push_back(new QWidget);
                                                           dismiss = std::move(onDismiss);
                                                           return windows.back().data();
                                                       });
    }

    bool isWelcomeShown() const
    {
        return defaults.get<bool>(VelmorAppDelegate::welcomeShownKey).value_or(false);
    }

    MemoryDefaultsStore defaults;
    InternalNotifications notifications;
    std::vector<QPointer<QWidget>> windows;
    std::function<void()> dismiss;
    int imports = 0;
    Subscription importCompleted = notifications.onImportCompleted([this] { ++imports; });
    std::unique_ptr<VelmorAppDelegate> delegate;
};

TEST_F(VelmorAppDelegateTest, TheFirstLaunchOpensTheWelcomeOnce)
{
    delegate->applicationDidFinishLaunching();
    ASSERT_EQ(windows.size(), 1U);
    EXPECT_TRUE(windows[0]->isVisible());
    EXPECT_TRUE(windows[0]->windowFlags() & Qt::WindowStaysOnTopHint);
    EXPECT_FALSE(isWelcomeShown());
    dismiss();
    EXPECT_TRUE(isWelcomeShown());
    EXPECT_EQ(imports, 1);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(windows[0].isNull());
    // The next start.
    start();
    delegate->applicationDidFinishLaunching();
    EXPECT_EQ(windows.size(), 1U);
}

TEST_F(VelmorAppDelegateTest, ClosingTheWindowIsTheSame)
{
    delegate->applicationDidFinishLaunching();
    windows[0]->close();
    EXPECT_TRUE(isWelcomeShown());
    EXPECT_EQ(imports, 1);
}

TEST_F(VelmorAppDelegateTest, EndingTheProgramDismissesNothing)
{
    delegate->applicationDidFinishLaunching();
    delegate.reset();
    EXPECT_TRUE(windows[0].isNull());
    EXPECT_FALSE(isWelcomeShown());
    EXPECT_EQ(imports, 0);
}

TEST_F(VelmorAppDelegateTest, AVisibleWindowComesToTheFrontAndNoSecondOne)
{
    delegate->applicationDidFinishLaunching();
    ASSERT_TRUE(QTest::qWaitForWindowActive(windows[0]));
    QWidget other;
    other.show();
    other.activateWindow();
    windows[0]->showMinimized();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    delegate->showWelcomeWindow();
    EXPECT_FALSE(windows[0]->isMinimized());
    EXPECT_TRUE(QTest::qWaitForWindowActive(windows[0]));
    notifications.postShowImporter();
    EXPECT_EQ(windows.size(), 1U);
}

TEST_F(VelmorAppDelegateTest, TheImporterOpensItWhetherOrNotTheFlagIsSet)
{
    defaults.set(VelmorAppDelegate::welcomeShownKey, true);
    delegate->applicationDidFinishLaunching();
    EXPECT_TRUE(windows.empty());
    notifications.postShowImporter();
    ASSERT_EQ(windows.size(), 1U);
    EXPECT_TRUE(windows[0]->isVisible());
    dismiss();
    notifications.postShowImporter();
    EXPECT_EQ(windows.size(), 2U);
    EXPECT_TRUE(windows[1]->isVisible());
    // Without the flag, where the window has been put away.
    defaults.set(VelmorAppDelegate::welcomeShownKey, false);
    windows[1]->hide();
    notifications.postShowImporter();
    ASSERT_EQ(windows.size(), 3U);
    EXPECT_TRUE(windows[2]->isVisible());
    EXPECT_FALSE(isWelcomeShown());
}

TEST_F(VelmorAppDelegateTest, TheProgramsIconIsThatOfItsWindows)
{
    delegate->applicationDidFinishLaunching();
    EXPECT_FALSE(QApplication::windowIcon().isNull());
}

} // namespace
} // namespace velmor
