// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QString>
#include <QWidget>

namespace velmor {

/// A ground with an edge, for what stands out from its page.
class Card final : public QWidget
{
    void paintEvent(QPaintEvent* event) override;
};

/// The style of a push button on a card: filled, with an edge in a colour while it has the keyboard.
QString filledButtonStyle(const QColor& ground, const QColor& text, const QColor& focus);

} // namespace velmor
