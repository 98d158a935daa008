// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SummaryPanel.h>

#include <ui/SymbolView.h>

#include <QGridLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>

#include <string>

namespace velmor {

namespace {

constexpr int leastWidthOfFourColumns = 500;
constexpr std::size_t statCount = 7;

TextLabel* caption(Tint tint = Tint::secondary)
{
    return new TextLabel(TextStyle::label, TextWeight::regular, tint);
}

QHBoxLayout* line(double space = spacing::tight)
{
    auto* const layout = new QHBoxLayout;
    layout->setSpacing(static_cast<int>(space));
    return layout;
}

} // namespace

SummaryPanel::SummaryPanel(const LocaleDates& dates, const Callbacks& callbacks)
    : m_dates(dates)
    , m_range(new TextLabel(TextStyle::value, TextWeight::strong, Tint::primary))
    , m_export(new CommandButton(CommandButton::Form::beside, "Export CSV", "square.and.arrow.up"))
    , m_days(caption())
    , m_sessions(caption())
    , m_statGrid(new QGridLayout)
    , m_total(caption())
    , m_cumulative(new CumulativeDoseBar)
    , m_chartCaption(caption(Tint::primary))
    , m_chartDose(new TextLabel(TextStyle::label, TextWeight::strong, Tint::primary))
    , m_chartSessions(caption())
    , m_chartHint(caption(Tint::tertiary))
    , m_chart(new RangeDoseChart(callbacks.onHover, callbacks.onSelect))
    , m_empty(
          new TextLabel("No sessions in this range", TextStyle::label, TextWeight::regular, Tint::secondary))
{
    m_export->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    m_export->setFixedWidth(m_export->widthOfLabel());
    connect(m_export, &CommandButton::clicked, this, callbacks.onExport);

    auto* const header = line();
    header->addWidget(m_range, 1);
    header->addWidget(m_export);
    auto* const counts = line(spacing::hair + 2);
    m_days->keepRoomFor("10000 days");
    counts->addWidget(new SymbolView("calendar", Tint::secondary));
    counts->addWidget(m_days);
    counts->addWidget(new SymbolView("pianokeys", Tint::secondary));
    counts->addWidget(m_sessions, 1);

    m_statGrid->setHorizontalSpacing(static_cast<int>(spacing::item));
    m_statGrid->setVerticalSpacing(static_cast<int>(spacing::item));
    for (std::size_t i = 0; i < statCount; ++i)
        m_stats.push_back(new HistoryStatCell);
    placeStats(3);

    auto* const cumulative = line();
    cumulative->addWidget(new TextLabel("Cumulative", TextStyle::label, TextWeight::regular, Tint::primary));
    m_total->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    cumulative->addWidget(m_total, 1);

    auto* const chartHeader = line();
    m_chartCaption->keepRoomFor("Selected range 00");
    m_chartDose->keepRoomFor("1000.0%");
    chartHeader->addWidget(m_chartCaption);
    chartHeader->addWidget(m_chartDose);
    chartHeader->addWidget(m_chartSessions, 1);
    chartHeader->addWidget(m_chartHint);
    m_chartHint->keepRoomFor("Click to select day");

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, static_cast<int>(spacing::item));
    layout->setSpacing(static_cast<int>(spacing::tight));
    layout->addLayout(header);
    layout->addLayout(counts);
    layout->addSpacing(static_cast<int>(spacing::hair));
    layout->addLayout(m_statGrid);
    layout->addSpacing(static_cast<int>(spacing::hair));
    layout->addLayout(cumulative);
    layout->addWidget(m_cumulative);
    layout->addSpacing(static_cast<int>(spacing::tight));
    layout->addLayout(chartHeader);
    layout->addWidget(m_chart);
    layout->addWidget(m_empty, 0, Qt::AlignHCenter);
}

void SummaryPanel::placeStats(int columns)
{
    if (columns == m_statColumns)
        return;
    m_statColumns = columns;
    for (std::size_t i = 0; i < m_stats.size(); ++i) {
        const int place = static_cast<int>(i);
        m_statGrid->addWidget(m_stats[i], place / columns, place % columns);
    }
    for (int column = 0; column < m_statGrid->columnCount(); ++column)
        m_statGrid->setColumnStretch(column, column < columns ? 1 : 0);
}

void SummaryPanel::resizeEvent(QResizeEvent* event)
{
    placeStats(width() >= leastWidthOfFourColumns ? 4 : 3);
    QWidget::resizeEvent(event);
}

void SummaryPanel::refresh(const DailyDoses& doses, const DayRange& range,
                           const std::vector<const Session*>& rangeSessions)
{
    const HistoryFigures figures = historyFigures(doses, range, rangeSessions);
    m_range->say(rangeLabel(range, m_dates));
    m_export->setEnabled(!rangeSessions.empty());
    m_days->say(dayCountText(figures.rangeDays));
    m_sessions->say(sessionCountText(rangeSessions.size()));
    const std::vector<HistoryStat> stats = historyStats(figures);
    for (std::size_t i = 0; i < m_stats.size(); ++i)
        m_stats[i]->show(stats[i]);
    m_total->say(cumulativeText(figures));
    m_cumulative->show(cumulativeFill(figures));
    m_cumulative->setAccessibleName(QString::fromStdString("Cumulative " + cumulativeText(figures)));
    m_empty->setVisible(rangeSessions.empty());
}

void SummaryPanel::refreshChart(const DailyDoses& doses, const DayRange& range,
                                const std::optional<QDate>& hoveredChartDay)
{
    const ChartHeaderLabel label = chartHeaderLabel(doses, range, hoveredChartDay, m_dates);
    m_chartCaption->say(label.caption);
    m_chartDose->say(label.dose);
    m_chartSessions->say(label.sessions);
    m_chartHint->say(label.hint);
    std::string hovered;
    if (hoveredChartDay) {
        hovered = label.caption + ", " + label.dose;
        if (!label.sessions.empty())
            hovered += ", " + label.sessions;
    }
    m_chart->show(chartDays(doses, range, m_dates), hoveredChartDay, hovered);
}

} // namespace velmor
