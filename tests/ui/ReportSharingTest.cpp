// SPDX-License-Identifier: GPL-3.0-or-later
// Sharing by the desktop's own programs.
#include "ReportWindowFixture.h"

#include <QClipboard>
#include <QMessageBox>
#include <QMimeData>
#include <QUrl>

#include <gmock/gmock.h>

#include <string>
#include <system_error>

namespace velmor {
namespace {

using test::desktop;
using test::ReportWindow;
using test::waitFor;
using test::waitForWindow;
using testing::HasSubstr;
using testing::StartsWith;

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
