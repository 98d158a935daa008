// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <ui/TextLabel.h>
#include <ui/ZoneStrip.h>

#include <QWidget>

namespace velmor {

/// How well the running session keeps to the reference level.
class DisciplineSection final : public QWidget
{
public:
    explicit DisciplineSection(QWidget* parent = nullptr);

    void refresh(const AppState& hub);

private:
    TextLabel* m_share;
    TextLabel* m_band;
    TextLabel* m_drift;
    ZoneStrip* m_strip;
};

} // namespace velmor
