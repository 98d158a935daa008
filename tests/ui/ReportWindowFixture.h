// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ReportDesktop.h"

#include <app/AppState.h>
#include <linux/DesktopShareServices.h>
#include <support/HubHost.h>
#include <support/ReportSamples.h>
#include <support/TemporaryFolder.h>
#include <ui/SessionReportSharing.h>
#include <ui/SessionReportWindowRoot.h>

#include <QApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <vector>

namespace velmor::test {

/// A report's window on a real screen, driven by its buttons, menus and dialogs; the programs that it asks
/// are the desktop's own.
class ReportWindow : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!desktop->problem.empty()) {
            if (test::packagesMustBeThere())
                FAIL() << desktop->problem;
            // Without its packages there is no screen to test on; where CI runs they are installed.
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

    TemporaryFolder m_caches;
    TemporaryFolder m_folder;
    HubHost m_host;
    AppState m_hub{m_host.host()};
    DesktopShareServices m_services;
    SessionReportSharing m_sharing{m_hub, m_services, m_caches.path()};
    Session m_session = mixingSession(750);
    std::unique_ptr<SessionReportWindowRoot> m_window;
};

} // namespace velmor::test
