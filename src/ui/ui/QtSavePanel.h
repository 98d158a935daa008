// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/SavePanel.h>

#include <QWidget>

namespace velmor {

/// The desktop's file dialog.
class QtSavePanel final : public SavePanel
{
public:
    /// \param anchor the panel belongs to its window, and comes up on top of that alone; null for a panel of
    /// its own. Without an answer when that window goes first.
    explicit QtSavePanel(QWidget* anchor)
        : m_window(anchor ? anchor->window() : nullptr)
    {}

    void ask(const SaveRequest& request, Answer answer) override;

private:
    QWidget* m_window;
};

} // namespace velmor
