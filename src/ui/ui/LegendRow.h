// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <discipline/Zone.h>
#include <ui/Style.h>

#include <QWidget>

namespace velmor {

/// A mark of a zone's colour with its meaning.
class LegendRow final : public QWidget
{
public:
    enum class Mark { dot, band };

    LegendRow(Mark mark, Zone zone, const char* text);

private:
    void paintEvent(QPaintEvent* event) override;

    Mark m_mark;
    Zone m_zone;
};

} // namespace velmor
