// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/NoShareServices.h>
#include <support/PopoverStates.h>
#include <support/TemporaryFolder.h>
#include <support/YearOfSessions.h>
#include <ui/CalendarGrid.h>
#include <ui/HistoryWindowView.h>
#include <ui/RangeDoseChart.h>
#include <ui/SessionList.h>
#include <ui/StatInfoPopover.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QScrollBar>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace velmor {
namespace {

using namespace velmor::test;
using testing::Contains;
using testing::Not;

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

/// A past month, so that each of its days can be chosen.
class HistoryCalendarTest : public HistoryWindowTest
{
protected:
    void SetUp() override
    {
        open();
        button("Previous Month")->click();
        first = today().addMonths(-1);
        first = QDate(first.year(), first.month(), 1);
    }

    QDate day(int number) const { return first.addDays(number - 1); }

    QDate first;
};

TEST_F(HistoryWindowTest, WithoutSessionsItSaysSo)
{
    open();
    EXPECT_THAT(texts(), Contains("No sessions in this range"));
    EXPECT_FALSE(button("Export CSV")->isEnabled());
    EXPECT_THAT(texts(), Contains("0 sessions"));
    EXPECT_EQ(window->windowTitle(), QStringLiteral("History"));
    EXPECT_EQ(window->minimumSize(), QSize(720, 500));
}

TEST_F(HistoryWindowTest, TheGridHasTheWidthThatItsGesturesAreMeasuredIn)
{
    open();
    EXPECT_EQ(grid().width(), 286);
    // Column of (286 - 12) / 7 with a gap of 2, row of 39.
    const auto week = calendarWeeks(QDate(today().year(), today().month(), 1), Qt::Sunday);
    const double column = (286 - 12.0) / 7 + 2;
    EXPECT_EQ(grid().dayAt({3 * column + 1, 39 + 1}), week[1][3]);
    EXPECT_EQ(grid().dayAt({4 * column - 0.5, 2 * 39 - 1}), week[1][3]);
    EXPECT_EQ(grid().dayAt({-20, 39 + 1}), week[1][0]);
    EXPECT_EQ(grid().dayAt({900, 39 + 1}), week[1][6]);
    EXPECT_EQ(grid().dayAt({1, 2000}), week.back()[0]);
}

TEST_F(HistoryCalendarTest, TwoTapsChooseASpanInWhateverOrder)
{
    tap(day(9));
    EXPECT_EQ(chosen(), (DayRange{day(9), day(9)}));
    EXPECT_THAT(texts(), Contains(testing::StartsWith("From ")));
    tap(day(4));
    EXPECT_EQ(chosen(), (DayRange{day(4), day(9)}));
    EXPECT_THAT(texts(), Contains("Tap a day to start a new selection"));
    EXPECT_THAT(texts(), Contains("6 days"));
}

TEST_F(HistoryCalendarTest, ADragChoosesASpanAndItsEndIsNoTap)
{
    drag(day(12), day(18));
    EXPECT_EQ(chosen(), (DayRange{day(12), day(18)}));
    // What the system tells of right after it belongs to it.
    tap(day(3));
    EXPECT_EQ(chosen(), (DayRange{day(12), day(18)}));
    QTest::qWait(80);
    tap(day(3));
    EXPECT_EQ(chosen(), (DayRange{day(3), day(3)}));
    QTest::qWait(80);
    drag(day(20), day(15));
    EXPECT_EQ(chosen(), (DayRange{day(15), day(20)}));
}

TEST_F(HistoryCalendarTest, ASmallMovementIsATap)
{
    QTest::mousePress(&grid(), Qt::LeftButton, {}, place(day(7)));
    QTest::mouseMove(&grid(), place(day(7)) + QPoint(2, 2));
    QTest::mouseRelease(&grid(), Qt::LeftButton, {}, place(day(7)) + QPoint(2, 2));
    EXPECT_EQ(chosen(), (DayRange{day(7), day(7)}));
}

TEST_F(HistoryCalendarTest, KeysMoveAndExtend)
{
    tap(day(10));
    QTest::keyClick(&grid(), Qt::Key_Right);
    EXPECT_EQ(chosen(), (DayRange{day(11), day(11)}));
    EXPECT_THAT(texts(), Contains("Tap another day to extend range"));
    QTest::keyClick(&grid(), Qt::Key_Down);
    EXPECT_EQ(chosen(), (DayRange{day(18), day(18)}));
    QTest::keyClick(&grid(), Qt::Key_Left, Qt::ShiftModifier);
    QTest::keyClick(&grid(), Qt::Key_Up, Qt::ShiftModifier);
    EXPECT_EQ(chosen(), (DayRange{day(10), day(18)}));
    QTest::keyClick(&grid(), Qt::Key_End);
    EXPECT_EQ(chosen().first.dayOfWeek(), Qt::Saturday);
    QTest::keyClick(&grid(), Qt::Key_Home);
    EXPECT_EQ(chosen().first.dayOfWeek(), Qt::Sunday);
    const QDate before = chosen().first;
    QTest::keyClick(&grid(), Qt::Key_PageUp);
    EXPECT_EQ(chosen().first, before.addMonths(-1));
    QTest::keyClick(&grid(), Qt::Key_PageDown);
    EXPECT_EQ(chosen().first, before.addMonths(-1).addMonths(1));
    QTest::keyClick(&grid(), Qt::Key_Space);
    EXPECT_THAT(texts(), Contains(testing::StartsWith("From ")));
}

TEST_F(HistoryWindowTest, NoKeyLeadsIntoTheFuture)
{
    open();
    QTest::keyClick(&grid(), Qt::Key_Down);
    QTest::keyClick(&grid(), Qt::Key_PageDown, Qt::ShiftModifier);
    EXPECT_EQ(chosen(), (DayRange{today(), today()}));
    EXPECT_FALSE(button("Next Month")->isEnabled());
}

TEST_F(HistoryWindowTest, PresetsChooseTheirDays)
{
    open();
    for (const auto& [label, days] : {std::pair("14 days", "14 days"), std::pair("30 days", "30 days"),
                                      std::pair("7 days", "7 days")}) {
        button(label)->click();
        EXPECT_GE(std::ranges::count(texts(), std::string(days)), 2) << label;
    }
    button("This month")->click();
    EXPECT_EQ(chosen(), (DayRange{QDate(today().year(), today().month(), 1), today()}));
}

TEST_F(HistoryWindowTest, TheLiveDoseOfTodayIsFollowed)
{
    posed.history({session(1, 20)});
    open();
    EXPECT_THAT(texts(), Contains("20.0%"));
    posed.dose(12.5);
    QTest::qWait(400);
    EXPECT_THAT(texts(), Contains("32.5%"));
    EXPECT_THAT(texts(), Contains("32.5%  of 7×100%"));
}

TEST_F(HistoryWindowTest, AClickOnABarChoosesItsDay)
{
    posed.history({session(2, 50), session(1, 25, 2)});
    open();
    auto& chart = part<RangeDoseChart>();
    const double step = chart.width() / 7.0;
    const auto middle = [&](int index) { return QPoint(static_cast<int>((index + 0.5) * step), 60); };
    // The largest fills the height, and half of it half.
    EXPECT_NEAR(chart.bar(4).height(), 127, 0.01);
    EXPECT_NEAR(chart.bar(5).height(), 63.5, 0.01);
    EXPECT_NEAR(chart.bar(4).bottom(), 127, 0.01);
    EXPECT_LT(chart.bar(0).height(), 5);
    QTest::mouseMove(&chart, middle(4));
    EXPECT_THAT(texts(), Contains("50.0%"));
    EXPECT_THAT(texts(), Contains("1 session"));
    EXPECT_THAT(texts(), Not(Contains("Click to select day")));
    QTest::mouseClick(&chart, Qt::LeftButton, {}, middle(4));
    EXPECT_EQ(chosen(), (DayRange{today().addDays(-2), today().addDays(-2)}));
    EXPECT_THAT(texts(), Contains("1 day"));
}

TEST_F(HistoryWindowTest, BarsAreReachedByTheKeyboard)
{
    posed.history({session(1, 25)});
    open();
    auto& chart = part<RangeDoseChart>();
    chart.setFocus();
    QTest::keyClick(&chart, Qt::Key_Left);
    QTest::keyClick(&chart, Qt::Key_Left);
    EXPECT_THAT(texts(), Contains("25.0%"));
    QTest::keyClick(&chart, Qt::Key_Return);
    EXPECT_EQ(chosen(), (DayRange{today().addDays(-1), today().addDays(-1)}));
}

TEST_F(HistoryWindowTest, HelpOpensBesideItsFigureAndClosesWithEscape)
{
    open();
    QAbstractButton* const about = button("About Avg per day");
    ASSERT_TRUE(about);
    QTest::mouseClick(about, Qt::LeftButton);
    auto* const help = dynamic_cast<StatInfoPopover*>(QApplication::activePopupWidget());
    ASSERT_TRUE(help);
    EXPECT_EQ(help->QWidget::width(), 270);
    QTest::keyClick(help, Qt::Key_Escape);
    EXPECT_FALSE(QApplication::activePopupWidget());
}

TEST_F(HistoryWindowTest, ASessionIsDeletedOnlyAfterTheQuestion)
{
    posed.history({session(1, 20, 1), session(2, 30, 2)});
    open();
    auto& list = part<SessionList>();
    const Session first = posed.hub->sessionManager.sessionHistory.get()[0];
    ASSERT_TRUE(list.shownRow(first.id));
    list.shownRow(first.id)->deleteSession(first);
    EXPECT_THAT(texts(), Contains("Delete session?"));
    button("Cancel")->click();
    EXPECT_EQ(posed.hub->sessionManager.sessionHistory.get().size(), 2U);
    list.shownRow(first.id)->deleteSession(first);
    button("Delete")->click();
    posed.settle();
    ASSERT_EQ(posed.hub->sessionManager.sessionHistory.get().size(), 1U);
    EXPECT_NE(posed.hub->sessionManager.sessionHistory.get()[0].id, first.id);
    EXPECT_THAT(texts(), Contains("1 session"));
    EXPECT_FALSE(list.shownRow(first.id));
}

TEST_F(HistoryWindowTest, RowsAreMadeForWhatIsSeenAlone)
{
    std::vector<Session> many;
    for (int i = 0; i < 18'000; ++i)
        many.push_back(session(i / 5, 3, static_cast<unsigned>(i)));
    for (Session& each : many)
        each.readings.resize(3);
    posed.history(many);
    open();
    QTest::keyClick(&grid(), Qt::Key_Left);
    for (int i = 0; i < 120; ++i)
        QTest::keyClick(&grid(), Qt::Key_PageUp, Qt::ShiftModifier);
    auto& list = part<SessionList>();
    QScrollBar& bar = *list.verticalScrollBar();
    EXPECT_GT(bar.maximum(), 18'000 * 60);
    for (int i = 0; i <= 50; ++i)
        bar.setValue(bar.maximum() / 50 * i);
    EXPECT_LT(list.rowsMade(), 20U);
    bar.setValue(bar.maximum());
    // The oldest is the last.
    EXPECT_TRUE(list.shownRow(many.back().id) || list.shownRow(many[many.size() - 5].id));
}

TEST_F(HistoryWindowTest, ArrowKeysGoFromRowToRow)
{
    posed.history({session(1, 3, 1), session(2, 3, 2), session(3, 3, 3), session(4, 3, 4), session(5, 3, 5)});
    open();
    auto& list = part<SessionList>();
    const auto& history = posed.hub->sessionManager.sessionHistory.get();
    list.verticalScrollBar()->setValue(list.verticalScrollBar()->maximum());
    list.verticalScrollBar()->setValue(300);
    SessionRowView* const first = list.shownRow(history[0].id);
    ASSERT_TRUE(first);
    window->activateWindow();
    first->setFocus();
    for (std::size_t i = 1; i < history.size(); ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
        auto* const row = dynamic_cast<SessionRowView*>(QApplication::focusWidget());
        ASSERT_TRUE(row);
        EXPECT_EQ(row->session()->id, history[i].id);
        EXPECT_GE(row->y(), 0);
        EXPECT_LE(row->geometry().bottom(), list.viewport()->height());
    }
}

TEST_F(HistoryWindowTest, EverythingThatCanBePressedHasAName)
{
    posed.history({session(1, 3)});
    open();
    for (const QWidget* const widget : window->findChildren<QWidget*>()) {
        if (widget->focusPolicy() == Qt::NoFocus || !widget->isVisibleTo(window.get()))
            continue;
        const auto* const button = qobject_cast<const QAbstractButton*>(widget);
        EXPECT_FALSE((button ? button->text() : widget->accessibleName()).isEmpty())
            << widget->metaObject()->className();
    }
}

/// What a plain walk over the history finds, day by day.
struct Walk
{
    double total = 0;
    double energy = 0;
    double onTarget = 0;
    double active = 0;
    double peakSPL = 0;
    double peakDBC = 0;
    int sessions = 0;
    long impulses = 0;
};

TEST_F(HistoryWindowTest, FiguresOfFiftyRangesAreThoseOfAPlainWalkOverTheHistory)
{
    std::vector<Session> history = year();
    // As though the last of them were today's.
    const auto shift = posed.host.loop.now() - history.front().startDate - std::chrono::hours(2);
    for (Session& each : history) {
        each.startDate = each.startDate + std::chrono::duration_cast<std::chrono::seconds>(shift);
        each.endDate = *each.endDate + std::chrono::duration_cast<std::chrono::seconds>(shift);
        each.readings.clear();
    }
    const Calendar& calendar = posed.hub->calendar();
    const HistoryDays days(history, calendar);
    const DailyDoses doses{days, today(), 17.25};
    std::mt19937 random(7);
    for (int i = 0; i < 50; ++i) {
        const int length = std::uniform_int_distribution<int>(1, 120)(random);
        const QDate last = today().addDays(-std::uniform_int_distribution<int>(0, 200)(random));
        const DayRange range{last.addDays(1 - length), last};
        Walk walk;
        for (int day = 0; day < length; ++day) {
            const QDate date = range.first.addDays(day);
            double dose = 0;
            for (const Session& each : history) {
                const LocalTime start = calendar.localTime(each.startDate);
                if (QDate(start.year, start.month, start.day) != date)
                    continue;
                dose += each.doseAccumulated;
                walk.onTarget += each.timeOnTargetSec;
                walk.active += each.timeOnTargetSec + each.timeUnderSec + each.timeOverSec;
                walk.peakSPL = std::fmax(walk.peakSPL, each.peakSPL);
                walk.peakDBC = std::fmax(walk.peakDBC, each.peakDBC);
                walk.impulses += each.peakCount135;
                ++walk.sessions;
            }
            if (date == today())
                dose = 17.25;
            walk.total += dose;
            // Dose in percent of eight hours at 85 dBA, halved by 3 dB: energy of the day.
            if (dose > 0)
                walk.energy += std::pow(10, 8.5) * std::pow(dose / 100, 0.3 / std::log10(2.0));
        }
        const auto sessions = days.sessions(range);
        const HistoryFigures figures = historyFigures(doses, range, sessions);
        EXPECT_EQ(figures.rangeDays, length);
        EXPECT_NEAR(figures.totalDose, walk.total, 1e-9 * walk.total);
        EXPECT_NEAR(figures.avgDailyDose, walk.total / length, 1e-9 * walk.total);
        EXPECT_EQ(sessions.size(), static_cast<std::size_t>(walk.sessions));
        EXPECT_EQ(figures.rangeImpulseCount135, walk.impulses);
        EXPECT_DOUBLE_EQ(figures.rangePeakSPL.value_or(0), walk.peakSPL);
        EXPECT_DOUBLE_EQ(figures.rangePeakDBC.value_or(0), walk.peakDBC);
        EXPECT_NEAR(figures.rangeOnTargetPercent.value_or(-1), 100 * walk.onTarget / walk.active, 1e-9);
        ASSERT_EQ(figures.euWeeklyLevel.has_value(), length >= 5);
        if (figures.euWeeklyLevel) {
            EXPECT_NEAR(*figures.euWeeklyLevel, 10 * std::log10(walk.energy / 5), 1e-9);
        }
    }
}

} // namespace
} // namespace velmor
