// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/Style.h>

#include <QVariantAnimation>
#include <QWidget>

namespace velmor {

/// A bar on a track that is filled from the left, and moves to a new fill over 0.3 seconds.
class FillBar final : public QWidget
{
public:
    static constexpr int animationMilliseconds = 300;

    explicit FillBar(QWidget* parent = nullptr);

    /// \param fill 0 to 1
    void show(double fill, Tint tint);

    /// Where the bar moves to, 0 to 1.
    double fill() const { return m_fill; }

private:
    void paintEvent(QPaintEvent* event) override;

    double m_fill = 0;
    double m_shownFill = 0;
    Tint m_tint = Tint::green;
    QVariantAnimation m_animation;
};

} // namespace velmor
