// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/CommandButton.h>
#include <ui/HistoryContent.h>
#include <ui/TextLabel.h>

#include <QPointer>
#include <QWidget>

namespace velmor {

/// A figure of the history under its name, with what it means behind a button.
class HistoryStatCell final : public QWidget
{
public:
    HistoryStatCell();

    void show(const HistoryStat& stat);

    /// Opens what the figure means, or closes it.
    void toggleInfo();

private:
    TextLabel* m_label;
    CommandButton* m_infoButton;
    TextLabel* m_value;
    HistoryStat m_stat;
    QPointer<QWidget> m_info;
};

} // namespace velmor
