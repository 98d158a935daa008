// SPDX-License-Identifier: GPL-3.0-or-later
// Saving through the desktop's file dialog.
#include "ReportWindowFixture.h"

#include <QLabel>
#include <QMessageBox>
#include <QTimer>

#include <gmock/gmock.h>

#include <iterator>
#include <string>

#include <sys/stat.h>

namespace velmor {
namespace {

using test::desktop;
using test::ReportWindow;
using test::waitFor;
using test::waitForWindow;
using testing::StartsWith;

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
    // Not every container lets its processes mount, not even in a view of their own.
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

TEST_F(ReportWindow, WithoutAnAnchorTheDialogStandsByItself)
{
    m_sharing.presentSaveDialog(m_session, {}, nullptr);
    auto* const dialog = waitForWindow<QFileDialog>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->windowModality(), Qt::ApplicationModal);
    answer(*dialog, m_folder / "mine.pdf");
    EXPECT_TRUE(waitFor([&] { return std::filesystem::exists(m_folder / "mine.pdf"); }));
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

} // namespace
} // namespace velmor
