// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/CalendarDayCell.h>

#include <ui/HistoryContent.h>

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace velmor {

namespace {

constexpr double doseOpacity = 0.28;
constexpr double rangeOpacity = 0.2;
constexpr double markWidth = 1.5;
constexpr double gap = 2.0; ///< Between columns: the range's band goes over it.
constexpr double cellRadius = radius::control;

/// A band that is round at the ends of the range alone.
QPainterPath band(const QRectF& cell, const CalendarDay& day)
{
    QPainterPath path;
    path.addRoundedRect(cell, cellRadius, cellRadius);
    if (!day.isMultiDayRange)
        return path;
    const double middle = cell.center().x();
    if (!day.isRangeStart)
        path.addRect(QRectF(QPointF(cell.left() - gap / 2, cell.top()), QPointF(middle, cell.bottom())));
    if (!day.isRangeEnd)
        path.addRect(QRectF(QPointF(middle, cell.top()), QPointF(cell.right() + gap / 2, cell.bottom())));
    path.setFillRule(Qt::WindingFill);
    return path;
}

} // namespace

CalendarDayCell::CalendarDayCell(QWidget* parent)
    : QAbstractButton(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
}

void CalendarDayCell::show(const CalendarDay& day, const QString& name)
{
    if (name != accessibleName())
        setAccessibleName(name);
    setEnabled(!day.isFuture);
    if (day == m_day)
        return;
    m_day = day;
    setText(QString::number(day.date.day()));
    update();
}

void CalendarDayCell::setCursor(bool isCursor)
{
    if (isCursor == m_isCursor)
        return;
    m_isCursor = isCursor;
    update();
}

std::optional<Tint> CalendarDayCell::doseColor(const CalendarDay& day)
{
    if (day.isFuture || !(day.dose > 0))
        return std::nullopt;
    return velmor::doseColor(day.dose);
}

void CalendarDayCell::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF cell = QRectF(rect()).adjusted(gap / 2, 0, -gap / 2, 0);
    if (m_day.isInRange)
        painter.fillPath(band(cell, m_day), withOpacity(shades.blue, rangeOpacity));

    const double side = std::min(cell.width(), cell.height()) - 6;
    const QRectF inner(cell.center() - QPointF(side, side) / 2, QSizeF(side, side));
    const bool isEnd = m_day.isInRange && (m_day.isRangeStart || m_day.isRangeEnd);
    if (const auto tint = doseColor(m_day)) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(withOpacity(shades.fill(*tint), doseOpacity));
        painter.drawEllipse(inner);
    }
    painter.setBrush(Qt::NoBrush);
    if (m_day.isToday) {
        painter.setPen(QPen(shades.secondaryText, markWidth));
        painter.drawEllipse(inner);
    }
    if (m_isCursor) {
        painter.setPen(QPen(shades.blue, markWidth));
        painter.drawRoundedRect(cell.adjusted(1, 1, -1, -1), cellRadius, cellRadius);
    }
    if (m_day.isAnchor) {
        QPen pen(shades.blue, markWidth);
        pen.setDashPattern({2, 2});
        painter.setPen(pen);
        // Inside of today's mark where it is both.
        const double inset = m_day.isToday ? 2.5 : 0;
        painter.drawEllipse(inner.adjusted(inset, inset, -inset, -inset));
    }
    painter.setFont(
        fontOf(TextStyle::label, m_day.isToday || isEnd ? TextWeight::strong : TextWeight::regular));
    painter.setPen(m_day.isFuture ? shades.tertiaryText : shades.text);
    painter.drawText(cell, Qt::AlignCenter, text());
}

} // namespace velmor
