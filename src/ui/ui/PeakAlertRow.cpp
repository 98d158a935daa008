// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/PeakAlertRow.h>

#include <ui/IconResolver.h>
#include <ui/MenuBarContent.h>

#include <QPainter>

namespace velmor {

namespace {

constexpr int rowHeight = 22;
constexpr double groundOpacity = 0.14;

} // namespace

PeakAlertRow::PeakAlertRow(AudioMeasurementService& audioService)
    : m_audioService(audioService)
    , m_alerts(audioService.peakAlert.subscribe([this](bool) { follow(); }))
{
    setFixedHeight(rowHeight);
    m_least.setSingleShot(true);
    connect(&m_least, &QTimer::timeout, this, [this] {
        if (!m_peakFlash)
            fadeTo(0);
    });
    m_animation.setDuration(flashMilliseconds);
    m_animation.setEasingCurve(QEasingCurve::InQuad);
    connect(&m_animation, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        m_opacity = value.toDouble();
        update();
    });
    follow();
}

void PeakAlertRow::follow()
{
    const bool wasFlash = m_peakFlash;
    m_peakFlash = m_audioService.peakAlert && m_audioService.isRunning;
    if (!m_peakFlash) {
        if (wasFlash && !m_least.isActive())
            fadeTo(0);
        return;
    }
    const QString text = QString::fromStdString(peakAlertText(m_audioService.peakDBC));
    if (text != m_text || !wasFlash) {
        m_text = text;
        setAccessibleName(text);
        update();
    }
    m_least.start(flashMilliseconds);
    if (!wasFlash)
        fadeTo(1);
}

void PeakAlertRow::fadeTo(double opacity)
{
    m_animation.stop();
    if (opacity == 0)
        setAccessibleName({});
    if (!isVisible()) {
        m_opacity = opacity;
        return;
    }
    m_animation.setStartValue(m_opacity);
    m_animation.setEndValue(opacity);
    m_animation.start();
}

void PeakAlertRow::paintEvent(QPaintEvent*)
{
    if (m_opacity <= 0)
        return;
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(m_opacity);
    painter.setPen(Qt::NoPen);
    painter.setBrush(withOpacity(shades.red, groundOpacity));
    painter.drawRoundedRect(rect(), radius::control, radius::control);
    QRectF symbol(spacing::tight, 0, iconSide::inText, iconSide::inText);
    symbol.moveTop((height() - symbol.height()) / 2);
    IconResolver::draw(painter, symbol, "bolt.fill", shades.ink(Tint::red));
    painter.setFont(fontOf(TextStyle::label, TextWeight::strong));
    painter.setPen(shades.ink(Tint::red));
    painter.drawText(QRectF(rect()).adjusted(symbol.right() + spacing::hair, 0, 0, 0),
                     Qt::AlignLeft | Qt::AlignVCenter, m_text);
}

} // namespace velmor
