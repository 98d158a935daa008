// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sessions/Session.h>

#include <QPixmap>
#include <QWidget>

#include <optional>
#include <span>
#include <vector>

namespace velmor {

/// The levels of a session at a glance: its zones, its line, its highest reading. No axes.
class MiniSPLChart final : public QWidget
{
public:
    static constexpr int chartHeight = 44;
    static constexpr int stripHeight = 6; ///< Without a line to draw.

    explicit MiniSPLChart(QWidget* parent = nullptr);

    /// One reading is no line. \param readings oldest first; they stay where they are for as long as they are
    /// shown.
    void show(std::span<const SPLReading> readings);

    static bool hasChart(std::span<const SPLReading> readings) { return readings.size() > 1; }

    struct Domain
    {
        double low = 0;
        double high = 0;

        bool operator==(const Domain&) const = default;
    };

    /// What the height stands for, dBA. \param readings not empty
    static Domain chartDomain(std::span<const SPLReading> readings);

    struct ZoneRun
    {
        Zone zone = Zone::silent;
        Date start;
        Date end;

        bool operator==(const ZoneRun&) const = default;
    };

    /// The stretches in one zone. Readings without a zone are passed over.
    static std::vector<ZoneRun> zoneRuns(std::span<const SPLReading> readings);

private:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void draw(QPainter& painter) const;

    std::span<const SPLReading> m_readings;
    QPixmap m_drawn; ///< Null for one that is to be drawn.
};

} // namespace velmor
