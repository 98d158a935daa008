// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/HistoryContent.h>

#include <QWidget>

namespace velmor {

/// What a figure means and from where on it counts. Closes with a click outside and with Escape.
class StatInfoPopover final : public QWidget
{
public:
    static constexpr int width = 270;

    StatInfoPopover(const StatInfoContent& content, QWidget* parent);

private:
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
};

} // namespace velmor
