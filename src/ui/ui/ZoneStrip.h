// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/MenuBarContent.h>

#include <QWidget>

namespace velmor {

/// The time under, on and over the reference band, each in proportion.
class ZoneStrip final : public QWidget
{
public:
    explicit ZoneStrip(QWidget* parent = nullptr);

    void show(const ZoneShares& shares);

private:
    void describe();
    void paintEvent(QPaintEvent* event) override;

    ZoneShares m_shares;
};

} // namespace velmor
