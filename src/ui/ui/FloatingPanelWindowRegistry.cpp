// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/FloatingPanelWindowRegistry.h>

#include <ui/EventWatch.h>

#include <QTimer>

#include <utility>

namespace velmor {

FloatingPanelWindowRegistry::FloatingPanelWindowRegistry(std::function<QWidget*(AppState&)> makePanel)
    : m_makePanel(std::move(makePanel))
{}

FloatingPanelWindowRegistry::~FloatingPanelWindowRegistry()
{
    delete m_panel;
}

void FloatingPanelWindowRegistry::show(AppState& hub)
{
    if (!m_panel) {
        m_panel = m_makePanel(hub);
        new EventWatch(*m_panel, QEvent::Close, [this] {
            if (!m_panel)
                return;
            m_panel->deleteLater();
            m_panel = nullptr;
            isOpen = false;
        });
    }
    QTimer::singleShot(0, &m_turns, [this] { resizePanelToContent(); });
    m_panel->show();
    m_panel->raise();
    isOpen = true;
}

void FloatingPanelWindowRegistry::resizePanelToContent()
{
    const int height = m_panel ? m_panel->sizeHint().height() : 0;
    if (height > 0)
        m_panel->resize(m_panel->width(), height);
}

void FloatingPanelWindowRegistry::toggle(AppState& hub)
{
    if (isOpen && m_panel)
        m_panel->close();
    else
        show(hub);
}

} // namespace velmor
