// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <ui/CountLabel.h>
#include <ui/Gates.h>
#include <ui/TextLabel.h>

#include <QWidget>

namespace velmor {

/// What the day has brought so far.
class TodaySection final : public QWidget
{
public:
    /// \param gates outlive the section's last refresh.
    explicit TodaySection(Gates& gates, QWidget* parent = nullptr);

    void refresh(const AppState& hub);

private:
    Gates& m_gates;
    TextLabel* m_sessions;
    TextLabel* m_duration;
    QWidget* m_disciplineRow;
    TextLabel* m_share;
    TextLabel* m_target;
    QWidget* m_peakRow;
    TextLabel* m_peak;
    CountLabel* m_count140;
    CountLabel* m_count135;
    QWidget* m_count115Row;
    TextLabel* m_count115;
    QWidget* m_conservativeRow;
};

} // namespace velmor
