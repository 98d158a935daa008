// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <base/Lifetime.h>
#include <platform/DefaultsStore.h>
#include <ui/WelcomeView.h>

#include <QPointer>

#include <functional>
#include <memory>

namespace velmor {

/// Owns the welcome window, and tells once that the user is done with it, by a button or by closing it. The
/// end of the program is no such thing. Main thread.
class WelcomeWindowController
{
public:
    WelcomeWindowController(AppState& hub, DefaultsStore& defaults);
    ~WelcomeWindowController();

    /// May destroy the controller.
    std::function<void()> onDismiss;

    /// Shows the window in the middle of the screen, above all others.
    void present();

    void bringToFront();
    bool isVisible() const;

private:
    void fireDismissOnce();
    void dismiss();

    bool m_didFireDismiss = false;
    // Outlives what is guarded by it.
    Lifetime m_lifetime;
    QPointer<WelcomeView> m_window;
    std::unique_ptr<QObject> m_quitWatch;
};

} // namespace velmor
