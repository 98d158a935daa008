// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/PauseBanner.h>

#include <ui/SymbolView.h>

#include <QHBoxLayout>
#include <QPainter>
#include <QPainterPath>

namespace velmor {

namespace {

constexpr double groundOpacity = 0.12;

} // namespace

PauseBanner::PauseBanner(QWidget* parent)
    : QWidget(parent)
    , m_message(new TextLabel(TextStyle::label, TextWeight::regular, Tint::orange))
{
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(static_cast<int>(spacing::item), static_cast<int>(spacing::tight),
                               static_cast<int>(spacing::item), static_cast<int>(spacing::tight));
    layout->setSpacing(static_cast<int>(spacing::tight));
    layout->addWidget(new SymbolView("pause.circle.fill", Tint::orange, iconSide::control));
    layout->addWidget(m_message, 1);
    m_message->say("Monitoring paused.");
}

void PauseBanner::refresh(const MonitoringPauseService& service, const Calendar& calendar)
{
    m_message->say(pauseText(service.pauseUntil, calendar));
}

void PauseBanner::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath outline;
    outline.addRoundedRect(rect(), radius::control, radius::control);
    painter.fillPath(outline, withOpacity(shadesOf(appearanceOf(palette())).orange, groundOpacity));
}

} // namespace velmor
