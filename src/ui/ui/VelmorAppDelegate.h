// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <app/InternalNotifications.h>
#include <platform/DefaultsStore.h>
#include <ui/WelcomeWindowController.h>

#include <memory>

namespace velmor {

/// What the program does when the desktop starts it, and whenever somebody asks for the welcome. Main thread.
class VelmorAppDelegate
{
public:
    VelmorAppDelegate(AppState& hub, DefaultsStore& defaults, InternalNotifications& notifications);

    void applicationDidFinishLaunching();

    /// Brings a visible one to the front.
    void showWelcomeWindow();

private:
    void welcomeDismissed();

    AppState& m_hub;
    DefaultsStore& m_defaults;
    InternalNotifications& m_notifications;
    std::unique_ptr<WelcomeWindowController> m_welcomeWindowController;
    Subscription m_showImporter;
};

} // namespace velmor
