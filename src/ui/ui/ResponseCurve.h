// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <level/MicCorrectionProfile.h>

#include <QWidget>

#include <vector>

namespace velmor {

/// The correction of a microphone's response: gain over the logarithm of frequency.
class ResponseCurve final : public QWidget
{
public:
    ResponseCurve();

    /// \param curve by ascending frequency.
    void show(const std::vector<FrequencyCurvePoint>& curve);

private:
    void paintEvent(QPaintEvent* event) override;

    std::vector<FrequencyCurvePoint> m_curve;
};

} // namespace velmor
