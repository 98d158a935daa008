// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QEvent>
#include <QObject>

#include <functional>
#include <utility>

namespace velmor {

/// Sees what happens to another object, and lets it happen. Belongs to that object, unless it is taken away
/// before.
class EventWatch final : public QObject
{
public:
    EventWatch(QObject& watched, QEvent::Type kind, std::function<void()> onEvent)
        : QObject(&watched)
        , m_kind(kind)
        , m_onEvent(std::move(onEvent))
    {
        watched.installEventFilter(this);
    }

private:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        // An application's filters see the events of all its objects.
        if (event->type() == m_kind && watched == parent())
            m_onEvent();
        return false;
    }

    QEvent::Type m_kind;
    std::function<void()> m_onEvent;
};

} // namespace velmor
