// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

namespace velmor {

/// How much of the budget of several days is used.
class CumulativeDoseBar final : public QWidget
{
public:
    static constexpr int barHeight = 7;

    CumulativeDoseBar();

    /// \param fill 0 to 1
    void show(double fill);

private:
    void paintEvent(QPaintEvent* event) override;

    double m_fill = 0;
};

} // namespace velmor
