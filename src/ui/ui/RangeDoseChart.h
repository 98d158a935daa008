// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/HistoryContent.h>

#include <QWidget>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmor {

/// A bar for each day, as high as its dose beside the largest. A click on one chooses its day; arrow keys go
/// from bar to bar, Return chooses. Main thread.
class RangeDoseChart final : public QWidget
{
public:
    static constexpr int plotHeight = 127;

    /// \param onHover is told the day under the pointer or the keys; absent for none.
    RangeDoseChart(std::function<void(const std::optional<QDate>&)> onHover,
                   std::function<void(QDate)> onSelect);

    /// \param hoveredText what a screen reader says of that day.
    void show(std::vector<ChartDay> days, const std::optional<QDate>& hoveredChartDay,
              const std::string& hoveredText);

    /// Where a day's bar is drawn; a stub for a day without a dose.
    QRectF bar(std::size_t index) const;

private:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

    std::optional<std::size_t> indexAt(double x) const;
    std::optional<std::size_t> hovered() const;

    std::function<void(const std::optional<QDate>&)> m_onHover;
    std::function<void(QDate)> m_onSelect;
    std::vector<ChartDay> m_days;
    std::optional<QDate> m_hoveredChartDay;
    std::optional<std::size_t> m_pressed;
};

} // namespace velmor
