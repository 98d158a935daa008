// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/SessionRowContent.h>
#include <ui/TextLabel.h>

#include <QWidget>

#include <vector>

namespace velmor {

/// How a session's time was spent around its reference level: the share on target, a bar of the times, their
/// legend.
class DisciplineStrip final : public QWidget
{
public:
    explicit DisciplineStrip(QWidget* parent = nullptr);

    void show(const Session& session);

    /// In logical pixels.
    static int stripHeight();

private:
    void paintEvent(QPaintEvent* event) override;

    TextLabel* m_score;
    std::vector<ZoneTime> m_times;
};

} // namespace velmor
