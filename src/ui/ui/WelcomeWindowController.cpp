// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/WelcomeWindowController.h>

#include <ui/BringToFront.h>
#include <ui/EventWatch.h>

#include <QApplication>
#include <QScreen>

#include <utility>

namespace velmor {

WelcomeWindowController::WelcomeWindowController(AppState& hub, DefaultsStore& defaults)
    : m_window(new WelcomeView(hub, defaults, m_lifetime.guarded([this] { dismiss(); })))
    , m_quitWatch(new EventWatch(*qApp, QEvent::Quit, [this] { m_didFireDismiss = true; }))
{
    new EventWatch(*m_window, QEvent::Close, m_lifetime.guarded([this] { fireDismissOnce(); }));
}

WelcomeWindowController::~WelcomeWindowController()
{
    if (!m_window)
        return;
    m_window->hide();
    // It may be the window itself that is telling.
    if (m_didFireDismiss)
        m_window->deleteLater();
    else
        delete m_window;
}

void WelcomeWindowController::present()
{
    m_window->setWindowFlag(Qt::WindowStaysOnTopHint);
    const QRect available = m_window->screen()->availableGeometry();
    m_window->move(available.center() - m_window->rect().center());
    bringToFront();
}

void WelcomeWindowController::bringToFront()
{
    velmor::bringToFront(*m_window);
}

bool WelcomeWindowController::isVisible() const
{
    return m_window && m_window->isVisible();
}

void WelcomeWindowController::fireDismissOnce()
{
    if (std::exchange(m_didFireDismiss, true) || !onDismiss)
        return;
    const auto tell = onDismiss;
    tell();
}

void WelcomeWindowController::dismiss()
{
    const QPointer<WelcomeView> window = m_window;
    fireDismissOnce();
    if (window)
        window->close();
}

} // namespace velmor
