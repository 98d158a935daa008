// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/MonitoringPauseService.h>
#include <base/Calendar.h>
#include <ui/TextLabel.h>

#include <QWidget>

namespace velmor {

/// Says that monitoring is paused, and until when. Its owner hides it while it isn't.
class PauseBanner final : public QWidget
{
public:
    explicit PauseBanner(QWidget* parent = nullptr);

    void refresh(const MonitoringPauseService& service, const Calendar& calendar);

private:
    void paintEvent(QPaintEvent* event) override;

    TextLabel* m_message;
};

} // namespace velmor
