// SPDX-License-Identifier: GPL-3.0-or-later
#include "HistoryWindowFixture.h"

#include <ui/RangeDoseChart.h>
#include <ui/SessionList.h>
#include <ui/StatInfoPopover.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>

#include <algorithm>
#include <span>
#include <string>
#include <utility>

namespace velmor {
namespace {

using namespace velmor::test;
using testing::Contains;
using testing::Not;

TEST_F(HistoryWindowTest, WithoutSessionsItSaysSo)
{
    open();
    EXPECT_THAT(texts(), Contains("No sessions in this range"));
    EXPECT_FALSE(button("Export CSV")->isEnabled());
    EXPECT_THAT(texts(), Contains("0 sessions"));
    EXPECT_EQ(window->windowTitle(), QStringLiteral("History"));
    EXPECT_EQ(window->minimumSize(), QSize(720, 500));
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

TEST_F(HistoryWindowTest, AfterMidnightTheLiveDoseIsTheNewDays)
{
    posed.history({session(1, 20)});
    open();
    posed.dose(12.5);
    QTest::qWait(400);
    EXPECT_THAT(texts(), Contains("32.5%"));
    const QDate before = today();
    posed.host.loop.runFor(16 * 3600);
    posed.settle();
    QTest::qWait(400);
    ASSERT_EQ(today(), before.addDays(1));
    // What was chosen stays chosen; the day that has passed has its finished sessions' dose.
    EXPECT_EQ(chosen().last, before);
    EXPECT_THAT(texts(), Contains("20.0%"));
    posed.dose(3);
    button("7 days")->click();
    QTest::qWait(400);
    EXPECT_EQ(chosen().last, today());
    EXPECT_THAT(texts(), Contains("23.0%"));
}

TEST_F(HistoryWindowTest, AnotherTimeZoneBringsItsDays)
{
    // It is nine in the morning of the second of March in Greenwich: in Samoa's neighbour still the first.
    posed.history({session(1, 20)});
    open();
    ASSERT_EQ(today(), QDate(2026, 3, 2));
    EXPECT_EQ(chosen().last, QDate(2026, 3, 2));
    posed.host.calendar = Calendar::inZone("Pacific/Pago_Pago").value();
    posed.hub->timeZoneChanged();
    posed.settle();
    QTest::qWait(400);
    EXPECT_EQ(chosen().last, QDate(2026, 3, 1));
    // Noon in Greenwich is one in the morning there.
    EXPECT_THAT(texts(), Contains("6 days"));
    EXPECT_THAT(texts(), Contains("1:00 AM – 1:06 AM"));
}

TEST_F(HistoryWindowTest, AClockThatIsSetBackIsSeen)
{
    open();
    posed.host.loop.runFor(1);
    ASSERT_EQ(chosen().last, QDate(2026, 3, 2));
    posed.host.loop.setClock(posed.host.loop.now() - std::chrono::hours(24));
    posed.host.loop.runFor(1);
    QTest::qWait(400);
    EXPECT_EQ(chosen().last, QDate(2026, 3, 1));
}

TEST_F(HistoryWindowTest, ExportWritesTheSessionsOfTheRange)
{
    posed.history({session(1, 20, 1), session(2, 30, 2), session(20, 40, 3)});
    open();
    button("Export CSV")->click();
    QFileDialog* dialog = nullptr;
    ASSERT_TRUE(QTest::qWaitFor([&] { return (dialog = window->findChild<QFileDialog*>()) != nullptr; }));
    auto* const name = dialog->findChild<QLineEdit*>("fileNameEdit");
    EXPECT_EQ(name->text(), QStringLiteral("Velmor Sessions 2026-02-24 to 2026-03-02.csv"));
    const QString file = QString::fromStdString((folder.path() / "range.csv").native());
    name->setText(file);
    dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Save)->click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return QFile::exists(file); }));
    QFile written(file);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    const std::vector<Session>& history = posed.hub->sessionManager.sessionHistory.get();
    EXPECT_EQ(written.readAll().toStdString(),
              posed.hub->sessionManager.csvString(std::span(history).first(2)));
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
    // Its bar is still under the pointer; no other is once that is gone.
    EXPECT_THAT(texts(), Not(Contains("Click to select day")));
    tap(today().addDays(-3));
    EXPECT_THAT(texts(), Contains("Click to select day"));
}

TEST_F(HistoryWindowTest, BarsAreReachedByTheKeyboard)
{
    posed.history({session(1, 25)});
    open();
    auto& chart = part<RangeDoseChart>();
    window->activateWindow();
    chart.setFocus(Qt::TabFocusReason);
    // Today's, for a start.
    EXPECT_THAT(texts(), Contains("Mon 2 Mar"));
    EXPECT_EQ(chart.accessibleDescription(), QStringLiteral("Mon 2 Mar, No data"));
    QTest::keyClick(&chart, Qt::Key_Left);
    EXPECT_THAT(texts(), Contains("25.0%"));
    EXPECT_EQ(chart.accessibleDescription(), QStringLiteral("Sun 1 Mar, 25.0%, 1 session"));
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

} // namespace
} // namespace velmor
