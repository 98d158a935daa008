// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <ui/CountLabel.h>
#include <ui/Gates.h>
#include <ui/SymbolView.h>
#include <ui/TextLabel.h>

#include <QWidget>

#include <optional>
#include <string>

namespace velmor {

/// The running session.
class ActiveSessionSection final : public QWidget
{
public:
    /// \param gates decide when the line of counts comes and goes.
    explicit ActiveSessionSection(Gates& gates, QWidget* parent = nullptr);

    /// Without a running session it stays as it is.
    void refresh(AppState& hub);

private:
    void showProgram(AppState& hub, const std::string& name);

    Gates& m_gates;
    TextLabel* m_duration;
    SymbolView* m_dawIcon;
    TextLabel* m_name;
    QWidget* m_counts;
    CountLabel* m_count135;
    CountLabel* m_count140;
    CountLabel* m_count115;
    TextLabel* m_average;
    TextLabel* m_peak;
    TextLabel* m_dose;
    TextLabel* m_peakDBC;
    std::optional<std::string> m_shownProgram;
};

} // namespace velmor
