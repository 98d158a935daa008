// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/TextLabel.h>

#include <QWidget>

#include <optional>

namespace velmor {

/// A rolling level under its name.
class StatisticCell final : public QWidget
{
public:
    /// \param tip what the name means.
    StatisticCell(const char* name, const char* tip);

    /// \param level dBA; absent for a dash.
    void show(std::optional<double> level);

private:
    const char* m_name;
    TextLabel* m_value;
};

} // namespace velmor
