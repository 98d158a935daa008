// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/RangeDoseChart.h>

#include <QFontMetricsF>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmor {

namespace {

constexpr double leastLargestDose = 1.0;
constexpr double barShare = 0.62; ///< Of a day's width.
constexpr double widestBar = 44;
constexpr double stubHeight = 3;
constexpr double stubOpacity = 0.25;
constexpr double restOpacity = 0.8; ///< Of the bars that the pointer is not over.
constexpr double labelGap = spacing::hair;

double labelHeight()
{
    return std::ceil(QFontMetricsF(fontOf(TextStyle::caption)).height());
}

} // namespace

RangeDoseChart::RangeDoseChart(std::function<void(const std::optional<QDate>&)> onHover,
                               std::function<void(QDate)> onSelect)
    : m_onHover(std::move(onHover))
    , m_onSelect(std::move(onSelect))
{
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setFixedHeight(plotHeight + static_cast<int>(labelGap + labelHeight()));
}

void RangeDoseChart::show(std::vector<ChartDay> days, const std::optional<QDate>& hoveredChartDay,
                          const std::string& hoveredText)
{
    const QString description = QString::fromStdString(hoveredText);
    if (description != accessibleDescription())
        setAccessibleDescription(description);
    if (days == m_days && hoveredChartDay == m_hoveredChartDay)
        return;
    if (days != m_days) {
        std::string name = "Dose by day:";
        for (const ChartDay& day : days)
            name += fmt::format(" {} {:.1f}%", day.date.toString(Qt::ISODate).toStdString(), day.dose);
        setAccessibleName(QString::fromStdString(name));
    }
    m_days = std::move(days);
    m_hoveredChartDay = hoveredChartDay;
    update();
}

QRectF RangeDoseChart::bar(std::size_t index) const
{
    double largest = leastLargestDose;
    for (const ChartDay& day : m_days)
        largest = std::max(largest, day.dose);
    const double step = static_cast<double>(width()) / static_cast<double>(m_days.size());
    const double barWidth = std::min(step * barShare, widestBar);
    const double dose = m_days[index].dose;
    const double height = dose > 0 ? std::max(1.0, dose / largest * plotHeight) : stubHeight;
    return {(static_cast<double>(index) + 0.5) * step - barWidth / 2, plotHeight - height, barWidth, height};
}

void RangeDoseChart::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(fontOf(TextStyle::caption));
    const double step =
        static_cast<double>(width()) / static_cast<double>(std::max<std::size_t>(m_days.size(), 1));
    for (std::size_t i = 0; i < m_days.size(); ++i) {
        const ChartDay& day = m_days[i];
        const bool isHovered = m_hoveredChartDay == day.date;
        const QRectF place = bar(i);
        const double corner = std::min<double>(radius::bar, place.height() / 2);
        painter.setPen(Qt::NoPen);
        if (day.dose > 0)
            painter.setBrush(withOpacity(shades.fill(doseColor(day.dose)),
                                         isHovered || !m_hoveredChartDay ? 1.0 : restOpacity));
        else
            painter.setBrush(withOpacity(shades.gray, stubOpacity));
        painter.drawRoundedRect(place, corner, corner);
        if (isHovered) {
            painter.setPen(QPen(shades.blue, 1.5));
            painter.setBrush(Qt::NoBrush);
            painter.drawRoundedRect(place.adjusted(-2, -2, 2, 0), corner + 1, corner + 1);
        }
        painter.setPen(isHovered ? shades.text : shades.secondaryText);
        painter.drawText(QRectF(static_cast<double>(i) * step, plotHeight + labelGap, step, labelHeight()),
                         Qt::AlignHCenter | Qt::AlignTop, QString::fromStdString(day.label));
    }
}

std::optional<std::size_t> RangeDoseChart::indexAt(double x) const
{
    if (m_days.empty() || x < 0 || x >= width())
        return std::nullopt;
    return static_cast<std::size_t>(x / width() * static_cast<double>(m_days.size()));
}

std::optional<std::size_t> RangeDoseChart::hovered() const
{
    const auto found = std::ranges::find(m_days, m_hoveredChartDay,
                                         [](const ChartDay& day) { return std::optional(day.date); });
    return found != m_days.end() ? std::optional(static_cast<std::size_t>(found - m_days.begin()))
                                 : std::nullopt;
}

void RangeDoseChart::mouseMoveEvent(QMouseEvent* event)
{
    const auto index = indexAt(event->position().x());
    m_onHover(index ? std::optional(m_days[*index].date) : std::nullopt);
}

void RangeDoseChart::mousePressEvent(QMouseEvent* event)
{
    m_pressed = indexAt(event->position().x());
}

void RangeDoseChart::mouseReleaseEvent(QMouseEvent* event)
{
    const auto index = indexAt(event->position().x());
    if (event->button() == Qt::LeftButton && index && index == m_pressed &&
        rect().contains(event->position().toPoint()))
        m_onSelect(m_days[*index].date);
}

void RangeDoseChart::leaveEvent(QEvent* event)
{
    m_onHover(std::nullopt);
    QWidget::leaveEvent(event);
}

void RangeDoseChart::keyPressEvent(QKeyEvent* event)
{
    const auto present = hovered();
    const std::size_t last = m_days.empty() ? 0 : m_days.size() - 1;
    if (event->key() == Qt::Key_Left && !m_days.empty())
        m_onHover(m_days[present && *present > 0 ? *present - 1 : present ? 0 : last].date);
    else if (event->key() == Qt::Key_Right && !m_days.empty())
        m_onHover(m_days[present ? std::min(*present + 1, last) : 0].date);
    else if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && present)
        m_onSelect(m_days[*present].date);
    else
        QWidget::keyPressEvent(event);
}

void RangeDoseChart::focusInEvent(QFocusEvent* event)
{
    // The keys that come next have a bar to go from, and the user sees where.
    const bool isByKey = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    if (isByKey && !hovered() && !m_days.empty())
        m_onHover(m_days.back().date);
    QWidget::focusInEvent(event);
}

void RangeDoseChart::focusOutEvent(QFocusEvent* event)
{
    // The mark of the keys stays while another window is the active one.
    if (event->reason() != Qt::ActiveWindowFocusReason && event->reason() != Qt::PopupFocusReason)
        m_onHover(std::nullopt);
    QWidget::focusOutEvent(event);
}

} // namespace velmor
