// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractButton>
#include <QRectF>

class QPainter;

namespace velmor {

/// A button of our own drawing: it has a ring while the keyboard is with it, though not for a click of the
/// mouse, and Return presses it as Space does.
class RingButton : public QAbstractButton
{
protected:
    RingButton();

    /// Draws the ring around what lies in \p place, if there is one now. \param round radius of its corners.
    void paintRing(QPainter& painter, const QRectF& place, double round) const;

    void focusInEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    bool m_isRingShown = false;
};

} // namespace velmor
