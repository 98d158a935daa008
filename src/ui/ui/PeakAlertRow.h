// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Observable.h>
#include <level/AudioMeasurementService.h>

#include <QString>
#include <QTimer>
#include <QVariantAnimation>
#include <QWidget>

namespace velmor {

/// The impulse of this moment. It comes and goes by its opacity; its place stays. An impulse lasts for a
/// block of the measurement: the row follows each of them, and is seen for as long as it takes to come.
class PeakAlertRow final : public QWidget
{
public:
    static constexpr int flashMilliseconds = 150;

    explicit PeakAlertRow(AudioMeasurementService& audioService);

    /// What is seen of it, 0 to 1.
    double opacity() const { return m_opacity; }

private:
    void follow();
    void fadeTo(double opacity);
    void paintEvent(QPaintEvent* event) override;

    AudioMeasurementService& m_audioService;
    bool m_peakFlash = false;
    double m_opacity = 0;
    QString m_text;
    QTimer m_least;
    QVariantAnimation m_animation;
    Subscription m_alerts;
};

} // namespace velmor
