// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/RingButton.h>

#include <ui/Style.h>

#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>

namespace velmor {

RingButton::RingButton()
{
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
}

void RingButton::paintRing(QPainter& painter, const QRectF& place, double round) const
{
    if (!hasFocus() || !m_isRingShown)
        return;
    constexpr double line = 1.5;
    painter.setPen(QPen(shadesOf(appearanceOf(palette())).blue, line));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(place.adjusted(line / 2, line / 2, -line / 2, -line / 2), round, round);
}

void RingButton::focusInEvent(QFocusEvent* event)
{
    const Qt::FocusReason reason = event->reason();
    if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::ShortcutFocusReason)
        m_isRingShown = true;
    // After a menu, a question or another window it is as it was before.
    else if (reason == Qt::MouseFocusReason)
        m_isRingShown = false;
    QAbstractButton::focusInEvent(event);
}

void RingButton::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        click();
    else
        QAbstractButton::keyPressEvent(event);
}

} // namespace velmor
