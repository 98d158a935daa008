// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/HistoryContent.h>
#include <ui/SessionRowView.h>
#include <ui/TextLabel.h>

#include <QAbstractScrollArea>

#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace velmor {

/// Sessions in groups under a head that scrolls with them. However many there are, rows are made for those
/// that are seen, and used again. Arrow keys go from row to row. Main thread.
class SessionList final : public QAbstractScrollArea
{
public:
    struct Row
    {
        const Session* session = nullptr;
        double cumulativeDayDose = 0; ///< Percent.
    };
    struct Group
    {
        std::string title;
        std::vector<Row> rows;
    };

    /// \param head becomes the list's.
    SessionList(QWidget* head, std::function<SessionRowView*()> makeRow);

    /// Stays where it is scrolled to. \param groups stay where they are until the next call.
    void show(std::vector<Group> groups);

    /// The rows that are made, for those who count them.
    std::size_t rowsMade() const { return m_rowsMade; }

    /// The row of a session that is seen; null for others.
    SessionRowView* shownRow(const Uuid& session) const;

private:
    /// A group's title, or a row.
    struct Item
    {
        int top = 0; ///< Below the head.
        int height = 0;
        const Group* group = nullptr; ///< Of a title.
        const Row* row = nullptr;
    };

    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void keyPressEvent(QKeyEvent* event) override;

    void arrange();
    void place();
    void showSeen();
    void showItem(std::size_t index);
    QWidget* shown(const Item& item);
    void putAway(QWidget* widget);
    void orderTabs();
    std::map<std::size_t, QWidget*>::const_iterator focusedItem() const;
    void keepKeyboard(const Uuid& session, std::size_t place);
    bool hasKeyboard(const QWidget& widget) const;
    void ensureVisible(const QWidget& widget);
    void moveFocus(int direction);
    std::optional<std::size_t> nextRow(std::size_t index, int direction) const;
    int contentHeight() const;

    QWidget* m_head;
    std::function<SessionRowView*()> m_makeRow;
    std::vector<Group> m_groups;
    std::vector<Item> m_items;
    std::map<std::size_t, QWidget*> m_shown;      ///< By the item's index.
    std::map<Uuid, SessionRowView*> m_formerRows; ///< While other sessions come in.
    std::vector<SessionRowView*> m_spareRows;
    std::vector<TextLabel*> m_spareTitles;
    std::size_t m_rowsMade = 0;
    bool m_isChanging = false;
};

} // namespace velmor
