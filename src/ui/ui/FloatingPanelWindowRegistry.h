// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <base/Observable.h>

#include <QPointer>
#include <QWidget>

#include <functional>

namespace velmor {

/// Owns the one floating panel: a small window of live measurements. Starts closed. Main thread.
class FloatingPanelWindowRegistry final : public ObservableObject
{
public:
    /// \param makePanel makes the window, without showing it.
    explicit FloatingPanelWindowRegistry(std::function<QWidget*(AppState&)> makePanel);
    ~FloatingPanelWindowRegistry();

    Published<bool> isOpen{*this, false};

    /// Makes the panel if there is none, and brings it to the front.
    void show(AppState& hub);

    /// Closes an open panel; shows it otherwise.
    void toggle(AppState& hub);

    /// As high as what it shows, with the top edge where it is.
    void resizePanelToContent();

private:
    std::function<QWidget*(AppState&)> m_makePanel;
    QPointer<QWidget> m_panel;
    QObject m_turns; ///< What is left for a later turn ends with it.
};

} // namespace velmor
