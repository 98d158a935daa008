// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <support/NoShareServices.h>
#include <support/PopoverStates.h>
#include <support/TemporaryFolder.h>
#include <ui/CalendarGrid.h>
#include <ui/HistoryWindowView.h>

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QTest>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmor::test {

/// The history window over a hub in memory, driven by its buttons, cells and keys.
class HistoryWindowTest : public testing::Test
{
protected:
    void open()
    {
        window = std::make_unique<HistoryWindowView>(*posed.hub, sharing,
                                                     QLocale(QLocale::English, QLocale::UnitedStates));
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        QCoreApplication::processEvents();
    }

    QDate today() const { return dayOf(posed.host.loop.now(), posed.hub->calendar()); }

    /// A finished session at noon of a day so many days ago.
    Session session(int daysAgo, double dose, unsigned seed = 1) const
    {
        const Date noon = posed.hub->calendar().startOfDay(posed.host.loop.now()) + std::chrono::hours(12);
        Session made = sampleSession(*posed.hub->calendar().addingDays(noon, -daysAgo), 40, seed);
        made.doseAccumulated = dose;
        return made;
    }

    template <typename View>
    View& part() const
    {
        for (QWidget* const widget : window->findChildren<QWidget*>()) {
            if (auto* const found = dynamic_cast<View*>(widget))
                return *found;
        }
        throw std::runtime_error("no such part");
    }

    CalendarGrid& grid() const { return part<CalendarGrid>(); }

    /// The middle of a day's cell.
    QPoint place(QDate day) const
    {
        for (const QWidget* const widget : grid().findChildren<QWidget*>()) {
            const auto* const cell = dynamic_cast<const CalendarDayCell*>(widget);
            if (cell && cell->isVisibleTo(&grid()) && cell->day().date == day)
                return cell->geometry().center();
        }
        throw std::runtime_error("no such day");
    }

    void tap(QDate day) { QTest::mouseClick(&grid(), Qt::LeftButton, {}, place(day)); }

    void drag(QDate from, QDate to)
    {
        QTest::mousePress(&grid(), Qt::LeftButton, {}, place(from));
        QTest::mouseMove(&grid(), (place(from) + place(to)) / 2);
        QTest::mouseMove(&grid(), place(to));
        QTest::mouseRelease(&grid(), Qt::LeftButton, {}, place(to));
    }

    /// All that is written in the window.
    std::vector<std::string> texts() const
    {
        std::vector<std::string> found;
        for (const QWidget* const widget : window->findChildren<QWidget*>()) {
            if (!widget->isVisibleTo(window.get()))
                continue;
            if (const auto* const label = dynamic_cast<const TextLabel*>(widget))
                found.push_back(label->said().text);
            else if (const auto* const button = qobject_cast<const QAbstractButton*>(widget))
                found.push_back(button->text().toStdString());
        }
        return found;
    }

    QAbstractButton* button(const char* text) const
    {
        for (QAbstractButton* const found : window->findChildren<QAbstractButton*>()) {
            if (found->text() == QString::fromUtf8(text) && found->isVisibleTo(window.get()))
                return found;
        }
        return nullptr;
    }

    DayRange chosen() const
    {
        DayRange range;
        for (const QWidget* const widget : grid().findChildren<QWidget*>()) {
            const auto* const cell = dynamic_cast<const CalendarDayCell*>(widget);
            if (!cell || !cell->isVisibleTo(&grid()))
                continue;
            if (cell->day().isRangeStart)
                range.first = cell->day().date;
            if (cell->day().isRangeEnd)
                range.last = cell->day().date;
        }
        return range;
    }

    TemporaryFolder folder;
    PosedHub posed;
    NoShareServices shareServices;
    SessionReportSharing sharing{*posed.hub, shareServices, folder.path()};
    std::unique_ptr<HistoryWindowView> window;
};

} // namespace velmor::test
