// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

namespace velmor {

/// The A and C weighting from 20 Hz to 20 kHz, as the filters that measure have it at 48 kHz.
class WeightingCurves final : public QWidget
{
public:
    WeightingCurves();

private:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace velmor
