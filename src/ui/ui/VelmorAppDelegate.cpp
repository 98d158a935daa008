// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/VelmorAppDelegate.h>

#include <integrations/TovikImporter.h>
#include <ui/IconResolver.h>

#include <QApplication>

namespace velmor {

VelmorAppDelegate::VelmorAppDelegate(AppState& hub, DefaultsStore& defaults,
                                     InternalNotifications& notifications)
    : m_hub(hub)
    , m_defaults(defaults)
    , m_notifications(notifications)
{}

void VelmorAppDelegate::applicationDidFinishLaunching()
{
    QApplication::setWindowIcon(IconResolver::applicationIcon());
    if (!m_defaults.get<bool>(TovikImporter::welcomeShownKey).value_or(false))
        showWelcomeWindow();
    m_showImporter = m_notifications.onShowImporter([this] { showWelcomeWindow(); });
}

void VelmorAppDelegate::showWelcomeWindow()
{
    if (m_welcomeWindowController && m_welcomeWindowController->isVisible()) {
        m_welcomeWindowController->bringToFront();
        return;
    }
    m_welcomeWindowController = std::make_unique<WelcomeWindowController>(m_hub, m_defaults);
    m_welcomeWindowController->onDismiss = [this] { welcomeDismissed(); };
    m_welcomeWindowController->present();
}

void VelmorAppDelegate::welcomeDismissed()
{
    m_welcomeWindowController.reset();
    m_defaults.set(TovikImporter::welcomeShownKey, true);
    m_notifications.postImportCompleted();
}

} // namespace velmor
