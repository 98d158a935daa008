// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/StatisticsSection.h>

#include <ui/SectionTitle.h>

#include <QGridLayout>
#include <QVBoxLayout>

namespace velmor {

StatisticsSection::StatisticsSection(const char* title)
    : m_leqCells{new StatisticCell("Leq 1m", "Equivalent level of the last minute"),
                 new StatisticCell("Leq 10m", "Equivalent level of the last ten minutes"),
                 new StatisticCell("Leq 30m", "Equivalent level of the last half hour")}
    , m_lnCells{new StatisticCell("L10", "Exceeded for 10% of the time: peaks"),
                new StatisticCell("L50", "Exceeded for 50% of the time: median"),
                new StatisticCell("L90", "Exceeded for 90% of the time: background")}
{
    auto* const grid = new QGridLayout;
    grid->setHorizontalSpacing(static_cast<int>(spacing::tight));
    grid->setVerticalSpacing(static_cast<int>(spacing::hair));
    for (int column = 0; column < 3; ++column) {
        grid->addWidget(m_leqCells.at(static_cast<std::size_t>(column)), 0, column);
        grid->addWidget(m_lnCells.at(static_cast<std::size_t>(column)), 1, column);
        grid->setColumnStretch(column, 1);
    }
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::hair) + 2);
    layout->addWidget(new SectionTitle(title, "chart.line.uptrend.xyaxis"));
    layout->addLayout(grid);
}

void StatisticsSection::refresh(const LeqStatisticsService& statistics)
{
    m_leqCells[0]->show(statistics.leq1min);
    m_leqCells[1]->show(statistics.leq10min);
    m_leqCells[2]->show(statistics.leq30min);
    m_lnCells[0]->show(statistics.l10);
    m_lnCells[1]->show(statistics.l50);
    m_lnCells[2]->show(statistics.l90);
}

} // namespace velmor
