// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QEvent>
#include <QObject>
#include <QWidget>

#include <functional>
#include <utility>

namespace velmor {

/// Sees a window close, by whatever road. Belongs to the window.
class CloseWatch final : public QObject
{
public:
    CloseWatch(QWidget& window, std::function<void()> onClose)
        : QObject(&window)
        , m_onClose(std::move(onClose))
    {
        window.installEventFilter(this);
    }

private:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Close)
            m_onClose();
        return false;
    }

    std::function<void()> m_onClose;
};

} // namespace velmor
