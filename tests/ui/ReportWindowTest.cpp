// SPDX-License-Identifier: GPL-3.0-or-later
// The window itself: what it shows, and what it follows.
#include "ReportWindowFixture.h"

#include <support/CapturedOutput.h>
#include <ui/SessionReportWindowView.h>

#include <QLabel>
#include <QMessageBox>
#include <QScrollBar>

#include <gmock/gmock.h>

#include <algorithm>
#include <string>

namespace velmor {
namespace {

using test::ReportWindow;
using test::waitFor;
using test::waitForWindow;
using testing::HasSubstr;

TEST_F(ReportWindow, HasItsTitleSizeAndButtons)
{
    open();
    EXPECT_EQ(m_window->windowTitle(), "Velmor session report");
    EXPECT_GE(m_window->minimumWidth(), 752);
    EXPECT_GE(m_window->minimumHeight(), 600);
    EXPECT_EQ(m_window->height(), 720);
    EXPECT_EQ(button("square.and.arrow.up").text(), QStringLiteral("Share…"));
    EXPECT_EQ(button("square.and.arrow.up").toolTip(),
              "Render the report as a PDF and pick a destination from the Share menu.");
    EXPECT_EQ(button("square.and.arrow.down").text(), QStringLiteral("Save…"));
    EXPECT_EQ(button("square.and.arrow.down").toolTip(), "Save the report as a PDF to a chosen location.");
    for (const QScrollBar* const bar : m_window->findChildren<QScrollBar*>()) {
        if (bar->orientation() == Qt::Horizontal) {
            EXPECT_EQ(bar->maximum(), 0) << "a part of the page is out of sight";
        }
    }
}

TEST_F(ReportWindow, ASessionThatIsNotInTheHistoryIsNotFound)
{
    for (const std::optional<Uuid> id : {std::optional(makeUuid()), std::optional<Uuid>()}) {
        SessionReportWindowRoot window(m_hub, id, m_sharing);
        EXPECT_EQ(window.windowTitle(), "Velmor Session Report");
        EXPECT_EQ(window.size(), QSize(760, 720));
        EXPECT_EQ(window.findChild<QLabel*>()->text(),
                  "Session not found. It may have been pruned by the retention setting.");
        EXPECT_EQ(window.findChild<QWidget*>("report"), nullptr);
    }
}

TEST_F(ReportWindow, FollowsItsSessionOutOfTheHistoryAndBack)
{
    open();
    m_hub.sessionManager.sessionHistory = std::vector<Session>();
    EXPECT_TRUE(m_window->findChild<QLabel*>()->isVisible());
    m_hub.sessionManager.sessionHistory = std::vector{m_session};
    EXPECT_FALSE(m_window->findChild<QLabel*>()->isVisible());
}

TEST_F(ReportWindow, ShowsTheReferenceThatIsSetNow)
{
    open();
    auto* const report = dynamic_cast<SessionReportView*>(
        m_window->findChild<QWidget*>("report", Qt::FindChildrenRecursively));
    ASSERT_NE(report, nullptr);
    EXPECT_THAT(report->accessibleDescription().toStdString(), HasSubstr("Target: 79 ± 3 dBA"));
    ReferenceLevelSettings settings = m_hub.referenceTracker.settings;
    settings.target = 85;
    m_hub.referenceTracker.settings = settings;
    EXPECT_THAT(report->accessibleDescription().toStdString(), HasSubstr("Target: 85 ± 3 dBA"));
}

TEST_F(ReportWindow, ShowsTheCalibrationAndTheMomentThatThePdfHas)
{
    open();
    const int height = m_window->findChild<QWidget*>("report")->height();
    CalibrationTrust trust;
    trust.concerns = std::vector<std::string>(12, "input clipped many times since the last calibration");
    m_hub.calibrationTrust.trust = trust;
    EXPECT_GT(m_window->findChild<QWidget*>("report")->height(), height);
}

TEST_F(ReportWindow, GoesWithItsDialogAndItsMenuOpen)
{
    open();
    press(button("square.and.arrow.down"));
    ASSERT_NE(waitForWindow<QFileDialog>(), nullptr);
    m_window.reset();
    open();
    press(button("square.and.arrow.up"));
    ASSERT_NE(waitForWindow<QMenu>(), nullptr);
    m_hub.sessionManager.sessionHistory = std::vector<Session>();
    QTest::qWait(50);
    EXPECT_TRUE(m_window->findChild<QLabel*>()->isVisible());
    EXPECT_EQ(m_window->findChild<QWidget*>("report"), nullptr);
}

TEST_F(ReportWindow, ShowsWhatTheHistorySaysNow)
{
    open();
    m_session.peakSPL = 101.25;
    m_hub.sessionManager.sessionHistory = std::vector{m_session};
    QTest::qWait(50);
    EXPECT_THAT(m_window->findChild<QWidget*>("report")->accessibleDescription().toStdString(),
                HasSubstr("Peak dBA: 101.2"));
}

TEST_F(ReportWindow, SavesByItsShortcutAndClosesByEscape)
{
    open();
    QTest::keyClick(m_window.get(), Qt::Key_S, Qt::ControlModifier);
    auto* const dialog = waitForWindow<QFileDialog>();
    ASSERT_NE(dialog, nullptr);
    dialog->reject();
    ASSERT_TRUE(waitFor([] { return QApplication::activeModalWidget() == nullptr; }));
    m_window->activateWindow();
    (void)QTest::qWaitForWindowActive(m_window.get(), 1000);
    QTest::keyClick(m_window.get(), Qt::Key_Escape);
    EXPECT_TRUE(waitFor([&] { return !m_window->isVisible(); }));
}

TEST_F(ReportWindow, FollowsTheDesktopIntoTheDark)
{
    open();
    const QPalette before = QApplication::palette();
    const auto corner = [&] {
        return m_window->findChild<QWidget*>("report")->grab().toImage().pixelColor(5, 5);
    };
    EXPECT_EQ(corner(), shadesOf(Appearance::light).page);
    QPalette dark = before;
    dark.setColor(QPalette::Window, QColor(30, 31, 34));
    dark.setColor(QPalette::WindowText, QColor(235, 235, 235));
    QApplication::setPalette(dark);
    QTest::qWait(50);
    EXPECT_EQ(corner(), shadesOf(Appearance::dark).page);
    QApplication::setPalette(before);
}

TEST_F(ReportWindow, ATooltipIsNoWindowToAnchorTo)
{
    SessionReportWindowView view(m_hub, m_session, m_sharing);
    QLabel tip(QStringLiteral("a tip"), nullptr, Qt::ToolTip);
    tip.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&tip));
    test::CapturedOutput output;
    view.save();
    EXPECT_EQ(output.text(), "[Velmor] Save: no window to anchor save panel from\n");
}

TEST_F(ReportWindow, AReportThatCanNotBeWrittenIsToldByShareAndOnlyPrintedBySave)
{
    test::writeFile(m_caches / "Velmor Reports", "no folder");
    open();
    test::CapturedOutput output;
    press(button("square.and.arrow.down"));
    press(button("square.and.arrow.up"));
    auto* const alert = waitForWindow<QMessageBox>();
    ASSERT_NE(alert, nullptr);
    EXPECT_EQ(alert->text(), "Could not generate report");
    EXPECT_EQ(alert->informativeText(),
              "Not a directory. Try again, or check that you have free disk space.");
    QTest::keyClick(alert, Qt::Key_Escape);
    EXPECT_EQ(output.text(), "[Velmor] Save: PDF render failed: Not a directory\n"
                             "[Velmor] Share failed: Not a directory\n");
    EXPECT_TRUE(m_window->isVisible());
}

TEST_F(ReportWindow, WithoutAnyWindowNothingButALineIsPrinted)
{
    ASSERT_TRUE(
        waitFor([] { return std::ranges::none_of(QApplication::topLevelWidgets(), &QWidget::isVisible); }));
    SessionReportWindowView view(m_hub, m_session, m_sharing);
    test::CapturedOutput output;
    view.share();
    view.save();
    EXPECT_EQ(output.text(), "[Velmor] Share: no window to anchor share picker from\n"
                             "[Velmor] Save: no window to anchor save panel from\n");
    EXPECT_FALSE(std::filesystem::exists(cachedFile()));
}

} // namespace
} // namespace velmor
