// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/InternalNotifications.h>
#include <platform/DefaultsStore.h>

#include <QPointer>
#include <QWidget>

#include <functional>
#include <string_view>

namespace velmor {

/// Makes the welcome window, without showing it. It calls back when the user is done with it; closing the
/// window is the same.
using WelcomeWindowFactory = std::function<QWidget*(std::function<void()> onDismiss)>;

/// What the program does when the desktop starts it, and whenever somebody asks for the welcome. Main thread.
class VelmorAppDelegate
{
public:
    static constexpr std::string_view welcomeShownKey = "Velmor.welcomeShown";

    /// \param makeWelcome empty for a program that has no welcome.
    VelmorAppDelegate(DefaultsStore& defaults, InternalNotifications& notifications,
                      WelcomeWindowFactory makeWelcome);
    ~VelmorAppDelegate();

    void applicationDidFinishLaunching();

    /// Brings a visible one to the front.
    void showWelcomeWindow();

private:
    void welcomeDismissed();

    DefaultsStore& m_defaults;
    InternalNotifications& m_notifications;
    WelcomeWindowFactory m_makeWelcome;
    QPointer<QWidget> m_welcomeWindow;
    Subscription m_showImporter;
};

} // namespace velmor
