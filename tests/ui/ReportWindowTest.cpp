// SPDX-License-Identifier: GPL-3.0-or-later
// The report's window on a real screen, driven by its buttons, menus and dialogs; the programs that it asks
// are the desktop's own.
#include "ReportDesktop.h"

#include <app/AppState.h>
#include <linux/DesktopShareServices.h>
#include <support/CapturedOutput.h>
#include <support/HubHost.h>
#include <support/ReportSamples.h>
#include <support/TemporaryFolder.h>
#include <ui/SessionReportSharing.h>
#include <ui/SessionReportWindowRoot.h>
#include <ui/SessionReportWindowView.h>

#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QUrl>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace velmor {
namespace {

using test::desktop;
using test::waitFor;
using test::waitForWindow;
using testing::HasSubstr;
using testing::StartsWith;

class ReportWindow : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!desktop->problem.empty()) {
            if (std::getenv("CI"))
                FAIL() << desktop->problem;
            GTEST_SKIP() << "it can't be started here: " << desktop->problem;
        }
        std::filesystem::remove(desktop->folder / "opened");
        m_session.endDate = m_session.startDate + std::chrono::seconds(7500);
        m_hub.sessionManager.sessionHistory = std::vector{m_session};
    }

    void open()
    {
        m_window = std::make_unique<SessionReportWindowRoot>(m_hub, m_session.id, m_sharing);
        m_window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(m_window.get()));
        m_window->activateWindow();
        (void)QTest::qWaitForWindowActive(m_window.get(), 1000);
    }

    QToolButton& button(const char* symbol)
    {
        return *m_window->findChild<QToolButton*>(QString::fromLatin1(symbol));
    }

    void press(QToolButton& button) { QTest::mouseClick(&button, Qt::LeftButton); }

    /// Goes to a folder in the dialog, types a name and confirms it.
    void answer(QFileDialog& dialog, const std::filesystem::path& place)
    {
        const QString folder = QString::fromStdString(place.parent_path().native());
        dialog.setDirectory(folder);
        ASSERT_TRUE(waitFor([&] { return dialog.directory() == QDir(folder); }));
        auto* const name = dialog.findChild<QLineEdit*>("fileNameEdit");
        name->selectAll();
        QTest::keyClicks(name, QString::fromStdString(place.filename().native()));
        // The list of names that comes up while one types takes a click for itself.
        const QPointer<QFileDialog> open = &dialog;
        EXPECT_TRUE(waitFor([&] {
            if (QWidget* const completions = QApplication::activePopupWidget())
                completions->close();
            else if (open && open->isVisible())
                QTest::mouseClick(open->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Save),
                                  Qt::LeftButton);
            return !open || !open->isVisible();
        }));
    }

    void choose(const QString& text)
    {
        auto* const menu = waitForWindow<QMenu>();
        ASSERT_NE(menu, nullptr);
        for (QAction* const action : menu->actions()) {
            if (action->text() == text)
                QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
        }
    }

    std::filesystem::path cachedFile() const
    {
        return m_caches.path() / "Velmor Reports" / "Velmor session 2025-03-04 0912.pdf";
    }

    test::TemporaryFolder m_caches;
    test::TemporaryFolder m_folder;
    test::HubHost m_host;
    AppState m_hub{m_host.host()};
    DesktopShareServices m_services;
    SessionReportSharing m_sharing{m_hub, m_services, m_caches.path()};
    Session m_session = test::mixingSession(750);
    std::unique_ptr<SessionReportWindowRoot> m_window;
};

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

TEST_F(ReportWindow, SavesThroughTheDialogAndKeepsTheCachedFile)
{
    open();
    press(button("square.and.arrow.down"));
    auto* const dialog = waitForWindow<QFileDialog>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->windowTitle(), "Save Velmor session report");
    EXPECT_EQ(dialog->findChild<QLineEdit*>()->text(), "Velmor session 2025-03-04 0912.pdf");
    QStringList texts;
    for (const QLabel* const label : dialog->findChildren<QLabel*>())
        texts.append(label->text());
    EXPECT_TRUE(texts.contains(QStringLiteral("Choose where to save the PDF report.")));
    answer(*dialog, m_folder / "mine.pdf");
    ASSERT_TRUE(waitFor([&] { return std::filesystem::exists(m_folder / "mine.pdf"); }));
    EXPECT_THAT(test::contentOf(m_folder / "mine.pdf"), StartsWith("%PDF-"));
    EXPECT_EQ(test::contentOf(m_folder / "mine.pdf"), test::contentOf(cachedFile()));
    struct stat status = {};
    ASSERT_EQ(::stat(cachedFile().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(ReportWindow, ReplacesAFileThatTheUserAgreesToReplace)
{
    open();
    test::writeFile(m_folder / "mine.pdf", "an older report");
    press(button("square.and.arrow.down"));
    auto* const dialog = waitForWindow<QFileDialog>();
    ASSERT_NE(dialog, nullptr);
    bool wasAsked = false;
    QTimer agree;
    QObject::connect(&agree, &QTimer::timeout, [&] {
        auto* const question = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!question)
            return;
        wasAsked = true;
        agree.stop();
        QTest::mouseClick(question->button(QMessageBox::Yes), Qt::LeftButton);
    });
    agree.start(20);
    answer(*dialog, m_folder / "mine.pdf");
    EXPECT_TRUE(waitFor([&] { return test::contentOf(m_folder / "mine.pdf").starts_with("%PDF-"); }));
    EXPECT_TRUE(wasAsked);
    EXPECT_EQ(m_folder.names(), std::vector<std::string>{"mine.pdf"});
}

TEST_F(ReportWindow, AFolderThatCanNotBeWrittenToIsToldAndTheCachedFileStays)
{
    if (!desktop->smallDisk->problem().empty())
        GTEST_SKIP() << "no file system can be mounted here: " << desktop->smallDisk->problem();
    test::writeFile(desktop->disk / "mine.pdf", "an older report");
    ASSERT_TRUE(desktop->smallDisk->setReadOnly(true));
    open();
    press(button("square.and.arrow.down"));
    auto* const dialog = waitForWindow<QFileDialog>();
    ASSERT_NE(dialog, nullptr);
    answer(*dialog, desktop->disk / "other.pdf");
    auto* const alert = waitForWindow<QMessageBox>();
    ASSERT_NE(alert, nullptr);
    EXPECT_EQ(alert->text(), "Could not save report");
    EXPECT_EQ(alert->informativeText(),
              "Read-only file system (the PDF is still in your cache folder if you want to retry).");
    EXPECT_EQ(alert->icon(), QMessageBox::Warning);
    QTest::mouseClick(alert->button(QMessageBox::Ok), Qt::LeftButton);
    EXPECT_TRUE(std::filesystem::exists(cachedFile()));
    EXPECT_EQ(test::contentOf(desktop->disk / "mine.pdf"), "an older report");
    ASSERT_TRUE(desktop->smallDisk->setReadOnly(false));
}

TEST_F(ReportWindow, ANameWithoutTheSuffixGetsIt)
{
    open();
    press(button("square.and.arrow.down"));
    auto* const dialog = waitForWindow<QFileDialog>();
    ASSERT_NE(dialog, nullptr);
    answer(*dialog, m_folder / "Mix v1.2");
    ASSERT_TRUE(waitFor([&] { return std::filesystem::exists(m_folder / "Mix v1.2.pdf"); }));
    EXPECT_EQ(m_folder.names(), std::vector<std::string>{"Mix v1.2.pdf"});
}

TEST_F(ReportWindow, AFileThatTheSuffixWouldHitIsAskedAbout)
{
    test::writeFile(m_folder / "march.pdf", "an older report");
    open();
    press(button("square.and.arrow.down"));
    auto* const dialog = waitForWindow<QFileDialog>();
    ASSERT_NE(dialog, nullptr);
    answer(*dialog, m_folder / "march");
    auto* const question = waitForWindow<QMessageBox>();
    ASSERT_NE(question, nullptr);
    EXPECT_EQ(question->text(), "march.pdf already exists. Do you want to replace it?");
    EXPECT_EQ(question->defaultButton(), question->button(QMessageBox::No));
    QTest::mouseClick(question->button(QMessageBox::No), Qt::LeftButton);
    QTest::qWait(50);
    EXPECT_EQ(test::contentOf(m_folder / "march.pdf"), "an older report");
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

TEST_F(ReportWindow, WithoutAnAnchorTheDialogStandsByItself)
{
    m_sharing.presentSaveDialog(m_session, {}, nullptr);
    auto* const dialog = waitForWindow<QFileDialog>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->windowModality(), Qt::ApplicationModal);
    answer(*dialog, m_folder / "mine.pdf");
    EXPECT_TRUE(waitFor([&] { return std::filesystem::exists(m_folder / "mine.pdf"); }));
}

TEST_F(ReportWindow, WhereNothingCanBeStartedAnAlertSaysSo)
{
    open();
    press(button("square.and.arrow.up"));
    const std::string path = std::getenv("PATH");
    ::setenv("PATH", m_folder.path().c_str(), 1);
    choose(QStringLiteral("Open"));
    auto* const alert = waitForWindow<QMessageBox>();
    ::setenv("PATH", path.c_str(), 1);
    ASSERT_NE(alert, nullptr);
    EXPECT_EQ(alert->text(), "Could not share report");
    QTest::keyClick(alert, Qt::Key_Escape);
}

TEST_F(ReportWindow, CancellingSavesNothing)
{
    open();
    press(button("square.and.arrow.down"));
    auto* const dialog = waitForWindow<QFileDialog>();
    ASSERT_NE(dialog, nullptr);
    const QPointer<QFileDialog> there = dialog;
    QTest::keyClick(dialog, Qt::Key_Escape);
    EXPECT_TRUE(waitFor([&] { return there.isNull(); }));
    EXPECT_TRUE(m_folder.names().empty());
    EXPECT_TRUE(std::filesystem::exists(cachedFile()));
}

TEST_F(ReportWindow, ASecondReportOfASessionIsWrittenOverTheFirst)
{
    const auto file = m_sharing.writePDF(m_session, {});
    EXPECT_EQ(file, cachedFile());
    test::writeFile(file, "something else");
    EXPECT_EQ(m_sharing.writePDF(m_session, {}), file);
    EXPECT_THAT(test::contentOf(file), StartsWith("%PDF-"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(file.parent_path()), {}), 1);
}

TEST_F(ReportWindow, OpensTheReportInTheDesktopsViewer)
{
    open();
    press(button("square.and.arrow.up"));
    choose(QStringLiteral("Open"));
    ASSERT_TRUE(waitFor([] { return desktop->log().ends_with("\n"); }));
    EXPECT_THAT(desktop->log(), StartsWith("viewer "));
    EXPECT_THAT(desktop->log(), HasSubstr("Velmor session 2025-03-04 0912.pdf"));
    EXPECT_EQ(SessionReportSharing::SubjectDelegate::shared().subject, "Velmor session report (REAPER)");
}

TEST_F(ReportWindow, AttachesTheReportToAnEmail)
{
    m_session.dawName.clear();
    m_hub.sessionManager.sessionHistory = std::vector{m_session};
    open();
    press(button("square.and.arrow.up"));
    choose(QStringLiteral("Send by E-Mail…"));
    ASSERT_TRUE(waitFor([] { return desktop->log().ends_with("\n"); }));
    EXPECT_THAT(desktop->log(), StartsWith("mail mailto:"));
    EXPECT_THAT(desktop->log(), HasSubstr("attach="));
    EXPECT_THAT(desktop->log(), HasSubstr(".pdf"));
    EXPECT_EQ(SessionReportSharing::SubjectDelegate::shared().subject, "Velmor session report (Manual)");
}

TEST_F(ReportWindow, ShowsTheReportInTheFileManager)
{
    test::FileManager fileManager;
    open();
    press(button("square.and.arrow.up"));
    choose(QStringLiteral("Show in File Manager"));
    ASSERT_TRUE(waitFor([&] { return !fileManager.shown.isEmpty(); }));
    EXPECT_EQ(QUrl(fileManager.shown.front()).toLocalFile().toStdString(), cachedFile().native());
}

TEST_F(ReportWindow, OpensTheFolderWhereThereIsNoFileManager)
{
    open();
    press(button("square.and.arrow.up"));
    choose(QStringLiteral("Show in File Manager"));
    ASSERT_TRUE(waitFor([] { return desktop->log().ends_with("\n"); }));
    EXPECT_THAT(desktop->log(), HasSubstr("Velmor Reports"));
}

TEST_F(ReportWindow, CopiesTheFileToTheClipboard)
{
    open();
    press(button("square.and.arrow.up"));
    choose(QStringLiteral("Copy File"));
    ASSERT_TRUE(waitFor([] { return QGuiApplication::clipboard()->mimeData()->hasUrls(); }));
    const QMimeData& data = *QGuiApplication::clipboard()->mimeData();
    EXPECT_EQ(data.urls().front().toLocalFile().toStdString(), cachedFile().native());
    EXPECT_THAT(data.data("x-special/gnome-copied-files").toStdString(), StartsWith("copy\nfile:///"));
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

TEST_F(ReportWindow, RenderAndShareHandsAFailureToItsCaller)
{
    QWidget anchor;
    test::writeFile(m_caches / "Velmor Reports", "no folder");
    EXPECT_THROW(m_sharing.renderAndShare(m_session, {}, anchor), std::system_error);
    std::filesystem::remove(m_caches / "Velmor Reports");
    anchor.show();
    m_sharing.renderAndShare(m_session, {}, anchor);
    auto* const menu = waitForWindow<QMenu>();
    ASSERT_NE(menu, nullptr);
    menu->close();
}

} // namespace
} // namespace velmor

int main(int argumentCount, char** arguments)
{
    testing::InitGoogleTest(&argumentCount, arguments);
    // The list of the tests is asked for without a screen.
    if (testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS();
    velmor::test::Desktop desktop;
    velmor::test::desktop = &desktop;
    if (!desktop.problem.empty())
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    const QApplication application(argumentCount, arguments);
    return RUN_ALL_TESTS();
}
