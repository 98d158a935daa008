// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exposure/LeqStatisticsService.h>
#include <ui/StatisticCell.h>

#include <QWidget>

#include <array>

namespace velmor {

/// The rolling equivalent and percentile levels.
class StatisticsSection final : public QWidget
{
public:
    explicit StatisticsSection(const char* title = "Statistics");

    void refresh(const LeqStatisticsService& statistics);

private:
    std::array<StatisticCell*, 3> m_leqCells;
    std::array<StatisticCell*, 3> m_lnCells;
};

} // namespace velmor
