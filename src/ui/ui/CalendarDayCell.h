// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/Style.h>

#include <QAbstractButton>
#include <QDate>

#include <optional>

namespace velmor {

/// A day of the calendar on its way to the screen.
struct CalendarDay
{
    QDate date;
    double dose = 0; ///< Percent.
    bool isInRange = false;
    bool isRangeStart = false;
    bool isRangeEnd = false;
    bool isMultiDayRange = false;
    bool isToday = false;
    bool isFuture = false;
    bool isAnchor = false;

    bool operator==(const CalendarDay&) const = default;
};

/// The number of a day on a tint of its dose, marked where it is chosen. The mouse passes through: the grid
/// it lies in tells taps from drags.
class CalendarDayCell final : public QAbstractButton
{
public:
    explicit CalendarDayCell(QWidget* parent);

    /// \param name for screen readers.
    void show(const CalendarDay& day, const QString& name);

    /// The day that the keys move from, while they are used.
    void setCursor(bool isCursor);

    const CalendarDay& day() const { return m_day; }

    /// Absent for a future day and for one without a dose.
    static std::optional<Tint> doseColor(const CalendarDay& day);

private:
    void paintEvent(QPaintEvent* event) override;

    CalendarDay m_day;
    bool m_isCursor = false;
};

} // namespace velmor
