// SPDX-License-Identifier: GPL-3.0-or-later
#include "HistoryWindowFixture.h"

#include <ui/SessionList.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QScrollBar>

#include <optional>
#include <vector>

namespace velmor {
namespace {

using namespace velmor::test;
using testing::Contains;

class SessionListTest : public HistoryWindowTest
{
protected:
    /// Of the row that has the keyboard.
    std::optional<Uuid> focusedSession() const
    {
        const auto* const row = dynamic_cast<const SessionRowView*>(window->focusWidget());
        return row ? row->sessionID() : std::nullopt;
    }

    /// The six days before today.
    std::vector<Session> tenADay() const
    {
        std::vector<Session> many;
        for (int i = 0; i < 60; ++i)
            many.push_back(session(i / 10 + 1, 3, static_cast<unsigned>(i)));
        return many;
    }
};

TEST_F(SessionListTest, ASessionIsDeletedOnlyAfterTheQuestion)
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

TEST_F(SessionListTest, AHistoryThatChangesUnderARowWithTheKeyboardIsShownAsItIs)
{
    std::vector<Session> many;
    for (int i = 1; i < 7; ++i)
        many.push_back(session(i, 3, static_cast<unsigned>(i)));
    posed.history(many);
    open();
    auto& list = part<SessionList>();
    window->activateWindow();
    list.verticalScrollBar()->setValue(list.verticalScrollBar()->maximum());
    ASSERT_TRUE(list.shownRow(many[4].id));
    list.shownRow(many[4].id)->setFocus();
    // The session before it goes, and the keyboard stays with its own.
    many.erase(many.begin() + 3);
    posed.history(many);
    EXPECT_EQ(focusedSession(), many[3].id);
    // Its own goes: the next has come to its place.
    many.erase(many.begin() + 3);
    posed.history(many);
    EXPECT_EQ(focusedSession(), many[3].id);
    // The last one: there is only the one before.
    many.pop_back();
    posed.history(many);
    EXPECT_EQ(focusedSession(), many.back().id);
    posed.history({});
    EXPECT_EQ(focusedSession(), std::nullopt);
    for (const QWidget* const widget : window->findChildren<QWidget*>()) {
        const auto* const row = dynamic_cast<const SessionRowView*>(widget);
        EXPECT_TRUE(!row || row->isHidden());
    }
}

TEST_F(SessionListTest, TabGoesFromRowToRowHoweverTheyCameThere)
{
    const std::vector<Session> many = tenADay();
    posed.history(many);
    open();
    auto& list = part<SessionList>();
    QScrollBar& bar = *list.verticalScrollBar();
    window->activateWindow();
    bar.setValue(bar.maximum());
    bar.setValue(bar.maximum() / 3);
    bar.setValue(300);
    SessionRowView* const first = list.shownRow(many[0].id);
    ASSERT_TRUE(first);
    first->setFocus();
    const auto& shown = posed.hub->sessionManager.sessionHistory.get();
    for (std::size_t i = 0; i < 25; ++i) {
        ASSERT_EQ(focusedSession(), shown[i].id) << i;
        QTest::keyClick(window->focusWidget(), Qt::Key_Tab);
        ASSERT_EQ(window->focusWidget(), list.shownRow(shown[i].id)->menuButton()) << i;
        QTest::keyClick(window->focusWidget(), Qt::Key_Tab);
    }
    QTest::keyClick(window->focusWidget(), Qt::Key_Backtab);
    EXPECT_EQ(window->focusWidget(), list.shownRow(shown[24].id)->menuButton());
    EXPECT_LT(list.rowsMade(), 20U);
}

TEST_F(SessionListTest, TabGoesOnFromARowThatIsOutOfSight)
{
    const std::vector<Session> many = tenADay();
    posed.history(many);
    open();
    auto& list = part<SessionList>();
    window->activateWindow();
    const auto& shown = posed.hub->sessionManager.sessionHistory.get();
    list.verticalScrollBar()->setValue(900);
    SessionRowView* const third = list.shownRow(shown[3].id);
    ASSERT_TRUE(third);
    third->setFocus();
    list.verticalScrollBar()->setValue(list.verticalScrollBar()->maximum());
    ASSERT_EQ(focusedSession(), shown[3].id);
    QTest::keyClick(window->focusWidget(), Qt::Key_Tab);
    QTest::keyClick(window->focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(focusedSession(), shown[4].id);
    EXPECT_GE(list.shownRow(shown[4].id)->y(), 0);
    EXPECT_LE(list.shownRow(shown[4].id)->geometry().bottom(), list.viewport()->height());
    list.verticalScrollBar()->setValue(list.verticalScrollBar()->maximum());
    QTest::keyClick(window->focusWidget(), Qt::Key_Backtab);
    EXPECT_EQ(window->focusWidget(), list.shownRow(shown[3].id)->menuButton());
}

TEST_F(SessionListTest, AHistoryThatEndsUnderTheExportButtonLeavesNothingBehind)
{
    const std::vector<Session> many = tenADay();
    posed.history(many);
    open();
    window->activateWindow();
    button("Export CSV")->setFocus();
    auto& list = part<SessionList>();
    list.verticalScrollBar()->setValue(list.verticalScrollBar()->maximum());
    posed.history({});
    EXPECT_FALSE(button("Export CSV")->isEnabled());
    EXPECT_FALSE(list.shownRow(many[0].id));
    EXPECT_EQ(list.verticalScrollBar()->value(), list.verticalScrollBar()->maximum());
}

TEST_F(SessionListTest, ASessionThatIsThereTwiceHasTwoRows)
{
    posed.history({session(1, 3, 1), session(1, 3, 1)});
    open();
    posed.history({session(1, 3, 1), session(1, 3, 1)});
    posed.history({session(1, 3, 1)});
    int rows = 0;
    for (const QWidget* const widget : window->findChildren<QWidget*>())
        rows += dynamic_cast<const SessionRowView*>(widget) && !widget->isHidden();
    EXPECT_EQ(rows, 1);
}

TEST_F(SessionListTest, AQuestionThatIsCancelledGivesTheKeyboardBackToItsSession)
{
    std::vector<Session> many = {session(1, 3, 1), session(1, 3, 2), session(1, 3, 3)};
    posed.history(many);
    open();
    window->activateWindow();
    part<SessionList>().shownRow(many[1].id)->setFocus();
    QTest::keyClick(window->focusWidget(), Qt::Key_Delete);
    ASSERT_TRUE(button("Cancel")->isVisible());
    // Sessions have ended meanwhile.
    many.insert(many.begin(), {session(0, 3, 4), session(0, 3, 5)});
    posed.history(many);
    button("Cancel")->click();
    EXPECT_EQ(focusedSession(), many[3].id);
}

TEST_F(SessionListTest, NothingMovesUnderTheMouse)
{
    posed.history({session(1, 3, 1), session(2, 3, 2), session(3, 3, 3), session(4, 3, 4)});
    open();
    auto& list = part<SessionList>();
    window->activateWindow();
    grid().setFocus();
    const Uuid first = posed.hub->sessionManager.sessionHistory.get()[0].id;
    // A row that is seen by half.
    list.verticalScrollBar()->setValue(0);
    SessionRowView* const row = list.shownRow(first);
    ASSERT_TRUE(row);
    list.verticalScrollBar()->setValue(row->y() + row->height() / 2);
    const int before = list.verticalScrollBar()->value();
    QTest::mousePress(row, Qt::LeftButton, {}, {20, row->height() - 5});
    EXPECT_TRUE(row->hasFocus());
    EXPECT_EQ(list.verticalScrollBar()->value(), before);
    QTest::mouseRelease(row, Qt::LeftButton, {}, {20, row->height() - 5});
}

TEST_F(SessionListTest, AQuestionIsAboutItsSessionWhateverHappensMeanwhile)
{
    std::vector<Session> many = {session(1, 3, 1), session(2, 3, 2), session(3, 3, 3)};
    posed.history(many);
    open();
    part<SessionList>().shownRow(many[1].id)->deleteSession(many[1]);
    // A session has ended.
    many.insert(many.begin(), session(0, 3, 4));
    posed.history(many);
    button("Delete")->click();
    many.erase(many.begin() + 2);
    EXPECT_EQ(posed.hub->sessionManager.sessionHistory.get(), many);
    // The session has gone before the answer.
    part<SessionList>().shownRow(many[1].id)->deleteSession(many[1]);
    many.erase(many.begin() + 1);
    posed.history(many);
    button("Delete")->click();
    EXPECT_EQ(posed.hub->sessionManager.sessionHistory.get(), many);
}

TEST_F(SessionListTest, AQuestionThatIsCancelledLeavesNothingToPress)
{
    posed.history({session(1, 20, 1)});
    open();
    const Session only = posed.hub->sessionManager.sessionHistory.get()[0];
    if (QWidget* const focused = window->focusWidget())
        focused->clearFocus();
    part<SessionList>().shownRow(only.id)->deleteSession(only);
    button("Cancel")->click();
    if (QWidget* const focused = window->focusWidget())
        QTest::keyClick(focused, Qt::Key_Space);
    QTest::keyClick(window.get(), Qt::Key_Return);
    EXPECT_EQ(posed.hub->sessionManager.sessionHistory.get().size(), 1U);
}

TEST_F(SessionListTest, RowsAreMadeForWhatIsSeenAlone)
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

TEST_F(SessionListTest, ArrowKeysGoFromRowToRow)
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
        EXPECT_EQ(row->sessionID(), history[i].id);
        EXPECT_GE(row->y(), 0);
        EXPECT_LE(row->geometry().bottom(), list.viewport()->height());
    }
}

} // namespace
} // namespace velmor
