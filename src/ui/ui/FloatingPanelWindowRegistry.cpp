// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/FloatingPanelWindowRegistry.h>

#include <ui/EventWatch.h>

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
    m_panel->show();
    m_panel->raise();
    isOpen = true;
}

void FloatingPanelWindowRegistry::toggle(AppState& hub)
{
    if (isOpen && m_panel)
        m_panel->close();
    else
        show(hub);
}

} // namespace velmor
