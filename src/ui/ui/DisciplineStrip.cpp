// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/DisciplineStrip.h>

#include <ui/BarTrack.h>
#include <ui/Style.h>

#include <QFontMetricsF>
#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include <cmath>

namespace velmor {

namespace {

constexpr double trackOpacity = 0.15;
constexpr double gap = spacing::hair;
constexpr double dotSide = 6;

double lineHeight(TextStyle style)
{
    return std::ceil(QFontMetricsF(fontOf(style)).height());
}

} // namespace

DisciplineStrip::DisciplineStrip(QWidget* parent)
    : QWidget(parent)
    , m_score(new TextLabel(TextStyle::label, TextWeight::strong, Tint::secondary, Qt::AlignRight))
{
    setFixedHeight(stripHeight());
    auto* const title = new QHBoxLayout;
    title->setSpacing(static_cast<int>(spacing::tight));
    title->addWidget(
        new TextLabel("Monitoring Discipline", TextStyle::label, TextWeight::regular, Tint::secondary));
    title->addWidget(m_score, 1);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(title);
    layout->addStretch();
}

int DisciplineStrip::stripHeight()
{
    return static_cast<int>(lineHeight(TextStyle::label) + gap + barHeight + gap +
                            lineHeight(TextStyle::caption));
}

void DisciplineStrip::show(const Session& session)
{
    m_score->say(rowScore(session));
    m_times = disciplineTimes(session);
    QStringList said;
    for (const ZoneTime& time : m_times)
        said.append(QString::fromStdString(time.text));
    setAccessibleName(said.join(QStringLiteral(", ")));
    update();
}

void DisciplineStrip::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    const QRectF bar(0, lineHeight(TextStyle::label) + gap, width(), barHeight);
    painter.save();
    drawTrack(painter, bar, shades, trackOpacity);
    double whole = 0;
    for (const ZoneTime& time : m_times)
        whole += time.seconds;
    double x = 0;
    for (const ZoneTime& time : m_times) {
        const double share = time.seconds / whole * bar.width();
        painter.fillRect(QRectF(x, bar.top(), share, bar.height()), shades.zone(time.zone));
        x += share;
    }
    painter.restore();

    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(fontOf(TextStyle::caption));
    const QFontMetricsF metrics(painter.font());
    const double top = bar.bottom() + gap;
    const double height = lineHeight(TextStyle::caption);
    x = 0;
    for (const ZoneTime& time : m_times) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(shades.zone(time.zone));
        painter.drawEllipse(QRectF(x, top + (height - dotSide) / 2, dotSide, dotSide));
        x += dotSide + spacing::hair;
        const QString text = QString::fromStdString(time.text);
        painter.setPen(shades.secondaryText);
        painter.drawText(QRectF(x, top, width() - x, height), Qt::AlignLeft | Qt::AlignVCenter, text);
        x += metrics.horizontalAdvance(text) + spacing::item;
    }
}

} // namespace velmor
