// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/ZoneStrip.h>

#include <ui/BarTrack.h>

#include <fmt/format.h>

#include <cmath>
#include <utility>

namespace velmor {

namespace {

constexpr double trackOpacity = 0.15;

} // namespace

ZoneStrip::ZoneStrip(QWidget* parent)
    : QWidget(parent)
{
    setFixedHeight(static_cast<int>(barHeight));
    setToolTip(QStringLiteral("Time under, on and over the target"));
    describe();
}

void ZoneStrip::show(const ZoneShares& shares)
{
    if (shares == m_shares)
        return;
    m_shares = shares;
    describe();
    update();
}

void ZoneStrip::describe()
{
    const ZoneShares& shares = m_shares;
    const QString name = QString::fromStdString(
        fmt::format("{:.0f}% under, {:.0f}% on target, {:.0f}% over", std::round(shares.under * 100),
                    std::round(shares.onTarget * 100), std::round(shares.over * 100)));
    if (name != accessibleName())
        setAccessibleName(name);
}

void ZoneStrip::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    drawTrack(painter, rect(), shades, trackOpacity);
    double x = 0;
    for (const auto& [share, tint] :
         {std::pair(m_shares.under, Tint::blue), std::pair(m_shares.onTarget, Tint::green),
          std::pair(m_shares.over, Tint::orange)}) {
        painter.fillRect(QRectF(x, 0, share * width(), barHeight), shades.fill(tint));
        x += share * width();
    }
}

} // namespace velmor
