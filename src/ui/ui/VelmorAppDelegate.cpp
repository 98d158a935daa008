// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/VelmorAppDelegate.h>

#include <ui/BringToFront.h>
#include <ui/EventWatch.h>
#include <ui/IconResolver.h>

#include <QApplication>
#include <QScreen>

#include <utility>

namespace velmor {

VelmorAppDelegate::VelmorAppDelegate(DefaultsStore& defaults, InternalNotifications& notifications,
                                     WelcomeWindowFactory makeWelcome)
    : m_defaults(defaults)
    , m_notifications(notifications)
    , m_makeWelcome(std::move(makeWelcome))
{}

VelmorAppDelegate::~VelmorAppDelegate()
{
    delete m_welcomeWindow;
}

void VelmorAppDelegate::applicationDidFinishLaunching()
{
    QApplication::setWindowIcon(IconResolver::applicationIcon());
    if (!m_defaults.get<bool>(welcomeShownKey).value_or(false))
        showWelcomeWindow();
    m_showImporter = m_notifications.onShowImporter([this] { showWelcomeWindow(); });
}

void VelmorAppDelegate::showWelcomeWindow()
{
    if (m_welcomeWindow && m_welcomeWindow->isVisible()) {
        bringToFront(*m_welcomeWindow);
        return;
    }
    if (!m_makeWelcome)
        return;
    delete m_welcomeWindow;
    m_welcomeWindow = m_makeWelcome([this] { welcomeDismissed(); });
    new EventWatch(*m_welcomeWindow, QEvent::Close, [this] { welcomeDismissed(); });
    m_welcomeWindow->setWindowFlag(Qt::WindowStaysOnTopHint);
    m_welcomeWindow->adjustSize();
    const QRect available = m_welcomeWindow->screen()->availableGeometry();
    m_welcomeWindow->move(available.center() - m_welcomeWindow->rect().center());
    bringToFront(*m_welcomeWindow);
}

void VelmorAppDelegate::welcomeDismissed()
{
    if (!m_welcomeWindow)
        return;
    // It may be the window itself that says so.
    QWidget* const window = m_welcomeWindow;
    m_welcomeWindow = nullptr;
    window->hide();
    window->deleteLater();
    m_defaults.set(welcomeShownKey, true);
    m_notifications.postImportCompleted();
}

} // namespace velmor
